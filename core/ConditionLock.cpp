#include <Yarkit/core/ConditionLock.h>

#include <Yarkit/core/Class.h>
#include <Yarkit/core/Locker.h>

#include "core/LockErrors.h"

namespace yk {

YK_DEFINE_CLASS(ConditionLock);

ConditionLock::ConditionLock(int condition)
    : _condition(condition)
{
}

int ConditionLock::condition() const
{
    Locker guard(_state);
    return _condition;
}

// As in Lock: the public operations are not analysed, the helpers are. A thread asking for the
// lock it holds is told after _state is released, since the message reads the lock's name.
YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::lock()
{
    {
        Locker guard(_state);
        if (acquireAny(nullptr))
            return;
    }
    detail::raiseLockDeadlock(this, "lock");
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::tryLock()
{
    Locker guard(_state);
    if (_owner != std::thread::id())
        return false;
    _owner = std::this_thread::get_id();
    return true;
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::lockBeforeDate(Clock::time_point limit)
{
    {
        Locker guard(_state);
        if (_owner != std::this_thread::get_id())
            return acquireAny(&limit);
    }
    detail::raiseLockDeadlock(this, "lockBeforeDate:");
}

YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::lockWhenCondition(int condition)
{
    {
        Locker guard(_state);
        if (acquireWhen(condition, nullptr))
            return;
    }
    detail::raiseLockDeadlock(this, "lockWhenCondition:");
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::tryLockWhenCondition(int condition)
{
    Locker guard(_state);
    if (_owner != std::thread::id() || _condition != condition)
        return false;
    _owner = std::this_thread::get_id();
    return true;
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::lockWhenCondition(int condition, Clock::time_point limit)
{
    {
        Locker guard(_state);
        if (_owner != std::this_thread::get_id())
            return acquireWhen(condition, &limit);
    }
    detail::raiseLockDeadlock(this, "lockWhenCondition:beforeDate:");
}

YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::unlock()
{
    const char* problem = nullptr;
    {
        Locker guard(_state);
        if (releaseOwnership(nullptr, &problem))
            return;
    }
    detail::logLockMisuse(this, "unlock", problem);
}

YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::unlockWithCondition(int condition)
{
    const char* problem = nullptr;
    {
        Locker guard(_state);
        if (releaseOwnership(&condition, &problem))
            return;
    }
    detail::logLockMisuse(this, "unlockWithCondition:", problem);
}

bool ConditionLock::acquireAny(const Clock::time_point* limit)
{
    const auto self = std::this_thread::get_id();
    if (_owner == self)
        return false;
    ++_waiters;
    while (_owner != std::thread::id()) {
        if (!limit) {
            _state.wait(_changed);
        } else if (!_state.waitUntil(_changed, *limit) && _owner != std::thread::id()) {
            --_waiters;
            return false;
        }
    }
    --_waiters;
    _owner = self;
    return true;
}

bool ConditionLock::acquireWhen(int condition, const Clock::time_point* limit)
{
    const auto self = std::this_thread::get_id();
    if (_owner == self)
        return false;
    auto available = [&]() YK_REQUIRES(_state) { return _owner == std::thread::id() && _condition == condition; };
    ++_waiters;
    while (!available()) {
        if (!limit) {
            _state.wait(_changed);
        } else if (!_state.waitUntil(_changed, *limit) && !available()) {
            --_waiters;
            return false;
        }
    }
    --_waiters;
    _owner = self;
    return true;
}

bool ConditionLock::releaseOwnership(const int* condition, const char** problem)
{
    if (_owner != std::this_thread::get_id()) {
        *problem = _owner == std::thread::id() ? "unlocked when not locked" : "unlocked from a thread which did not lock it";
        return false;
    }
    _owner = std::thread::id();
    if (condition)
        _condition = *condition;
    // Waiters wait for different conditions, so all of them look. Notified under _state: a
    // waiter that takes the lock may release the last reference to it as soon as it can run.
    if (_waiters)
        _changed.notify_all();
    return true;
}

Ref<String> ConditionLock::name() const
{
    Locker guard(_state);
    return _name;
}

void ConditionLock::setName(Ref<String> name)
{
    Locker guard(_state);
    _name = std::move(name);
}

Ref<String> ConditionLock::description() const
{
    Ref<String> text = Object::description();
    Ref<String> lockName = name();
    if (!lockName)
        return text;
    return String::withUTF8(text->utf8() + " '" + lockName->utf8() + "'");
}

} // namespace yk
