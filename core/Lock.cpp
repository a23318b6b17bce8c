#include <Yarkit/core/Lock.h>

#include <Yarkit/core/Class.h>
#include <Yarkit/core/Locker.h>

#include "core/LockErrors.h"

namespace yk {

YK_DEFINE_CLASS(Lock);

Lock::Lock(Ref<String> name)
    : _name(std::move(name))
{
}

// The public operations keep the lock's own state in _state and tell clang only about the
// lock they represent, so their bodies are not analysed; the helpers they call are.
YK_NO_THREAD_SAFETY_ANALYSIS void Lock::lock()
{
    {
        Locker guard(_state);
        if (_owner != std::this_thread::get_id()) {
            waitUntilFree(nullptr);
            _owner = std::this_thread::get_id();
            return;
        }
    }
    detail::raiseLockDeadlock(this, "lock");
}

YK_NO_THREAD_SAFETY_ANALYSIS bool Lock::lockBeforeDate(Clock::time_point limit)
{
    {
        Locker guard(_state);
        if (_owner != std::this_thread::get_id()) {
            if (!waitUntilFree(&limit))
                return false;
            _owner = std::this_thread::get_id();
            return true;
        }
    }
    detail::raiseLockDeadlock(this, "lockBeforeDate:");
}

YK_NO_THREAD_SAFETY_ANALYSIS bool Lock::tryLock()
{
    Locker guard(_state);
    if (_owner != std::thread::id())
        return false;
    _owner = std::this_thread::get_id();
    return true;
}

YK_NO_THREAD_SAFETY_ANALYSIS void Lock::unlock()
{
    const char* problem = nullptr;
    {
        Locker guard(_state);
        if (_owner == std::this_thread::get_id()) {
            _owner = std::thread::id();
            // Notified under _state: a waiter that takes the lock may release the last
            // reference to it as soon as it can run.
            if (_waiters)
                _released.notify_one();
            return;
        }
        problem = _owner == std::thread::id() ? "unlocked when not locked" : "unlocked from a thread which did not lock it";
    }
    detail::logLockMisuse(this, "unlock", problem);
}

bool Lock::waitUntilFree(const Clock::time_point* limit)
{
    ++_waiters;
    while (_owner != std::thread::id()) {
        if (!limit) {
            _state.wait(_released);
        } else if (!_state.waitUntil(_released, *limit) && _owner != std::thread::id()) {
            --_waiters;
            return false;
        }
    }
    --_waiters;
    return true;
}

Ref<String> Lock::name() const
{
    Locker guard(_state);
    return _name;
}

void Lock::setName(Ref<String> name)
{
    Locker guard(_state);
    _name = std::move(name);
}

Ref<String> Lock::description() const
{
    Ref<String> text = Object::description();
    Ref<String> lockName = name();
    if (!lockName)
        return text;
    return String::withUTF8(text->utf8() + " '" + lockName->utf8() + "'");
}

} // namespace yk
