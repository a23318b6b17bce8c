#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/threads/ConditionLocker.h>
#include <Yarkit/core/threads/Lock.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/threads/RecursiveLock.h>
#include <Yarkit/core/threads/SpinLock.h>

#include "CoreTestSupport.h"
#include "LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

// Every lock type by reference: the object locks live behind a Ref, Mutex in place.
template <typename T>
struct Holder {
    yk::Ref<T> ref = yk::make<T>();
    T& get() { return *ref; }
};
template <>
struct Holder<yk::Mutex> {
    yk::Mutex mutex;
    yk::Mutex& get() { return mutex; }
};

// Whether another thread could take the lock right now (it releases it again at once).
template <typename T>
bool freeForOthers(T& lock)
{
    bool taken = false;
    std::thread([&] {
        if (!lock.try_lock())
            return;
        lock.unlock();
        taken = true;
    }).join();
    return taken;
}

template <typename T>
class AnyLock : public testing::Test {
};
using LockTypes = testing::Types<yk::Mutex, yk::Lock, yk::RecursiveLock, yk::ConditionLock, yk::SpinLock>;
TYPED_TEST_SUITE(AnyLock, LockTypes);

TYPED_TEST(AnyLock, KeepsOthersOutAndCountersExactUnderContention)
{
    Holder<TypeParam> lock;
    // A plain int on purpose: without mutual exclusion increments are lost (and TSan reports).
    int counter = 0;
    constexpr int threads = 4;
    constexpr int rounds = 2000;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                yk::Locker guard(lock.get());
                int seen = counter;
                std::this_thread::yield();
                counter = seen + 1;
            }
        });
    }
    for (auto& worker : workers)
        worker.join();
    EXPECT_EQ(counter, threads * rounds);
}

template <typename T>
class TimedLock : public testing::Test {
};
using TimedLockTypes = testing::Types<yk::Lock, yk::RecursiveLock, yk::ConditionLock>;
TYPED_TEST_SUITE(TimedLock, TimedLockTypes);

TYPED_TEST(TimedLock, GivesUpAtTheLimitAndSucceedsWhenReleasedInTime)
{
    auto lock = yk::make<TypeParam>();
    std::atomic<bool> held { false };
    std::thread holder([&] {
        lock->lock();
        held = true;
        std::this_thread::sleep_for(80ms);
        lock->unlock();
    });
    while (!held)
        std::this_thread::yield();
    auto start = Clock::now();
    EXPECT_FALSE(lock->lockBeforeDate(start + 30ms));
    EXPECT_TRUE(std::unique_lock<TypeParam>(*lock, 10s).owns_lock());
    holder.join();
}

TEST(OwnedLock, ASecondLockByTheOwnerRaisesInsteadOfDeadlocking)
{
    auto lock = yk::make<yk::Lock>(yk::String::withUTF8("jobs"));
    auto conditionLock = yk::make<yk::ConditionLock>(3);
    lock->lock();
    conditionLock->lock();
    // Each row locks a lock its thread holds already, which clang's analysis rightly rejects.
    const std::string named = lock->description()->utf8();
    const std::string unnamed = conditionLock->description()->utf8();
    EXPECT_TRUE(named.starts_with("<Lock: 0x") && named.ends_with("> 'jobs'")) << named;
    const std::pair<std::string, std::function<void()>> rows[] = {
        { "-[Lock lock]: deadlock (" + named, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { lock->lock(); } },
        { "-[Lock lockBeforeDate:]: deadlock (" + named, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { (void)lock->try_lock_until(std::chrono::system_clock::now() + 1s); } },
        { "-[ConditionLock lock]: deadlock (" + unnamed, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { conditionLock->lock(); } },
        { "-[ConditionLock lockBeforeDate:]: deadlock (" + unnamed, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { (void)conditionLock->lockBeforeDate(Clock::now() + 1s); } },
        { "-[ConditionLock lockWhenCondition:]: deadlock (" + unnamed, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { conditionLock->lockWhenCondition(3); } },
        { "-[ConditionLock lockWhenCondition:beforeDate:]: deadlock (" + unnamed, [&]() YK_NO_THREAD_SAFETY_ANALYSIS { (void)conditionLock->lockWhenCondition(3, Clock::now() + 1s); } },
    };
    for (const auto& [reason, askAgain] : rows)
        yk::test::expectRaise(askAgain, yk::NSInternalInconsistencyException, "*** " + reason + ")");
    EXPECT_FALSE(freeForOthers(*lock));
    EXPECT_FALSE(freeForOthers(*conditionLock));
    lock->unlock();
    conditionLock->unlock();
}

