#pragma once

#include <Yarkit/core/runtime/ThreadSafety.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace yk {

// A plain mutual-exclusion lock for the private state of a class: not an object, not
// recursive, cheap. Use it through yk::Locker. The object locks (yk::Lock and its kin) are
// built on it; use those where the lock must be an object that can be retained, named or
// locked with a time limit.
class YK_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() YK_ACQUIRE() { _mutex.lock(); }
    void unlock() YK_RELEASE() { _mutex.unlock(); }
    [[nodiscard]] bool tryLock() YK_TRY_ACQUIRE(true) { return _mutex.try_lock(); }
    [[nodiscard]] bool try_lock() YK_TRY_ACQUIRE(true) { return _mutex.try_lock(); }

    // Releases this mutex while waiting for the condition variable to be notified (or a
    // spurious wake-up), and holds it again on return. Callers wait in a loop on their predicate.
    void wait(std::condition_variable& condition) YK_REQUIRES(this);
    // The same with a time limit; false when the limit passed.
    bool waitUntil(std::condition_variable& condition, std::chrono::steady_clock::time_point limit) YK_REQUIRES(this);

private:
    std::mutex _mutex;
};

inline void Mutex::wait(std::condition_variable& condition)
{
    std::unique_lock<std::mutex> adopted(_mutex, std::adopt_lock);
    condition.wait(adopted);
    adopted.release();
}

inline bool Mutex::waitUntil(std::condition_variable& condition, std::chrono::steady_clock::time_point limit)
{
    std::unique_lock<std::mutex> adopted(_mutex, std::adopt_lock);
    const bool notified = condition.wait_until(adopted, limit) == std::cv_status::no_timeout;
    adopted.release();
    return notified;
}

} // namespace yk
