#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/system/NotificationQueue.h>
#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/PortMessage.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopObserver.h>
#include <Yarkit/core/threads/RunLoopSource.h>
#include <Yarkit/core/threads/Timer.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "CommandOutput.h"
#include "CoreTestSupport.h"
#include "RunLoopTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using yk::RunLoop;

const char kOtherMode[] = "OtherMode";
const char kModalMode[] = "ModalMode";

// Records the messages it gets, by selector, in one log; an optional action runs inside.
class LoopRecorder : public yk::Object {
    YK_OBJECT(LoopRecorder, yk::Object)
public:
    void note(yk::Object* argument) { record("note:" + (argument ? yk::test::describe(argument) : std::string("nil"))); }
    void tick(yk::Timer*) { record("tick"); }
    void handleMachMessage(yk::PortMessage* message) { record(message->receivePort() ? "mach" : "mach?"); }
    void handlePortMessage(yk::PortMessage*) { record("port"); }
    void notified(yk::Notification* notification) { record(notification->name()->utf8() + "@" + yk::test::describe(notification->object())); }

    void record(std::string entry)
    {
        log.push_back(std::move(entry));
        if (action)
            action();
    }

    std::vector<std::string> log;
    std::function<void()> action;
};

YK_DEFINE_CLASS(LoopRecorder, [](yk::MethodListBuilder& c) {
    c.method("note:", &LoopRecorder::note);
    c.method("tick:", &LoopRecorder::tick);
    c.method("handlePortMessage:", &LoopRecorder::handlePortMessage);
    c.method("notified:", &LoopRecorder::notified);
});

// Answers handleMachMessage: too.
class LoopMachListener : public LoopRecorder {
    YK_OBJECT(LoopMachListener, LoopRecorder)
};
YK_DEFINE_CLASS(LoopMachListener, [](yk::MethodListBuilder& c) { c.method("handleMachMessage:", &LoopMachListener::handleMachMessage); });

std::vector<std::string> modes(std::initializer_list<const char*> names) { return { names.begin(), names.end() }; }

using yk::test::str;

TEST(RunLoop, PerformsRunOnALaterPassThanTheyWereAskedInByOrderAndOnlyInTheirModes)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto recorder = yk::make<LoopRecorder>();
    loop->performSelector("note:", recorder.get(), str("late").get(), 5, modes({ yk::kCFRunLoopDefaultMode }));
    loop->performSelector("note:", recorder.get(), str("early").get(), 1, modes({ yk::kCFRunLoopCommonModes }));
    loop->performSelector("note:", recorder.get(), str("other").get(), 0, modes({ kOtherMode }));
    loop->performSelector("note:", recorder.get(), str("cancelled").get(), 0, modes({ yk::kCFRunLoopDefaultMode }));
    loop->cancelPerformSelector("note:", recorder.get(), str("cancelled").get());
    EXPECT_TRUE(recorder->log.empty()) << "a perform runs on a pass, not when it is asked";
    recorder->action = [&] {
        if (recorder->log.size() == 1)
            loop->performSelector("note:", recorder.get(), str("next").get(), 0, modes({ yk::kCFRunLoopDefaultMode }));
    };
    ASSERT_TRUE(loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 1s));
    EXPECT_EQ(recorder->log, (std::vector<std::string> { "note:early", "note:late" })) << "a pass runs only the performs there when it began";
    ASSERT_TRUE(loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 1s));
    EXPECT_EQ(recorder->log.back(), "note:next");

    // A mode made common later takes the common items and performs.
    loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ yk::kCFRunLoopCommonModes }));
    ASSERT_TRUE(loop->runMode(kOtherMode, RunLoop::Clock::now() + 1s));
    EXPECT_EQ(recorder->log.back(), "note:other");
    EXPECT_FALSE(loop->runMode(kOtherMode, RunLoop::Clock::now())) << "the common perform is not in a mode that is not common";
    loop->addCommonMode(kOtherMode);
    ASSERT_TRUE(loop->runMode(kOtherMode, RunLoop::Clock::now() + 1s));
    EXPECT_EQ(recorder->log.back(), "note:nil");
    EXPECT_EQ(recorder->retainCount(), 1u) << "performs release their target once run or cancelled";
}

