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

// A mutual-exclusion lock object: taken and released by the same thread, not recursive. It
// can be retained and shared, carries an optional name for diagnostics, and can be taken with
// a time limit. Use it through yk::Locker (or std::lock_guard / std::unique_lock: the standard
// names lock, unlock, try_lock, try_lock_for and try_lock_until are here too).
//
// Misuse is reported, not undefined: taking the lock again on the thread that holds it raises
// NSInternalInconsistencyException ("deadlock") instead of hanging; releasing it on a thread
// that does not hold it logs the fact and changes nothing.
class YK_CAPABILITY("mutex") Lock final : public Object {
    YK_OBJECT(Lock, Object)
public:
    using Clock = std::chrono::steady_clock;

    Lock() = default;
    explicit Lock(Ref<String> name);

    // Blocks until the lock is free, then holds it.
    void lock() YK_ACQUIRE();
    void unlock() YK_RELEASE();
    // Takes the lock only if it is free now.
    [[nodiscard]] bool tryLock() YK_TRY_ACQUIRE(true);
    // lockBeforeDate: waits at most until the limit; false when it passed first.
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

    // Any thread; the name appears in the description.
    Ref<String> name() const;
    void setName(Ref<String> name);
    // "<Lock: 0x...> 'name'", or without the name when there is none.
    Ref<String> description() const override;

private:
    bool waitUntilFree(const Clock::time_point* limit) YK_REQUIRES(_state);

    mutable Mutex _state;
    std::condition_variable _released;
    std::thread::id _owner YK_GUARDED_BY(_state); // no thread when the lock is free
    uint32_t _waiters YK_GUARDED_BY(_state) { 0 };
    Ref<String> _name YK_GUARDED_BY(_state);
};

} // namespace yk
