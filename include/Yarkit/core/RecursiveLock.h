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

// A lock object that the thread holding it may take again; it is free once every lock has been
// matched by an unlock. Otherwise like yk::Lock: named, retained, timed, usable with
// yk::Locker and the standard guards. Unlocking on a thread that does not hold it logs the
// fact and changes nothing.
class YK_CAPABILITY("mutex") RecursiveLock final : public Object {
    YK_OBJECT(RecursiveLock, Object)
public:
    using Clock = std::chrono::steady_clock;

    RecursiveLock() = default;
    explicit RecursiveLock(Ref<String> name);

    void lock() YK_ACQUIRE();
    void unlock() YK_RELEASE();
    [[nodiscard]] bool tryLock() YK_TRY_ACQUIRE(true);
    // lockBeforeDate: false when the limit passed before the lock could be taken.
    [[nodiscard]] bool lockBeforeDate(Clock::time_point limit) YK_TRY_ACQUIRE(true);

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
    bool acquire(const Clock::time_point* limit) YK_REQUIRES(_state);

    mutable Mutex _state;
    std::condition_variable _released;
    std::thread::id _owner YK_GUARDED_BY(_state);
    uint32_t _depth YK_GUARDED_BY(_state) { 0 }; // locks not yet matched by an unlock
    uint32_t _waiters YK_GUARDED_BY(_state) { 0 };
    Ref<String> _name YK_GUARDED_BY(_state);
};

} // namespace yk
