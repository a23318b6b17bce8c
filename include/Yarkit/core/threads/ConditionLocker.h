#pragma once

#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <mutex>

namespace yk {

// Holds a ConditionLock for the guard's scope and releases it with a condition: the lock's
// condition as it was when taken, unless setCondition chose another. An exception passing
// through releases the lock with whatever condition was set by then.
//     yk::ConditionLocker guard(*_waitingJobsLock, 1);   // waits for condition 1
//     ...
//     guard.setCondition(_waitingJobs.empty() ? 0 : 1);
class YK_SCOPED_CAPABILITY ConditionLocker {
public:
    // Takes the lock whatever its condition.
    explicit ConditionLocker(ConditionLock& lock) YK_ACQUIRE(lock)
        : _lock(lock)
    {
        _lock.lock();
        _condition = _lock.condition();
    }
    // Takes the lock once its condition is the value.
    ConditionLocker(ConditionLock& lock, int condition) YK_ACQUIRE(lock)
        : _lock(lock)
        , _condition(condition)
    {
        _lock.lockWhenCondition(condition);
    }
    // Adopts a lock the caller took already (after tryLockWhenCondition, say).
    ConditionLocker(ConditionLock& lock, std::adopt_lock_t) YK_REQUIRES(lock)
        : _lock(lock)
        , _condition(lock.condition())
    {
    }
    ~ConditionLocker() YK_RELEASE() { _lock.unlockWithCondition(_condition); }

    ConditionLocker(const ConditionLocker&) = delete;
    ConditionLocker& operator=(const ConditionLocker&) = delete;

    // The condition the lock will be released with.
    int condition() const { return _condition; }
    void setCondition(int condition) { _condition = condition; }

private:
    ConditionLock& _lock;
    int _condition;
};

} // namespace yk
