#include <Yarkit/core/RecursiveLock.h>

#include <Yarkit/core/Class.h>
#include <Yarkit/core/Locker.h>

#include "core/LockErrors.h"

namespace yk {

YK_DEFINE_CLASS(RecursiveLock);

RecursiveLock::RecursiveLock(Ref<String> name)
    : _name(std::move(name))
{
}

// As in Lock: the public operations are not analysed, the helper is.
YK_NO_THREAD_SAFETY_ANALYSIS void RecursiveLock::lock()
{
    Locker guard(_state);
    acquire(nullptr);
}

YK_NO_THREAD_SAFETY_ANALYSIS bool RecursiveLock::lockBeforeDate(Clock::time_point limit)
{
    Locker guard(_state);
    return acquire(&limit);
}

YK_NO_THREAD_SAFETY_ANALYSIS bool RecursiveLock::tryLock()
{
    Locker guard(_state);
    const auto self = std::this_thread::get_id();
    if (_owner != self && _owner != std::thread::id())
        return false;
    _owner = self;
    ++_depth;
    return true;
}

YK_NO_THREAD_SAFETY_ANALYSIS void RecursiveLock::unlock()
{
    const char* problem = nullptr;
    {
        Locker guard(_state);
        if (_owner == std::this_thread::get_id()) {
            if (--_depth == 0) {
                _owner = std::thread::id();
                if (_waiters)
                    _released.notify_one();
            }
            return;
        }
        problem = _owner == std::thread::id() ? "unlocked when not locked" : "unlocked from a thread which did not lock it";
    }
    detail::logLockMisuse(this, "unlock", problem);
}

bool RecursiveLock::acquire(const Clock::time_point* limit)
{
    const auto self = std::this_thread::get_id();
    if (_owner != self) {
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
        _owner = self;
    }
    ++_depth;
    return true;
}

Ref<String> RecursiveLock::name() const
{
    Locker guard(_state);
    return _name;
}

void RecursiveLock::setName(Ref<String> name)
{
    Locker guard(_state);
    _name = std::move(name);
}

Ref<String> RecursiveLock::description() const
{
    Ref<String> text = Object::description();
    Ref<String> lockName = name();
    if (!lockName)
        return text;
    return String::withUTF8(text->utf8() + " '" + lockName->utf8() + "'");
}

} // namespace yk