TEST(RunLoop, ANestedRunAndARaisingCalloutRestoreTheMode)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    EXPECT_FALSE(loop->currentMode());
    EXPECT_FALSE(loop->runMode(kModalMode, RunLoop::Clock::now() + 1s)) << "nothing to wait for";

    auto recorder = yk::make<LoopRecorder>();
    std::vector<std::string> seen;
    recorder->action = [&] {
        seen.push_back(loop->currentMode()->utf8());
        if (recorder->log.size() == 1) {
            loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ kModalMode }));
            loop->runMode(kModalMode, RunLoop::Clock::now() + 1s);
            seen.push_back(loop->currentMode()->utf8());
            yk::raise(yk::NSGenericException, "from a callout");
        }
    };
    loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
    yk::test::expectRaise([&] { loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 1s); }, yk::NSGenericException, "from a callout");
    EXPECT_EQ(seen, (std::vector<std::string> { yk::kCFRunLoopDefaultMode, kModalMode, yk::kCFRunLoopDefaultMode }));
    EXPECT_FALSE(loop->currentMode());

    recorder->action = nullptr;
    loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
    EXPECT_TRUE(loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 1s)) << "the loop stays usable";
    EXPECT_EQ(recorder->log.size(), 3u);
    EXPECT_EQ(recorder->retainCount(), 1u);
}

TEST(RunLoop, PortsWakeTheLoopFromOtherThreadsAndAskTheDelegateByWhatItAnswers)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    for (bool mach : { true, false }) {
        yk::Ref<LoopRecorder> delegate = mach ? yk::Ref<LoopRecorder>(yk::make<LoopMachListener>()) : yk::make<LoopRecorder>();
        auto port = yk::Port::port();
        port->setDelegate(delegate.get());
        loop->addPort(port.get(), yk::kCFRunLoopCommonModes);
        std::thread([&] {
            for (int i = 0; i < 50; ++i)
                EXPECT_TRUE(port->sendBeforeDate(nullptr));
        }).join();
        ASSERT_TRUE(loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 5s));
        EXPECT_EQ(delegate->log, std::vector<std::string> { mach ? "mach" : "port" }) << "sends made before the loop drains merge";
        port->invalidate();
        EXPECT_FALSE(port->send());
        loop->removePort(port.get(), yk::kCFRunLoopCommonModes);
    }
}

// A perform asked for from another thread while the loop is in a pass must wake a later pass,
// even when the pass's poll drained its wake-up. Each round posts at a random moment of the
// loop's first pass; one lost wake-up sleeps until the limit.
TEST(RunLoop, APerformAskedForDuringAPassIsNotLeftAsleep)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto keepAlive = yk::Port::port();
    loop->addPort(keepAlive.get(), yk::kCFRunLoopDefaultMode);
    auto recorder = yk::make<LoopRecorder>();
    std::atomic<int> round { 0 };
    std::atomic<bool> stop { false };
    std::thread poster([&] {
        std::minstd_rand random(7);
        for (int seen = 0; !stop.load();) {
            if (round.load() == seen) {
                std::this_thread::yield();
                continue;
            }
            seen = round.load();
            for (const auto at = std::chrono::steady_clock::now() + std::chrono::nanoseconds(random() % 3000); std::chrono::steady_clock::now() < at;) { }
            loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
        }
    });
    int sleptThrough = 0; // the first round whose perform waited for the limit
    for (int i = 1; i <= 10000 && !sleptThrough; ++i) {
        const size_t before = recorder->log.size();
        const auto start = RunLoop::Clock::now();
        round.store(i);
        while (recorder->log.size() == before && RunLoop::Clock::now() - start < 5s)
            loop->runMode(yk::kCFRunLoopDefaultMode, start + 2s);
        if (RunLoop::Clock::now() - start >= 1s)
            sleptThrough = i;
    }
    stop.store(true);
    poster.join();
    EXPECT_EQ(sleptThrough, 0);
    loop->removePort(keepAlive.get(), yk::kCFRunLoopDefaultMode);
}

// A pass right after a wait may leave the descriptors to the next pass when it has performs to
// run; a perform that asks for itself again on every pass must still not starve a port.
TEST(RunLoop, APortIsHandledWhilePerformsKeepComing)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto recorder = yk::make<LoopRecorder>();
    auto port = yk::Port::port();
    port->setDelegate(recorder.get());
    loop->addPort(port.get(), yk::kCFRunLoopDefaultMode);
    recorder->action = [&] {
        loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
        if (recorder->log.back() == "tick") {
            EXPECT_TRUE(port->send()); // after the wait the timer ended: the next pass has performs to run
        }
    };
    auto timer = yk::Timer::timerWithTimeInterval(0.01, recorder.get(), "tick:", nullptr, false);
    loop->addTimer(timer.get(), yk::kCFRunLoopDefaultMode);
    for (int run = 0; run < 3 && std::count(recorder->log.begin(), recorder->log.end(), "port") == 0; ++run)
        loop->runMode(yk::kCFRunLoopDefaultMode, RunLoop::Clock::now() + 1s);
    EXPECT_EQ(recorder->log, (std::vector<std::string> { "tick", "note:nil", "note:nil", "port" }));

    recorder->action = nullptr;
    loop->cancelPerformSelectorsWithTarget(recorder.get());
    loop->removePort(port.get(), yk::kCFRunLoopDefaultMode);
    port->invalidate();
}

