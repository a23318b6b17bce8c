#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Ref.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <thread>

namespace yk {

namespace detail {

// The state of a lock object that knows its owner, and the operations on it. It lives in this
// header only because the lock objects hold it by value; use the lock objects. A lock nobody
// contends for is taken and released with one atomic step on a word that holds the condition,
// whether the lock is held and whether anyone waits; waiters sleep on the inner mutex's
// condition variable, which a release touches only when the word says someone waits. Misuse is
// reported after the inner mutex is released (the report reads the lock's name).
class OwnedLockState {
public:
    using Clock = std::chrono::steady_clock;
    // Plain: taking it again on the thread that holds it raises "deadlock". Recursive: its holder
    // takes it again, and it is free when every take has been matched by a release.
    // Conditional: plain, with a condition that waiters can ask for, so a release that one of
    // them can use wakes them all.
    enum class Kind { Plain, Recursive, Conditional };

    OwnedLockState(Kind kind, Ref<String> name, int condition = 0);

    // Waits until the lock is free (and has the wanted condition, if given), then holds it;
    // false when the limit (null: none) passed first. Raises the deadlock exception, naming
    // lock and selector, when the calling thread holds a lock that is not recursive.
    bool take(const Object* lock, const char* selector, const Clock::time_point* limit,
        const int* wanted = nullptr)
    {
        // A free lock that fits is held by nobody, the caller included: nothing to look into.
        return acquire(wanted) || takeWhenBusy(lock, selector, limit, wanted);
    }
    // The same, but only if that needs no waiting; false instead of the deadlock exception.
    bool tryTake(const int* wanted = nullptr);
    // Gives up one take of the calling thread, setting the condition if given. Logs the misuse,
    // naming lock and selector, when the calling thread does not hold the lock.
    void release(const Object* lock, const char* selector, const int* condition = nullptr)
    {
        if (!isHeldByCallingThread())
            return releaseMisused(lock, selector);
        if (--_depth > 0)
            return; // a recursive lock's inner release; those have no condition
        if (!freeIfUnwaited(condition))
            setFree(lock, condition);
    }

    int condition() const;
    Ref<String> name() const;
    void setName(Ref<String> name);
    // The lock's own description, followed by " 'name'" when it has a name.
    Ref<String> describe(Ref<String> description) const;

private:
    // The word's bits above the condition.
    static constexpr uint64_t Held = uint64_t(1) << 32;
    static constexpr uint64_t Waited = uint64_t(1) << 33; // someone sleeps, or is about to
    static int conditionOf(uint64_t word) { return static_cast<int>(static_cast<uint32_t>(word)); }
    static uint64_t wordFor(int condition) { return static_cast<uint32_t>(condition); }

    bool isHeldByCallingThread() const
    {
        // Only a thread itself stores its id here, and it reads its own last store.
        return _owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }
    // Holds the lock if it is free and has the wanted condition, in one atomic step.
    bool acquire(const int* wanted)
    {
        uint64_t word = _word.load(std::memory_order_relaxed);
        do {
            if ((word & Held) || (wanted && conditionOf(word) != *wanted))
                return false;
        } while (!_word.compare_exchange_weak(word, word | Held, std::memory_order_acquire, std::memory_order_relaxed));
        _owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
        _depth = 1;
        return true;
    }
    bool takeWhenBusy(const Object* lock, const char* selector, const Clock::time_point* limit, const int* wanted);
    // Frees the lock held by the calling thread in one atomic step when nobody waits; false,
    // changing nothing but the owner, when someone does (setFree then wakes them).
    bool freeIfUnwaited(const int* condition)
    {
        _owner.store(std::thread::id(), std::memory_order_relaxed);
        uint64_t word = _word.load(std::memory_order_relaxed);
        return !(word & Waited)
            && _word.compare_exchange_strong(word, condition ? wordFor(*condition) : (word & ~Held), std::memory_order_release, std::memory_order_relaxed);
    }
    void releaseMisused(const Object* lock, const char* selector);
    bool waitUntilAcquired(const int* wanted, const Clock::time_point* limit) YK_REQUIRES(_mutex);
    // Frees the lock held by the calling thread, setting the condition if given, and wakes the
    // waiters that can use it.
    void setFree(const Object* lock, const int* condition);
    enum class Wake { None, One, All };
    void addWaiter(const int* wanted) YK_REQUIRES(_mutex);
    void removeWaiter(const int* wanted) YK_REQUIRES(_mutex);
    // Whether a waiter could take the lock as it is now, free: a release that cannot satisfy any
    // waiter wakes none (a consumer waiting for condition 1 sleeps through releases with 0).
    bool mayWakeWaiter() const YK_REQUIRES(_mutex);

