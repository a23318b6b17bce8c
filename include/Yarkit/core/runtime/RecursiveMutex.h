#pragma once

#include <Yarkit/core/runtime/ThreadSafety.h>

#include <mutex>

namespace yk {

// A plain lock that the thread holding it may take again, for the runtime's class
// initialisation, where one class's initialize may use another class. Use it through
// yk::Locker. The lock object yk::RecursiveLock is the one to use where a retained, named lock
// is needed.
class YK_CAPABILITY("mutex") RecursiveMutex {
public:
    RecursiveMutex() = default;
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock() YK_ACQUIRE() { _mutex.lock(); }
    void unlock() YK_RELEASE() { _mutex.unlock(); }

private:
    std::recursive_mutex _mutex;
};

} // namespace yk
