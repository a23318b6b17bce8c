#include <Yarkit/core/threads/OwnedLock.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Object.h>

#include "core/threads/LockErrors.h"

namespace yk::detail {

OwnedLockState::OwnedLockState(Kind kind, Ref<String> name, int condition)
    : _kind(kind)
    , _word(wordFor(condition))
    , _name(std::move(name))
{
}

bool OwnedLockState::takeWhenBusy(
    const Object* lock, const char* selector, const Clock::time_point* limit, const int* wanted)
{
    if (isHeldByCallingThread()) {
        if (_kind != Kind::Recursive)
            raiseLockDeadlock(lock, selector);
        ++_depth;
        return true;
    }
    if (acquire(wanted))
        return true;
    Locker guard(_mutex);
    return waitUntilAcquired(wanted, limit);
}

bool OwnedLockState::tryTake(const int* wanted)
{
    if (_kind == Kind::Recursive && isHeldByCallingThread()) {
        ++_depth;
        return true;
    }
    return acquire(wanted);
}

void OwnedLockState::releaseMisused(const Object* lock, const char* selector)
{
    const bool free = _owner.load(std::memory_order_relaxed) == std::thread::id();
    logLockMisuse(lock, selector, free ? "unlocked when not locked" : "unlocked from a thread which did not lock it");
}

bool OwnedLockState::waitUntilAcquired(const int* wanted, const Clock::time_point* limit)
{
    // Waited is in the word before the look: a release after it sees it and wakes this thread,
    // which sleeps before the releaser can take the inner mutex.
    addWaiter(wanted);
    bool acquired = acquire(wanted);
    while (!acquired) {
        if (!limit) {
            _mutex.wait(_released);
        } else if (!_mutex.waitUntil(_released, *limit)) {
            acquired = acquire(wanted);
            // Leaving with a wake-up it may have taken: the others look again.
            if (!acquired && _waiters > 1)
                _released.notify_all();
            break;
        }
        acquired = acquire(wanted);
    }
    removeWaiter(wanted);
    return acquired;
}

void OwnedLockState::setFree(const Object* lock, const int* condition)
{
    _owner.store(std::thread::id(), std::memory_order_relaxed);
    // A woken waiter may take the lock and drop the last reference to it as soon as the word
    // says free; the waking after that needs the lock alive.
    Ref<Object> keepAlive;
    uint64_t word = _word.load(std::memory_order_relaxed);
    uint64_t freed;
    do {
        if ((word & Waited) && !keepAlive)
            keepAlive = const_cast<Object*>(lock);
        freed = (word & Waited) | (condition ? wordFor(*condition) : (word & ~(Held | Waited)));
    } while (!_word.compare_exchange_weak(word, freed, std::memory_order_release, std::memory_order_relaxed));
    if (!(word & Waited))
        return; // nobody waits: no inner mutex, no wake-up
    Wake wake = Wake::None;
    {
        Locker guard(_mutex);
        if (_waiters)
            wake = _kind != Kind::Conditional ? Wake::One : mayWakeWaiter() ? Wake::All : Wake::None;
    }
    // After the inner mutex is free, so that a woken waiter need not wait for it.
    if (wake == Wake::One)
        _released.notify_one();
    else if (wake == Wake::All)
        _released.notify_all();
}

void OwnedLockState::addWaiter(const int* wanted)
{
    if (!_waiters++)
        _word.fetch_or(Waited, std::memory_order_relaxed);
    if (!wanted)
        return;
    if (!_conditionWaiters++)
        _wantedCondition = *wanted;
    else if (*wanted != _wantedCondition)
        _waitersWantDifferentConditions = true;
}

void OwnedLockState::removeWaiter(const int* wanted)
{
    if (!--_waiters)
        _word.fetch_and(~Waited, std::memory_order_relaxed);
    // Whether the ones left still want different conditions is not tracked: they are taken to,
    // which costs only a wake-up, until the last of them leaves.
    if (wanted && !--_conditionWaiters)
        _waitersWantDifferentConditions = false;
}

bool OwnedLockState::mayWakeWaiter() const
{
    return _waiters > _conditionWaiters || _waitersWantDifferentConditions || _wantedCondition == conditionOf(_word.load(std::memory_order_relaxed));
}

int OwnedLockState::condition() const
{
    return conditionOf(_word.load(std::memory_order_acquire));
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
