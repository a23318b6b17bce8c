#pragma once

#include <Yarkit/core/runtime/ThreadSafety.h>

#include <shared_mutex>

namespace yk {

// A readers-writer lock for tables that are read far more often than they change (the
// runtime's selector and class tables). Writers hold it with yk::Locker, readers with
// yk::SharedLocker; clang's analysis checks both.
class YK_CAPABILITY("mutex") SharedMutex {
public:
    SharedMutex() = default;
    SharedMutex(const SharedMutex&) = delete;
    SharedMutex& operator=(const SharedMutex&) = delete;

    void lock() YK_ACQUIRE() { _mutex.lock(); }
    void unlock() YK_RELEASE() { _mutex.unlock(); }
    void lockShared() YK_ACQUIRE_SHARED() { _mutex.lock_shared(); }
    void unlockShared() YK_RELEASE_SHARED() { _mutex.unlock_shared(); }

private:
    std::shared_mutex _mutex;
};

// Holds a SharedMutex for reading for the guard's scope.
class YK_SCOPED_CAPABILITY SharedLocker {
public:
    explicit SharedLocker(SharedMutex& mutex) YK_ACQUIRE_SHARED(mutex)
        : _mutex(mutex)
    {
        _mutex.lockShared();
    }
    ~SharedLocker() YK_RELEASE_GENERIC() { _mutex.unlockShared(); }

    SharedLocker(const SharedLocker&) = delete;
    SharedLocker& operator=(const SharedLocker&) = delete;

private:
    SharedMutex& _mutex;
};

} // namespace yk