TEST(RunLoop, TimersFireOnTheMonotonicClockAndALateRepeatingOneFiresOnce)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto recorder = yk::make<LoopRecorder>();
    auto once = yk::Timer::timerWithTimeInterval(0.01, recorder.get(), "tick:", str("info").get(), false);
    auto repeating = yk::Timer::timerWithTimeInterval(0.02, recorder.get(), "tick:", nullptr, true);
    EXPECT_FALSE(loop->limitDateForMode(kOtherMode)) << "no timer";
    loop->addTimer(once.get(), yk::kCFRunLoopDefaultMode);
    loop->addTimer(repeating.get(), yk::kCFRunLoopCommonModes);
    auto next = loop->limitDateForMode(yk::kCFRunLoopDefaultMode);
    ASSERT_TRUE(next);
    EXPECT_NEAR(next->timeIntervalSinceNow(), 0.01, 0.01);

    std::this_thread::sleep_for(100ms); // five intervals of the repeating timer
    loop->limitDateForMode(yk::kCFRunLoopDefaultMode);
    EXPECT_EQ(recorder->log, (std::vector<std::string> { "tick", "tick" })) << "each due timer once";
    EXPECT_FALSE(once->isValid());
    EXPECT_FALSE(once->userInfo()) << "an invalidated timer lets its user info go";
    EXPECT_GT(repeating->fireDate()->timeIntervalSinceNow(), 0);

    ASSERT_TRUE(yk::test::runLoopUntil([&] { return recorder->log.size() == 4; }));
    repeating->invalidate();
    EXPECT_EQ(recorder->retainCount(), 1u);
    EXPECT_FALSE(loop->limitDateForMode(yk::kCFRunLoopDefaultMode));
}

TEST(RunLoop, ObserversAreToldInOrderAndSignalledSourcesRun)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    std::vector<std::string> log;
    auto late = yk::make<yk::RunLoopObserver>(yk::kCFRunLoopEntry | yk::kCFRunLoopExit, true, 10, [&](auto*, auto activity) { log.push_back("late" + std::to_string(activity)); });
    auto early = yk::make<yk::RunLoopObserver>(yk::kCFRunLoopEntry, false, -1, [&](auto*, auto) { log.push_back("early"); });
    auto source = yk::make<yk::RunLoopSource>(0, [&] { log.push_back("source"); });
    loop->addObserver(late.get(), kOtherMode);
    loop->addObserver(early.get(), kOtherMode);
    loop->addSource(source.get(), kOtherMode);
    std::thread([&] {
        source->signal();
        loop->wakeUp();
    }).join();
    ASSERT_TRUE(loop->runMode(kOtherMode, RunLoop::Clock::now() + 5s));
    EXPECT_EQ(log, (std::vector<std::string> { "early", "late1", "source", "late128" }));
    EXPECT_FALSE(early->isValid()) << "a one-shot observer";
    loop->removeSource(source.get(), kOtherMode);
    loop->removeObserver(late.get(), kOtherMode);
}

// Runs again in a child process, where no loop exists yet, so another thread makes the main loop;
// the main thread runs it, and a perform an observer adds as the loop is about to wait runs
// without the loop sleeping until the limit.
TEST(RunLoopChild, TheMainLoopMadeOnAnotherThreadRunsOnTheMainThreadWithoutLostWakeUps)
{
    if (!std::getenv("YK_RUN_LOOP_CHILD")) {
        const auto child = yk::test::runCommand("YK_RUN_LOOP_CHILD=1 '" + std::filesystem::read_symlink("/proc/self/exe").string()
            + "' --gtest_filter=RunLoopChild.TheMainLoopMadeOnAnotherThreadRunsOnTheMainThreadWithoutLostWakeUps");
        EXPECT_EQ(child.status, 0) << "the child's test failed:\n" << child.output;
        return;
    }
    RunLoop* made = nullptr;
    std::thread([&] { made = RunLoop::mainRunLoop(); }).join();
    RunLoop* loop = RunLoop::currentRunLoop();
    EXPECT_EQ(loop, made);
    auto recorder = yk::make<LoopRecorder>();
    auto keepAlive = yk::Port::port();
    auto observer = yk::make<yk::RunLoopObserver>(yk::kCFRunLoopBeforeWaiting, false, 0,
        [&](auto*, auto) { loop->performSelector("note:", recorder.get(), nullptr, 0, modes({ kModalMode })); });
    loop->addPort(keepAlive.get(), kModalMode);
    loop->addObserver(observer.get(), kModalMode);
    const auto start = RunLoop::Clock::now();
    loop->runMode(kModalMode, start + 5s);
    EXPECT_EQ(recorder->log.size(), 1u);
    EXPECT_LT(RunLoop::Clock::now() - start, 2s) << "the loop slept on a perform it had";
}