    const Kind _kind;
    std::atomic<uint64_t> _word; // the condition, Held and Waited
    std::atomic<std::thread::id> _owner; // set by the holder once it holds the lock, cleared before it frees it
    uint32_t _depth { 0 }; // takes not yet matched by a release; only the holder touches it
    mutable Mutex _mutex;
    std::condition_variable _released;
    uint32_t _waiters YK_GUARDED_BY(_mutex) { 0 };
    uint32_t _conditionWaiters YK_GUARDED_BY(_mutex) { 0 }; // the waiters that want a condition
    int _wantedCondition YK_GUARDED_BY(_mutex) { 0 }; // the condition they want, if they agree
    bool _waitersWantDifferentConditions YK_GUARDED_BY(_mutex) { false };
    Ref<String> _name YK_GUARDED_BY(_mutex);
};

} // namespace detail

// The operations that yk::Lock, yk::RecursiveLock and yk::ConditionLock share: taking and
// releasing the lock, with a time limit or without waiting, the standard names for them (so
// std::lock_guard and std::unique_lock work), and the name. Each lock derives from Object and
// from OwnedLock of itself, and its kind decides what its holder taking it again does. Misuse
// is reported with the lock's class, as in "*** -[Lock lock]: deadlock (<Lock: 0x...>)".
template <typename Derived>
class YK_CAPABILITY("mutex") OwnedLock {
public:
    using Clock = std::chrono::steady_clock;

    // These implement the capability, so clang's analysis cannot follow their bodies; the
    // state they call is analysed.
    // Blocks until the lock is free, then holds it.
    YK_NO_THREAD_SAFETY_ANALYSIS void lock() YK_ACQUIRE()
    {
        _state.take(object(), "lock", nullptr);
    }
    // A ConditionLock keeps its condition.
    YK_NO_THREAD_SAFETY_ANALYSIS void unlock() YK_RELEASE() { _state.release(object(), "unlock"); }
    // Takes the lock only if it is free now.
    [[nodiscard]] YK_NO_THREAD_SAFETY_ANALYSIS bool tryLock() YK_TRY_ACQUIRE(true)
    {
        return _state.tryTake();
    }
    // lockBeforeDate: waits at most until the limit; false when it passed first.
    [[nodiscard]] YK_NO_THREAD_SAFETY_ANALYSIS bool lockBeforeDate(Clock::time_point limit)
        YK_TRY_ACQUIRE(true)
    {
        return _state.take(object(), "lockBeforeDate:", &limit);
    }

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
    Ref<String> name() const { return _state.name(); }
    void setName(Ref<String> name) { _state.setName(std::move(name)); }

protected:
    explicit OwnedLock(
        detail::OwnedLockState::Kind kind, Ref<String> name = nullptr, int condition = 0)
        : _state(kind, std::move(name), condition)
    {
    }
    OwnedLock(const OwnedLock&) = delete;
    OwnedLock& operator=(const OwnedLock&) = delete;
    ~OwnedLock() = default;

    const Derived* object() const { return static_cast<const Derived*>(this); }

    detail::OwnedLockState _state;
};

} // namespace yk
