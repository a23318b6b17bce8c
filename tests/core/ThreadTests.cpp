#include <Yarkit/core/threads/Thread.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/threads/ConditionLock.h>

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
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
    std::atomic<bool> destroyed { false };
};

// A target for a detached thread.
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
    void throwInt(yk::Object*) { throw 42; }

    Report* report;
};

YK_DEFINE_CLASS(Errand, [](yk::MethodListBuilder& c) {
    c.method("runWith:", &Errand::runWith);
    c.method("run", &Errand::run);
    c.method("fail:", &Errand::fail);
    c.method("throwInt:", &Errand::throwInt);
});

bool waitFor(const std::atomic<bool>& flag)
{
    for (auto limit = std::chrono::steady_clock::now() + 10s; !flag.load(); std::this_thread::sleep_for(1ms)) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
    }
    return true;
}

TEST(Thread, DetachedThreadRunsTheSelectorAndKeepsTargetAndArgumentUntilItEnds)
{
    const struct {
        const char *selector, *argument, *seen;
    } rows[] = { { "runWith:", "日本語", "日本語" }, { "runWith:", nullptr, "(null)" }, { "run", "ignored", "(null)" } };
    for (const auto& row : rows) {
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

TEST(Thread, AnExceptionEscapingTheMethodIsLoggedAndEndsOnlyItsThreadAndAMissingMethodIsRefused)
{
    const struct {
        const char* selector;
        const char* logged;
    } rows[] = {
        { "fail:", "-[Errand fail:] on a detached thread raised an exception.  Ignored.  Exception: errand failed" },
        { "throwInt:", "-[Errand throwInt:] on a detached thread threw an object that is not an exception.  Ignored." },
    };
    for (const auto& row : rows) {
        Report report;
        LogCapture capture;
        yk::Thread::detachNewThreadSelector(row.selector, yk::make<Errand>(&report).get(), nullptr);
        ASSERT_TRUE(waitFor(report.destroyed));
        EXPECT_NE(capture.text().find(row.logged), std::string::npos) << capture.text();
    }
    Report report;
    EXPECT_THROW(yk::Thread::detachNewThreadSelector("noSuchMethod:", yk::make<Errand>(&report).get(), nullptr), std::exception);
    EXPECT_THROW(yk::Thread::detachNewThreadSelector("run", nullptr, nullptr), std::exception);
}

} // namespace