class NotificationQueueTest : public testing::Test {
protected:
    void SetUp() override { center->addObserver(listener.get(), "notified:", nullptr, nullptr); }
    yk::Ref<yk::Notification> note(const char* name, yk::Object* object) { return yk::Notification::notificationWithName(str(name), object); }

    yk::Ref<yk::NotificationCenter> center = yk::make<yk::NotificationCenter>();
    yk::Ref<yk::NotificationQueue> queue = yk::make<yk::NotificationQueue>(center.get());
    yk::Ref<LoopRecorder> listener = yk::make<LoopRecorder>();
    yk::Ref<yk::String> a = str("a");
    yk::Ref<yk::String> b = str("b");
};

TEST_F(NotificationQueueTest, CoalescingKeepsTheNewestOfAGroup)
{
    struct Row {
        uint32_t mask;
        std::vector<std::string> posted;
    };
    // Queued in this order: N@a, M@a, N@b; then N@a again with the mask.
    const Row rows[] = {
        { yk::NSNotificationNoCoalescing, { "N@a", "M@a", "N@b", "N@a" } },
        { yk::NSNotificationCoalescingOnName, { "M@a", "N@a" } },
        { yk::NSNotificationCoalescingOnSender, { "N@b", "N@a" } },
        { yk::NSNotificationCoalescingOnName | yk::NSNotificationCoalescingOnSender, { "M@a", "N@b", "N@a" } },
    };
    for (const auto& row : rows) {
        listener->log.clear();
        for (auto [name, object] : { std::pair { "N", a.get() }, { "M", a.get() }, { "N", b.get() } })
            queue->enqueueNotification(note(name, object).get(), yk::NSPostWhenIdle, yk::NSNotificationNoCoalescing, nullptr);
        queue->enqueueNotification(note("N", a.get()).get(), yk::NSPostWhenIdle, row.mask, nullptr);
        ASSERT_TRUE(yk::test::runLoopUntil([&] { return queue->count() == 0; })) << "mask " << row.mask;
        EXPECT_EQ(listener->log, row.posted) << "mask " << row.mask;
    }
}

TEST_F(NotificationQueueTest, ASAPFollowsTheCalloutIdleWaitsAndModesAreKept)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto caller = yk::make<LoopRecorder>();
    caller->action = [&] {
        queue->enqueueNotification(note("Idle", nullptr).get(), yk::NSPostWhenIdle, yk::NSNotificationNoCoalescing, nullptr);
        queue->enqueueNotification(note("Soon", nullptr).get(), yk::NSPostASAP, yk::NSNotificationNoCoalescing, nullptr);
        queue->enqueueNotification(note("Other", nullptr).get(), yk::NSPostASAP, yk::NSNotificationNoCoalescing, yk::Array::arrayWithObjects({ str(kOtherMode) }).get());
        listener->record("callout ends");
    };
    loop->performSelector("note:", caller.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
    loop->performSelector("note:", listener.get(), nullptr, 0, modes({ yk::kCFRunLoopDefaultMode }));
    ASSERT_TRUE(yk::test::runLoopUntil([&] { return listener->log.size() >= 4; }));
    EXPECT_EQ(listener->log, (std::vector<std::string> { "callout ends", "Soon@(null)", "note:nil", "Idle@(null)" }));
    EXPECT_EQ(queue->count(), 1u) << "the other mode's notification waits for its mode";
    ASSERT_TRUE(yk::test::runLoopUntil([&] { return queue->count() == 0; }, kOtherMode));
    EXPECT_EQ(listener->log.back(), "Other@(null)");

    queue->enqueueNotification(note("Gone", a.get()).get(), yk::NSPostASAP);
    queue->dequeueNotificationsMatching(note("Gone", b.get()).get(), yk::NSNotificationCoalescingOnName);
    EXPECT_EQ(queue->count(), 0u);
    queue->enqueueNotification(note("Now", a.get()).get(), yk::NSPostNow);
    EXPECT_EQ(listener->log.back(), "Now@a");
}

} // namespace
