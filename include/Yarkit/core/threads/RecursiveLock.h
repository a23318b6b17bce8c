#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/threads/OwnedLock.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

namespace yk {

// A lock object that the thread holding it may take again (lock, tryLock and lockBeforeDate
// succeed at once); it is free once every lock has been matched by an unlock. Otherwise like
// yk::Lock: named, retained, timed, usable with yk::Locker and the standard guards. Unlocking
// on a thread that does not hold it logs the fact and changes nothing.
class YK_CAPABILITY("mutex") RecursiveLock final : public Object, public OwnedLock<RecursiveLock> {
    YK_OBJECT(RecursiveLock, Object)
public:
    RecursiveLock()
        : OwnedLock(detail::OwnedLockState::Kind::Recursive)
    {
    }
    explicit RecursiveLock(Ref<String> name)
        : OwnedLock(detail::OwnedLockState::Kind::Recursive, std::move(name))
    {
    }

    Ref<String> description() const override;
};

} // namespace yk
