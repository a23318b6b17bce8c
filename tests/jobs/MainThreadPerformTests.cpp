#include <Yarkit/MainThreadPerform.h>
#include <Yarkit/NotificationQueueAdditions.h>
#include <Yarkit/ThreadAdditions.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/Timer.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "JobsTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/RunLoopTestSupport.h"
#include "jobs/ThreadPrioritySeam.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>

namespace {

using namespace yk;
using namespace std::chrono_literals;
using yk::test::EventLog;
using yk::test::JobTarget;
using yk::test::runLoopUntil;

TEST(MainThreadPerform, AWaitingCallReturnsOnlyAfterTheMethodRanAlsoWhenItRaised)
{
    EventLog log;
    auto target = make<JobTarget>(&log);
    for (bool raises : { false, true }) {
        log.clear();
        target->body = [&] {
            std::this_thread::sleep_for(10ms);
            if (raises)
                raise(NSGenericException, "perform failed");
        };
        std::atomic<bool> returned { false };
        std::thread caller([&] {
            YK_performSelectorOnMainThread(target.get(), "work", nullptr, true);
            EXPECT_EQ(log.events().size(), 1u) << "the method ran before the call returned";
            returned = true;
        });
        try {
            runLoopUntil([&] { return returned.load(); });
        } catch (const Exception&) {
            EXPECT_TRUE(raises); // the loop's callout raised; the holder is gone, so the caller is free
            runLoopUntil([&] { return returned.load(); });
        }
        caller.join();
        EXPECT_TRUE(returned);
    }
}

TEST(MainThreadPerform, OnTheMainThreadItRunsLaterOrAtOnceAndOnceInTwoModes)
{
    EventLog log;
    auto target = make<JobTarget>(&log);
    YK_performSelectorOnMainThread(target.get(), "work", nullptr, false, nullptr);
    YK_performSelectorOnMainThread(target.get(), "work", nullptr, false);
    EXPECT_EQ(log.events().size(), 0u) << "not now";
    ASSERT_TRUE(runLoopUntil([&] { return log.events().size() == 1; }));

    LogCapture capture;
    target->body = [] { raise(NSGenericException, "at once"); };
    YK_performSelectorOnMainThread(target.get(), "work", nullptr, true);
    EXPECT_EQ(log.events().size(), 2u);
    char address[32];
    std::snprintf(address, sizeof address, "0x%lx", static_cast<unsigned long>(reinterpret_cast<uintptr_t>(target.get())));
    EXPECT_EQ(capture.text(), "*** NSThread ignoring exception 'NSGenericException' that raised during thread perform of target " + std::string(address)
            + " and selector 'work'\n");

    target->body = nullptr;
    auto modes = Array::arrayWithObjects({ test::str(kCFRunLoopDefaultMode), test::str(kCFRunLoopCommonModes) });
    std::thread([&] { YK_performSelectorOnMainThread(target.get(), "work", nullptr, false, modes.get()); }).join();
    ASSERT_TRUE(runLoopUntil([&] { return log.events().size() == 3; }));
    RunLoop::currentRunLoop()->limitDateForMode(kCFRunLoopDefaultMode);
    EXPECT_EQ(log.events().size(), 3u) << "a holder in two modes runs once";
}

TEST(MainThreadNotificationQueue, OffMainCallsQueueNothingBeforeTheMainThreadRunsThem)
{
    EventLog log;
    auto listener = make<yk::test::JobWatcher>("listener", &log);
    auto* center = NotificationCenter::defaultCenter();
    center->addObserver(listener.get(), "jobDidEnd:", "Progress", nullptr);
    YJobCenter::mainThreadCenter();
    auto progress = Notification::notificationWithName(test::str("Progress"), nullptr);
    std::thread([&] {
        enqueueNotificationInMainThread(progress.get(), NSPostASAP);
        dequeueNotificationsInMainThreadMatching(progress.get(), NSNotificationCoalescingOnName);
    }).join();
    EXPECT_EQ(NotificationQueue::defaultQueue()->count(), 0u) << "nothing before the main thread runs the calls";
    ASSERT_TRUE(runLoopUntil([&] { return !YJobCenter::mainThreadCenter()->hasWaitingJobs(); }));
    RunLoop::currentRunLoop()->limitDateForMode(kCFRunLoopDefaultMode);
    EXPECT_EQ(log.events().size(), 0u) << "an enqueue then a dequeue post nothing";

    std::thread([&] { enqueueNotificationInMainThread(progress.get(), NSPostWhenIdle, NSNotificationCoalescingOnName, nullptr); }).join();
    ASSERT_TRUE(runLoopUntil([&] { return log.events().size() == 1; }));
    enqueueNotificationName(NotificationQueue::defaultQueue(), test::str("Progress").get(), nullptr, NSPostASAP);
    dequeueNotificationsMatchingName(NotificationQueue::defaultQueue(), test::str("Progress").get(), nullptr, NSNotificationCoalescingOnName);
    EXPECT_EQ(NotificationQueue::defaultQueue()->count(), 0u);
    center->removeObserver(listener.get());
}

TEST(ThreadAdditions, PrioritiesSpanThePolicyRangeAndAFailingReadAnswersOneHalf)
{
    EXPECT_TRUE(YK_isMainThread());
    EXPECT_TRUE(YK_isMainThread(YK_mainThread()));
    EXPECT_EQ(YK_threadPriority(), 0.5) << "SCHED_OTHER has one level";

    std::thread([] {
        sched_param parameters {};
        parameters.sched_priority = sched_get_priority_min(SCHED_FIFO);
        if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) != 0) {
            GTEST_LOG_(INFO) << "SCHED_FIFO refused: priorities not checked";
            return;
        }
        const int min = sched_get_priority_min(SCHED_FIFO);
        const int max = sched_get_priority_max(SCHED_FIFO);
        const struct {
            double asked;
            int applied;
        } rows[] = { { 1.5, max }, { std::numeric_limits<double>::quiet_NaN(), max }, { -1, min }, { 0.5, min + (max - min) / 2 } };
        for (const auto& row : rows) {
            EXPECT_TRUE(YK_setThreadPriority(row.asked));
            int policy;
            pthread_getschedparam(pthread_self(), &policy, &parameters);
            EXPECT_EQ(parameters.sched_priority, row.applied) << row.asked;
        }
    }).join();

    LogCapture capture;
    auto previous = detail::setSchedParamReader([](pthread_t, int*, sched_param*) { return EPERM; });
    EXPECT_EQ(YK_threadPriority(), 0.5);
    EXPECT_FALSE(YK_setThreadPriority(0.5));
    detail::setSchedParamReader(previous);
    EXPECT_EQ(capture.text(), "+[NSThread(Yarkit) YK_threadPriority]: pthread_getschedparam() returned error 1\n"
                              "+[NSThread(Yarkit) YK_setThreadPriority:]: pthread_getschedparam() returned error 1\n");

    auto timer = YK_timerWithFireDate(Date::dateWithTimeIntervalSinceNow(1).get(), nullptr, "work", nullptr);
    EXPECT_TRUE(timer->isValid());
    EXPECT_EQ(timer->timeInterval(), 0) << "one-shot, not scheduled";
}

} // namespace
