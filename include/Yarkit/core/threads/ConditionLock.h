#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/threads/OwnedLock.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

namespace yk {

// A lock object with an integer condition. A thread can take the lock whatever the condition
// (lock, tryLock, lockBeforeDate) or only once the condition has a given value
// (lockWhenCondition), and sets the condition as it releases the lock (unlockWithCondition),
// which wakes the threads waiting for that value. This is how one thread hands work to
// another: the producer appends under the lock and unlocks with condition 1, the consumer
// waits with lockWhenCondition(1).
//
// Not recursive. Taking it again on the thread that holds it raises
// NSInternalInconsistencyException ("deadlock"); releasing it on another thread logs the fact
// and changes nothing. Use it through yk::ConditionLocker (or yk::Locker, std::lock_guard for
// plain locking).
class YK_CAPABILITY("mutex") ConditionLock final : public Object, public OwnedLock<ConditionLock> {
    YK_OBJECT(ConditionLock, Object)
public:
    // initWithCondition:
    explicit ConditionLock(int condition = 0)
        : OwnedLock(detail::OwnedLockState::Kind::Conditional, nullptr, condition)
    {
    }

    // The current condition; any thread, with or without the lock.
    int condition() const;

    // Blocks until the lock is free and its condition is the value, then holds it.
    void lockWhenCondition(int condition) YK_ACQUIRE();
    // tryLockWhenCondition: only if the lock is free and has the condition now.
    [[nodiscard]] bool tryLockWhenCondition(int condition) YK_TRY_ACQUIRE(true);
    // lockWhenCondition:beforeDate: false when the limit passed first.
    [[nodiscard]] bool lockWhenCondition(int condition, Clock::time_point limit) YK_TRY_ACQUIRE(true);

    // Sets the condition and releases the lock in one step.
    void unlockWithCondition(int condition) YK_RELEASE();

    Ref<String> description() const override;
};

} // namespace yk
