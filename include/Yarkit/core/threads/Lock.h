#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/threads/OwnedLock.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

namespace yk {

// A mutual-exclusion lock object: taken and released by the same thread, not recursive. It
// can be retained and shared, carries an optional name for diagnostics, and can be taken with
// a time limit. Use it through yk::Locker (or std::lock_guard / std::unique_lock: the standard
// names lock, unlock, try_lock, try_lock_for and try_lock_until are here too). The operations
// are those of yk::OwnedLock.
//
// Misuse is reported, not undefined: taking the lock again on the thread that holds it raises
// NSInternalInconsistencyException ("deadlock") instead of hanging; releasing it on a thread
// that does not hold it logs the fact and changes nothing.
class YK_CAPABILITY("mutex") Lock final : public Object, public OwnedLock<Lock> {
    YK_OBJECT(Lock, Object)
public:
    Lock()
        : OwnedLock(detail::OwnedLockState::Kind::Plain)
    {
    }
    explicit Lock(Ref<String> name)
        : OwnedLock(detail::OwnedLockState::Kind::Plain, std::move(name))
    {
    }

    // "<Lock: 0x...> 'name'", or without the name when there is none.
    Ref<String> description() const override;
};

} // namespace yk
