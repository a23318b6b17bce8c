#include <Yarkit/core/threads/Thread.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/values/Exception.h>

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

using namespace std::chrono_literals;

namespace {

// What a detached thread saw, written before it releases done (condition 1) and read after
// the test took it. destroyed says when the thread let go of its target.
struct Report {
    yk::Ref<yk::ConditionLock> done = yk::make<yk::ConditionLock>(0);
    std::string seenArgument;
    bool ranOnMainThread { true };
    bool multiThreaded { false };
    int announcements { 0 };
    std::atomic<bool> destroyed { false };
};

// A target for a detached thread, and an observer of the first thread's announcement.
class Errand : public yk::Object {
    YK_OBJECT(Errand, yk::Object)
public:
    explicit Errand(Report* report)
        : report(report)
    {
    }
    ~Errand() override { report->destroyed.store(true); }

    void runWith(yk::String* text)
    {
        report->seenArgument = text ? text->utf8() : "(null)";
        report->ranOnMainThread = yk::Thread::isMainThread() || yk::Thread::currentThread() == yk::Thread::mainThread();
        report->multiThreaded = yk::Thread::isMultiThreaded();
        report->done->lock();
        report->done->unlockWithCondition(1);
    }
    void run() { runWith(nullptr); }
    void fail(yk::Object*) { throw std::runtime_error("errand failed"); }
    void raise(yk::Object*) { yk::raise(yk::NSInternalInconsistencyException, "no mailbox named %s", "INBOX"); }
    void throwInt(yk::Object*) { throw 42; }
    // An announcement that carries an object counts 100, so the count shows it.
    void willBecomeMultiThreaded(yk::Notification* notification) { report->announcements += notification->object() ? 100 : 1; }

    Report* report;
};

YK_DEFINE_CLASS(Errand, [](yk::MethodListBuilder& c) {
    c.method("runWith:", &Errand::runWith);
    c.method("run", &Errand::run);
    c.method("fail:", &Errand::fail);
    c.method("raise:", &Errand::raise);
    c.method("throwInt:", &Errand::throwInt);
    c.method("willBecomeMultiThreaded:", &Errand::willBecomeMultiThreaded);
});

bool waitFor(const std::atomic<bool>& flag)
{
    for (auto limit = std::chrono::steady_clock::now() + 10s; !flag.load(); std::this_thread::sleep_for(1ms)) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
    }
    return true;
}

TEST(Thread, TheTestsRunOnTheThreadThatLoadedTheLibrary)
{
    EXPECT_TRUE(yk::Thread::isMainThread());
    ASSERT_NE(yk::Thread::mainThread(), nullptr);
    EXPECT_EQ(yk::Thread::mainThread(), yk::Thread::currentThread());
    // A thread the library did not start gets a Thread of its own, the same one each time.
    yk::Thread* other = nullptr;
    bool otherIsMain = true;
    std::thread([&] {
        other = yk::Thread::currentThread();
        otherIsMain = yk::Thread::isMainThread() || other != yk::Thread::currentThread();
    }).join();
    EXPECT_NE(other, yk::Thread::mainThread());
    EXPECT_FALSE(otherIsMain);
}

TEST(Thread, DetachedThreadRunsTheSelectorAndKeepsTargetAndArgumentUntilItEnds)
{
    struct Row {
        const char* selector;
        const char* argument;
        const char* seen;
    } rows[] = { { "runWith:", "日本語", "日本語" }, { "runWith:", nullptr, "(null)" }, { "run", "ignored", "(null)" } };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.selector);
        Report report;
        // Hold the thread at its first lock until the test has dropped its own references.
        report.done->lock();
        {
            auto argument = row.argument ? yk::String::withUTF8(row.argument) : nullptr;
            yk::Thread::detachNewThreadSelector(row.selector, yk::make<Errand>(&report).get(), argument.get());
        }
        EXPECT_FALSE(report.destroyed.load());
        report.done->unlock();
        report.done->lockWhenCondition(1);
        EXPECT_EQ(report.seenArgument, row.seen);
        EXPECT_FALSE(report.ranOnMainThread);
        EXPECT_TRUE(report.multiThreaded);
        report.done->unlock();
        EXPECT_TRUE(waitFor(report.destroyed));
    }
}

TEST(Thread, AnExceptionEscapingTheMethodIsLoggedAndEndsOnlyItsThread)
{
    struct Row {
        const char* selector;
        const char* logged;
    } rows[] = {
        { "fail:", "-[Errand fail:] on a detached thread raised an exception.  Ignored.  Exception: errand failed" },
        { "raise:", "-[Errand raise:] on a detached thread raised an exception.  Ignored.  Exception: no mailbox named INBOX" },
        { "throwInt:", "-[Errand throwInt:] on a detached thread threw an object that is not an exception.  Ignored." },
    };
    for (const Row& row : rows) {
        Report report;
        LogCapture capture;
        yk::Thread::detachNewThreadSelector(row.selector, yk::make<Errand>(&report).get(), nullptr);
        ASSERT_TRUE(waitFor(report.destroyed));
        EXPECT_NE(capture.text().find(row.logged), std::string::npos) << capture.text();
    }
}

TEST(Thread, RefusesATargetThatDoesNotRespond)
{
    Report report;
    EXPECT_THROW(yk::Thread::detachNewThreadSelector("noSuchMethod:", yk::make<Errand>(&report).get(), nullptr), std::exception);
    EXPECT_THROW(yk::Thread::detachNewThreadSelector("run", nullptr, nullptr), std::exception);
}

TEST(Thread, AnnouncesTheFirstDetachedThreadOnceWithoutAnObject)
{
    // Other tests may have detached threads already; then nothing more is announced.
    const bool wasMultiThreaded = yk::Thread::isMultiThreaded();
    Report announcements;
    auto listener = yk::make<Errand>(&announcements);
    auto* center = yk::NotificationCenter::defaultCenter();
    center->addObserver(listener.get(), "willBecomeMultiThreaded:", yk::NSWillBecomeMultiThreadedNotification, nullptr);
    for (int i = 0; i < 2; ++i) {
        Report report;
        yk::Thread::detachNewThreadSelector("run", yk::make<Errand>(&report).get(), nullptr);
        ASSERT_TRUE(waitFor(report.destroyed));
    }
    center->removeObserver(listener.get());
    EXPECT_EQ(announcements.announcements, wasMultiThreaded ? 0 : 1);
    EXPECT_TRUE(yk::Thread::isMultiThreaded());
}

TEST(Thread, SleepsForTheIntervalOrNotAtAll)
{
    for (double seconds : { 0.03, 0.0, -1.0, std::numeric_limits<double>::quiet_NaN() }) {
        auto start = std::chrono::steady_clock::now();
        yk::Thread::sleepForTimeInterval(seconds);
        auto slept = std::chrono::steady_clock::now() - start;
        EXPECT_TRUE(seconds > 0 ? slept >= 30ms : slept < 1s) << seconds;
    }
}

} // namespace
