#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <atomic>
#include <sched.h>

namespace yk {

// A lock object that is one atomic flag: while another thread holds it, lock() yields the
// processor (sched_yield) and tries again. For sections of a few instructions that are rarely
// contended, such as reference counts or a compile step; not recursive, no owner checks, no
// fairness. Use it through yk::Locker.
class YK_CAPABILITY("mutex") SpinLock final : public Object {
    YK_OBJECT(SpinLock, Object)
public:
    SpinLock() = default;

    void lock() YK_ACQUIRE()
    {
        // Spin on a plain read, so waiting threads do not keep taking the cache line away
        // from the holder.
        while (_word.test_and_set(std::memory_order_acquire)) {
            while (_word.test(std::memory_order_relaxed))
                sched_yield();
        }
    }
    [[nodiscard]] bool tryLock() YK_TRY_ACQUIRE(true) { return !_word.test_and_set(std::memory_order_acquire); }
    void unlock() YK_RELEASE() { _word.clear(std::memory_order_release); }

    [[nodiscard]] bool try_lock() YK_TRY_ACQUIRE(true) { return tryLock(); }

private:
    std::atomic_flag _word; // clear when free (C++20 value-initialises it clear)
};

} // namespace yk
