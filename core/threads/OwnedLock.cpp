#include <Yarkit/core/threads/OwnedLock.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Object.h>

#include "core/threads/LockErrors.h"

namespace yk::detail {

OwnedLockState::OwnedLockState(Kind kind, Ref<String> name, int condition)
    : _kind(kind)
    , _condition(condition)
    , _name(std::move(name))
{
}

bool OwnedLockState::take(
    const Object* lock, const char* selector, const Clock::time_point* limit, const int* wanted)
{
    {
        Locker guard(_mutex);
        if (_owner != std::this_thread::get_id()) {
            if (!waitUntilAvailable(wanted, limit))
                return false;
            hold();
            return true;
        }
        if (_kind == Kind::Recursive) {
            ++_depth;
            return true;
        }
    }
    raiseLockDeadlock(lock, selector);
}

bool OwnedLockState::tryTake(const int* wanted)
{
    Locker guard(_mutex);
    if (_kind == Kind::Recursive && _owner == std::this_thread::get_id()) {
        ++_depth;
        return true;
    }
    if (!isAvailable(wanted))
        return false;
    hold();
    return true;
}

void OwnedLockState::release(const Object* lock, const char* selector, const int* condition)
{
    const char* problem = nullptr;
    Wake wake = Wake::None;
    Ref<Object> keepAlive; // released last, after the notify
    {
        Locker guard(_mutex);
        if (_owner == std::this_thread::get_id()) {
            wake = drop(condition);
            // A woken waiter may take the lock and drop the last reference to it as soon as the
            // inner mutex is free; the notify comes after that, so that the waiter need not
            // wait for the mutex the notifier still holds.
            if (wake != Wake::None)
                keepAlive = const_cast<Object*>(lock);
        } else {
            problem = _owner == std::thread::id() ? "unlocked when not locked"
                                                  : "unlocked from a thread which did not lock it";
        }
    }
    if (wake == Wake::One)
        _released.notify_one();
    else if (wake == Wake::All)
        _released.notify_all();
    if (problem)
        logLockMisuse(lock, selector, problem);
}

bool OwnedLockState::isAvailable(const int* wanted) const
{
    return _owner == std::thread::id() && (!wanted || _condition.load(std::memory_order_relaxed) == *wanted);
}

bool OwnedLockState::waitUntilAvailable(const int* wanted, const Clock::time_point* limit)
{
    if (isAvailable(wanted))
        return true;
    addWaiter(wanted);
    while (!isAvailable(wanted)) {
        if (!limit) {
            _mutex.wait(_released);
        } else if (!_mutex.waitUntil(_released, *limit) && !isAvailable(wanted)) {
            removeWaiter(wanted);
            return false;
        }
    }
    removeWaiter(wanted);
    return true;
}

void OwnedLockState::addWaiter(const int* wanted)
{
    ++_waiters;
    if (!wanted)
        return;
    if (!_conditionWaiters++)
        _wantedCondition = *wanted;
    else if (*wanted != _wantedCondition)
        _waitersWantDifferentConditions = true;
}

void OwnedLockState::removeWaiter(const int* wanted)
{
    --_waiters;
    // Whether the ones left still want different conditions is not tracked: they are taken to,
    // which costs only a wake-up, until the last of them leaves.
    if (wanted && !--_conditionWaiters)
        _waitersWantDifferentConditions = false;
}

bool OwnedLockState::mayWakeWaiter() const
{
    return _waiters > _conditionWaiters || _waitersWantDifferentConditions || _wantedCondition == _condition.load(std::memory_order_relaxed);
}

void OwnedLockState::hold()
{
    _owner = std::this_thread::get_id();
    _depth = 1;
}

OwnedLockState::Wake OwnedLockState::drop(const int* condition)
{
    if (condition)
        _condition.store(*condition, std::memory_order_release);
    if (--_depth > 0)
        return Wake::None;
    _owner = std::thread::id();
    if (!_waiters)
        return Wake::None;
    if (_kind != Kind::Conditional)
        return Wake::One;
    // Waiters for a condition may wait for different ones, so all look.
    return mayWakeWaiter() ? Wake::All : Wake::None;
}

int OwnedLockState::condition() const
{
    return _condition.load(std::memory_order_acquire);
}

Ref<String> OwnedLockState::name() const
{
    Locker guard(_mutex);
    return _name;
}

void OwnedLockState::setName(Ref<String> name)
{
    Locker guard(_mutex);
    _name = std::move(name);
}

Ref<String> OwnedLockState::describe(Ref<String> description) const
{
    Ref<String> lockName = name();
    if (!lockName)
        return description;
    return String::withUTF8(description->utf8() + " '" + lockName->utf8() + "'");
}

} // namespace yk::detail
