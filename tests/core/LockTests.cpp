#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/threads/ConditionLocker.h>
#include <Yarkit/core/threads/Lock.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/threads/RecursiveLock.h>
#include <Yarkit/core/threads/SpinLock.h>

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <sstream>
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
        taken = lock.try_lock();
        if (taken)
            lock.unlock();
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
    lock.get().lock();
    EXPECT_FALSE(freeForOthers(lock.get()));
    lock.get().unlock();
    EXPECT_TRUE(freeForOthers(lock.get()));

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
    EXPECT_GE(Clock::now() - start, 30ms);
    {
        std::unique_lock<TypeParam> guard(*lock, 10s);
        EXPECT_TRUE(guard.owns_lock());
    }
    holder.join();
}

TEST(Lock, MisuseIsReportedInsteadOfUndefined)
{
    auto lock = yk::make<yk::Lock>(yk::String::withUTF8("jobs"));
    LogCapture capture;
    lock->unlock();
    lock->lock();
    try {
        lock->lock();
        ADD_FAILURE() << "no exception";
    } catch (const std::exception& e) {
        EXPECT_NE(std::string(e.what()).find("*** -[Lock lock]: deadlock (<Lock: 0x"), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("> 'jobs')"), std::string::npos) << e.what();
    }
    EXPECT_THROW((void)lock->lockBeforeDate(Clock::now() + 1s), std::exception);
    std::thread([&] { lock->unlock(); }).join();
    EXPECT_FALSE(freeForOthers(*lock));
    lock->unlock();

    std::string log = capture.text();
    EXPECT_NE(log.find("*** -[Lock unlock]: lock (<Lock: 0x"), std::string::npos) << log;
    EXPECT_NE(log.find("unlocked when not locked"), std::string::npos) << log;
    EXPECT_NE(log.find("unlocked from a thread which did not lock it"), std::string::npos) << log;
}

TEST(OwnedLock, DeadlockNamesTheClassAndTheMethodAskedFor)
{
    struct Row {
        const char* message;
        std::function<void()> askAgain;
    };
    auto lock = yk::make<yk::Lock>();
    auto conditionLock = yk::make<yk::ConditionLock>(3);
    lock->lock();
    conditionLock->lock();
    const Row rows[] = {
        { "*** -[Lock lockBeforeDate:]: deadlock (<Lock: 0x", [&] { (void)lock->try_lock_until(std::chrono::system_clock::now() + 1s); } },
        { "*** -[ConditionLock lock]: deadlock (<ConditionLock: 0x", [&] { conditionLock->lock(); } },
        { "*** -[ConditionLock lockBeforeDate:]: deadlock (", [&] { (void)conditionLock->lockBeforeDate(Clock::now() + 1s); } },
        { "*** -[ConditionLock lockWhenCondition:]: deadlock (", [&] { conditionLock->lockWhenCondition(3); } },
        { "*** -[ConditionLock lockWhenCondition:beforeDate:]: deadlock (", [&] { (void)conditionLock->lockWhenCondition(3, Clock::now() + 1s); } },
    };
    for (const Row& row : rows) {
        try {
            row.askAgain();
            ADD_FAILURE() << row.message << ": no exception";
        } catch (const std::exception& e) {
            EXPECT_EQ(std::string(e.what()).find(row.message), 0u) << e.what();
        }
    }
    EXPECT_FALSE(freeForOthers(*lock));
    EXPECT_FALSE(freeForOthers(*conditionLock));
    lock->unlock();
    conditionLock->unlock();
}

