#pragma once

#include <Yarkit/core/Mutex.h>
#include <Yarkit/core/Object.h>
#include <Yarkit/core/String.h>
#include <Yarkit/core/ThreadSafety.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <thread>

namespace yk {

// A lock object with an integer condition. A thread can take the lock whatever the condition
// (lock) or only once the condition has a given value (lockWhenCondition), and sets the
// condition as it releases the lock (unlockWithCondition), which wakes the threads waiting for
// that value. This is how one thread hands work to another: the producer appends under the
// lock and unlocks with condition 1, the consumer waits with lockWhenCondition(1).
//
// Not recursive. Taking it again on the thread that holds it raises
// NSInternalInconsistencyException ("deadlock"); releasing it on another thread logs the fact
// and changes nothing. Use it through yk::ConditionLocker (or yk::Locker, std::lock_guard for
// plain locking).
class YK_CAPABILITY("mutex") ConditionLock final : public Object {
    YK_OBJECT(ConditionLock, Object)
public:
    using Clock = std::chrono::steady_clock;

    // initWithCondition:
    explicit ConditionLock(int condition = 0);

    // The current condition; any thread, with or without the lock.
    int condition() const;

    // Whatever the condition.
    void lock() YK_ACQUIRE();
    [[nodiscard]] bool tryLock() YK_TRY_ACQUIRE(true);
    // lockBeforeDate:
    [[nodiscard]] bool lockBeforeDate(Clock::time_point limit) YK_TRY_ACQUIRE(true);

    // Blocks until the lock is free and its condition is the value, then holds it.
    void lockWhenCondition(int condition) YK_ACQUIRE();
    // tryLockWhenCondition: only if the lock is free and has the condition now.
    [[nodiscard]] bool tryLockWhenCondition(int condition) YK_TRY_ACQUIRE(true);
    // lockWhenCondition:beforeDate: false when the limit passed first.
    [[nodiscard]] bool lockWhenCondition(int condition, Clock::time_point limit) YK_TRY_ACQUIRE(true);

    // Releases the lock, leaving the condition as it is.
    void unlock() YK_RELEASE();
    // Sets the condition and releases the lock in one step.
    void unlockWithCondition(int condition) YK_RELEASE();

    [[nodiscard]] bool try_lock() YK_TRY_ACQUIRE(true) { return tryLock(); }
    template <typename Rep, typename Period>
    [[nodiscard]] bool try_lock_for(std::chrono::duration<Rep, Period> timeout) YK_TRY_ACQUIRE(true)
    {
        return lockBeforeDate(Clock::now() + std::chrono::ceil<Clock::duration>(timeout));
    }
    template <typename C, typename D>
    [[nodiscard]] bool try_lock_until(std::chrono::time_point<C, D> limit) YK_TRY_ACQUIRE(true)
    {
        return try_lock_for(limit - C::now());
    }

    Ref<String> name() const;
    void setName(Ref<String> name);
    Ref<String> description() const override;

private:
    // Both wait until the lock can be taken (and, for the first, has the condition); false
    // only when the limit passed.
    bool acquireWhen(int condition, const Clock::time_point* limit) YK_REQUIRES(_state);
    bool acquireAny(const Clock::time_point* limit) YK_REQUIRES(_state);
    bool releaseOwnership(const int* condition, const char** problem) YK_REQUIRES(_state);

    mutable Mutex _state;
    std::condition_variable _changed; // the lock was released, possibly with a new condition
    std::thread::id _owner YK_GUARDED_BY(_state);
    int _condition YK_GUARDED_BY(_state);
    uint32_t _waiters YK_GUARDED_BY(_state) { 0 };
    Ref<String> _name YK_GUARDED_BY(_state);
};

} // namespace yk