TEST(OwnedLock, MisplacedUnlocksAreLoggedAndChangeNothing)
{
    auto lock = yk::make<yk::Lock>(yk::String::withUTF8("jobs"));
    auto recursiveLock = yk::make<yk::RecursiveLock>(yk::String::withUTF8("loader"));
    auto conditionLock = yk::make<yk::ConditionLock>(3);
    LogCapture capture;
    // Unlocks of locks not held, which clang's analysis rightly rejects.
    [&]() YK_NO_THREAD_SAFETY_ANALYSIS {
        lock->unlock();
        recursiveLock->unlock();
        conditionLock->unlockWithCondition(5);
        lock->lock();
        recursiveLock->lock();
        recursiveLock->lock();
        conditionLock->lock();
        std::thread([&]() YK_NO_THREAD_SAFETY_ANALYSIS {
            lock->unlock();
            recursiveLock->unlock();
            conditionLock->unlockWithCondition(6);
        }).join();
        EXPECT_EQ(conditionLock->condition(), 3);
        EXPECT_FALSE(freeForOthers(*lock));
        lock->unlock();
        conditionLock->unlock();
        recursiveLock->unlock();
        EXPECT_FALSE(freeForOthers(*recursiveLock));
        recursiveLock->unlock();
        EXPECT_TRUE(freeForOthers(*recursiveLock));
    }();

    auto line = [](const char* method, const yk::Object& lock, const char* problem) {
        return std::string("*** -[") + method + "]: lock (" + lock.description()->utf8() + ") " + problem + "\n";
    };
    const char* notLocked = "unlocked when not locked";
    const char* otherThread = "unlocked from a thread which did not lock it";
    EXPECT_EQ(capture.text(),
        line("Lock unlock", *lock, notLocked) + line("RecursiveLock unlock", *recursiveLock, notLocked)
            + line("ConditionLock unlockWithCondition:", *conditionLock, notLocked) + line("Lock unlock", *lock, otherThread)
            + line("RecursiveLock unlock", *recursiveLock, otherThread) + line("ConditionLock unlockWithCondition:", *conditionLock, otherThread));
}

TEST(ConditionLock, WakesEachWaiterForItsOwnCondition)
{
    // Three threads wait for conditions 1, 2 and 3 and a fourth for the lock whatever its
    // condition. A release with a condition none of the three wants must still wake the fourth,
    // which sets 1; then each passes the lock on to the next.
    auto lock = yk::make<yk::ConditionLock>(0);
    std::vector<int> order;
    std::vector<std::thread> waiters;
    lock->lock();
    for (int c = 3; c >= 1; --c) {
        waiters.emplace_back([&, c] {
            yk::ConditionLocker guard(*lock, c);
            order.push_back(c);
            guard.setCondition(c == 3 ? 0 : c + 1);
        });
    }
    waiters.emplace_back([&]() YK_NO_THREAD_SAFETY_ANALYSIS {
        lock->lock();
        order.push_back(0);
        lock->unlockWithCondition(1);
    });
    std::this_thread::sleep_for(10ms);
    lock->unlockWithCondition(7);
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(order, (std::vector<int> { 0, 1, 2, 3 }));
    EXPECT_EQ(lock->condition(), 0);
}

TEST(ConditionLock, HandsOffBackAndForthWithoutLosingAWakeUp)
{
    // Two threads pass the lock to each other by condition, so every take either finds the lock
    // free or sleeps until the other's release wakes it; a lost wake-up shows as a give-up.
    auto lock = yk::make<yk::ConditionLock>(0);
    constexpr int rounds = 5000;
    std::atomic<int> gaveUp { 0 };
    auto player = [&](int mine, int theirs) {
        for (int i = 0; i < rounds; ++i) {
            if (!lock->lockWhenCondition(mine, Clock::now() + 10s)) {
                ++gaveUp;
                return;
            }
            lock->unlockWithCondition(theirs);
        }
    };
    std::thread other(player, 1, 0);
    player(0, 1);
    other.join();
    EXPECT_EQ(gaveUp.load(), 0);
    EXPECT_EQ(lock->condition(), 0);
    EXPECT_TRUE(freeForOthers(*lock));
}

TEST(ConditionLock, WaitsForTheConditionOrGivesUpAndItsGuardReleasesWithItsCondition)
{
    auto lock = yk::make<yk::ConditionLock>(0);
    EXPECT_FALSE(lock->tryLockWhenCondition(1));
    EXPECT_FALSE(lock->lockWhenCondition(1, Clock::now() + 30ms));
    std::thread setter([&] {
        std::this_thread::sleep_for(20ms);
        lock->lock();
        lock->unlockWithCondition(1);
    });
    if (lock->lockWhenCondition(1, Clock::now() + 10s))
        lock->unlockWithCondition(5);
    else
        ADD_FAILURE() << "the condition never came";
    setter.join();
    EXPECT_EQ(lock->condition(), 5);

    // An exception passing the guard still releases the lock with the guard's condition.
    try {
        yk::ConditionLocker guard(*lock, 5);
        guard.setCondition(1);
        throw std::runtime_error("raised while held");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(lock->condition(), 1);
    EXPECT_TRUE(freeForOthers(*lock));
}

} // namespace
