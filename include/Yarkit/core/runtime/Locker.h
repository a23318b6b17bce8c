#pragma once

#include <Yarkit/core/runtime/ThreadSafety.h>

#include <mutex>

namespace yk {

// Holds a lock for the guard's scope: takes it on construction and releases it on destruction,
// also when an exception passes. Works with every lock of the core (Mutex, Lock, RecursiveLock,
// ConditionLock, SpinLock) and tells clang's analysis about it, which std::lock_guard does not.
//     yk::Locker guard(*_runningJobsLock);
template <typename LockType>
class YK_SCOPED_CAPABILITY Locker {
public:
    explicit Locker(LockType& lock) YK_ACQUIRE(lock)
        : _lock(lock)
    {
        _lock.lock();
    }
    // Adopts a lock the caller took already (after a successful tryLock, say).
    Locker(LockType& lock, std::adopt_lock_t) YK_REQUIRES(lock)
        : _lock(lock)
    {
    }
    ~Locker() YK_RELEASE() { _lock.unlock(); }

    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;

private:
    LockType& _lock;
};

} // namespace yk