TEST(OwnedLock, MisplacedUnlocksAreLoggedAndChangeNothing)
{
    auto recursiveLock = yk::make<yk::RecursiveLock>(yk::String::withUTF8("loader"));
    auto conditionLock = yk::make<yk::ConditionLock>(3);
    LogCapture capture;
    recursiveLock->unlock();
    conditionLock->unlockWithCondition(5);
    recursiveLock->lock();
    recursiveLock->lock();
    conditionLock->lock();
    std::thread([&] {
        recursiveLock->unlock();
        conditionLock->unlockWithCondition(6);
    }).join();
    EXPECT_EQ(conditionLock->condition(), 3);
    conditionLock->unlock();
    recursiveLock->unlock();
    EXPECT_FALSE(freeForOthers(*recursiveLock));
    recursiveLock->unlock();
    EXPECT_TRUE(freeForOthers(*recursiveLock));

    struct Row {
        const char* start;
        const char* end;
    };
    const Row rows[] = {
        { "*** -[RecursiveLock unlock]: lock (<RecursiveLock: 0x", "> 'loader') unlocked when not locked" },
        { "*** -[ConditionLock unlockWithCondition:]: lock (<ConditionLock: 0x", ">) unlocked when not locked" },
        { "*** -[RecursiveLock unlock]: lock (<RecursiveLock: 0x", "> 'loader') unlocked from a thread which did not lock it" },
        { "*** -[ConditionLock unlockWithCondition:]: lock (<ConditionLock: 0x", ">) unlocked from a thread which did not lock it" },
    };
    std::istringstream lines(capture.text());
    std::string line;
    for (const Row& row : rows) {
        ASSERT_TRUE(std::getline(lines, line)) << "missing: " << row.start << "..." << row.end;
        EXPECT_TRUE(line.starts_with(row.start) && line.ends_with(row.end)) << line;
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST(RecursiveLock, IsFreeOnlyAfterEveryLockIsMatched)
{
    auto lock = yk::make<yk::RecursiveLock>();
    lock->lock();
    ASSERT_TRUE(lock->tryLock());
    ASSERT_TRUE(lock->lockBeforeDate(Clock::now()));
    lock->unlock();
    lock->unlock();
    EXPECT_FALSE(freeForOthers(*lock));
    lock->unlock();
    EXPECT_TRUE(freeForOthers(*lock));
}

TEST(ConditionLock, TryLockWhenConditionNeedsTheConditionAndKeepsIt)
{
    auto lock = yk::make<yk::ConditionLock>(-7);
    EXPECT_FALSE(lock->tryLockWhenCondition(7));
    ASSERT_TRUE(lock->tryLockWhenCondition(-7));
    lock->unlock();
    EXPECT_EQ(lock->condition(), -7);
}

TEST(ConditionLock, HandsOffBetweenProducerAndConsumerInStrictAlternation)
{
    // Condition 0: the slot is empty; 1: it holds a value for the consumer.
    auto lock = yk::make<yk::ConditionLock>(0);
    int slot = 0;
    std::vector<int> received;
    constexpr int rounds = 500;
    std::thread consumer([&] {
        for (int i = 0; i < rounds; ++i) {
            yk::ConditionLocker guard(*lock, 1);
            received.push_back(slot);
            guard.setCondition(0);
        }
    });
    for (int i = 1; i <= rounds; ++i) {
        lock->lockWhenCondition(0);
        slot = i;
        lock->unlockWithCondition(1);
    }
    consumer.join();
    ASSERT_EQ(received.size(), size_t(rounds));
    for (int i = 0; i < rounds; ++i)
        ASSERT_EQ(received[size_t(i)], i + 1);
}

TEST(ConditionLock, WakesEachWaiterForItsOwnCondition)
{
    // Three threads wait for conditions 1, 2 and 3; each passes the lock on to the next.
    auto lock = yk::make<yk::ConditionLock>(0);
    std::vector<int> order;
    std::vector<std::thread> waiters;
    for (int c = 3; c >= 1; --c) {
        waiters.emplace_back([&, c] {
            yk::ConditionLocker guard(*lock, c);
            order.push_back(c);
            guard.setCondition(c == 3 ? 0 : c + 1);
        });
    }
    std::this_thread::sleep_for(10ms);
    lock->lock();
    lock->unlockWithCondition(1);
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(order, (std::vector<int> { 1, 2, 3 }));
    EXPECT_EQ(lock->condition(), 0);
}

TEST(ConditionLock, TimedWaitForAConditionGivesUpOrSucceeds)
{
    auto lock = yk::make<yk::ConditionLock>(0);
    EXPECT_FALSE(lock->lockWhenCondition(1, Clock::now() + 30ms));
    std::thread setter([&] {
        std::this_thread::sleep_for(20ms);
        lock->lock();
        lock->unlockWithCondition(1);
    });
    EXPECT_TRUE(lock->lockWhenCondition(1, Clock::now() + 10s));
    EXPECT_THROW(lock->lockWhenCondition(1), std::exception);
    lock->unlockWithCondition(5);
    setter.join();
    EXPECT_EQ(lock->condition(), 5);
}

TEST(ConditionLocker, ReleasesWithItsConditionWhenAnExceptionPasses)
{
    auto lock = yk::make<yk::ConditionLock>(4);
    try {
        yk::ConditionLocker guard(*lock, 4);
        guard.setCondition(1);
        throw std::runtime_error("raised while held");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(lock->condition(), 1);
    {
        yk::ConditionLocker guard(*lock);
    }
    EXPECT_EQ(lock->condition(), 1);
    EXPECT_TRUE(freeForOthers(*lock));
}

} // namespace
