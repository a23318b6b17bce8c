#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "JobsTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/RunLoopTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using namespace yk;
using yk::test::EventLog;
using yk::test::Gatekeeper;
using yk::test::JobTarget;
using yk::test::JobWatcher;
using yk::test::waitUntil;

// A fresh background center with a delegate that logs, a target that blocks until opened, and a
// way to see every notice the main thread has been sent so far.
class YJobCenterTest : public testing::Test {
protected:
    void SetUp() override
    {
        YJobCenter::mainThreadCenter(); // prepared on the main thread
        center->setDelegate(delegate.get());
        blocking->body = [this] { waitUntil([this] { return open.load(); }); };
    }
    void TearDown() override { center->setDelegate(nullptr); }

    // Runs the main loop until everything posted to the main-thread center so far has run.
    void drainMainThread()
    {
        ASSERT_TRUE(yk::test::runLoopUntil([] { return !YJobCenter::mainThreadCenter()->hasWaitingJobs(); }));
    }

    EventLog log;
    std::atomic<bool> open { false };
    Ref<YJobCenter> center = YJobCenter::jobCenter();
    Ref<JobWatcher> delegate = make<JobWatcher>("delegate", &log);
    Ref<JobTarget> target = make<JobTarget>();
    Ref<JobTarget> blocking = make<JobTarget>(); // runs until open
};

TEST_F(YJobCenterTest, JobNoticesGoToTheSenderOnTheJobsThreadAndCenterNoticesToTheDelegateOnTheMainThread)
{
    auto sender = make<JobWatcher>("sender", &log);
    auto failing = make<JobTarget>();
    failing->body = [] { raise(NSGenericException, "job failed"); };
    ASSERT_TRUE(center->postJob(YJob::jobWithTarget(failing.get(), "work").get(), sender.get()));
    ASSERT_TRUE(yk::test::runLoopUntil([&] { return log.events().size() == 5; }));
    drainMainThread();
    // The activation notice travels to the main thread, so it may come before or after will-begin.
    std::vector<std::string> senderSaw, delegateSaw;
    for (const auto& event : log.events())
        (event.rfind("sender", 0) == 0 ? senderSaw : delegateSaw).push_back(event);
    EXPECT_EQ(senderSaw, (std::vector<std::string> { "sender YJobWillBeginNotification other", "sender YJobExceptionDidOccurNotification other NSException",
                             "sender YJobDidEndNotification other" }));
    EXPECT_EQ(delegateSaw, (std::vector<std::string> { "delegate YJobCenterDidActivateNotification main", "delegate YJobCenterDidDeactivateNotification main" }));
}

TEST_F(YJobCenterTest, PostingVetsKeepsTheNewSenderAndComparesOnlyWaitingJobs)
{
    auto sender = make<JobWatcher>("sender", &log);
    delegate->shouldAddJob = [](YJobCenter*, YJob*, Array*, Array*) -> bool { raise(NSGenericException, "no adding"); };
    auto job = YJob::jobWithTarget(target.get(), "object:", String::withUTF8("x").get());
    test::expectRaise([&] { center->postJob(job.get(), sender.get()); }, NSGenericException, "no adding");
    EXPECT_EQ(job->sender(), sender.get()) << "a refused job keeps its new sender";
    EXPECT_FALSE(center->hasWaitingJobs()) << "the locks are free again";

    // Held back by the delegate, jobs stay waiting; an equal waiting job refuses the IfAbsent post.
    delegate->shouldAddJob = nullptr;
    std::atomic<bool> hold { true };
    delegate->shouldExecuteJob = [&](YJobCenter*, YJob*, Array*) { return !hold.load(); };
    ASSERT_TRUE(center->postJob(job.get()));
    EXPECT_TRUE(center->postJob(job.get())) << "the same job twice";
    EXPECT_FALSE(center->postJobIfAbsent(YJob::jobWithTarget(target.get(), "object:", String::withUTF8("x").get()).get()));
    EXPECT_EQ(center->waitingJobs().size(), 2u);
    EXPECT_FALSE(center->removeJob(YJob::jobWithTarget(target.get(), "object:", String::withUTF8("x").get()).get())) << "removal is by identity";
    center->removeWaitingJobsMatchingTarget(nullptr, {}, nullptr);
    EXPECT_EQ(center->waitingJobs().size(), 2u) << "no criterion matches nothing";
    center->removeAllWaitingJobs();

    // A running equal job does not refuse it.
    hold = false;
    ASSERT_TRUE(center->postJob(YJob::jobWithTarget(blocking.get(), "work").get()));
    ASSERT_TRUE(waitUntil([&] { return center->hasRunningJobs(); }));
    hold = true;
    EXPECT_TRUE(center->postJobIfAbsent(YJob::jobWithTarget(blocking.get(), "work").get()));
    center->removeAllWaitingJobs();
    open = true;
    ASSERT_TRUE(waitUntil([&] { return !center->hasRunningJobs(); }));
}

TEST_F(YJobCenterTest, AHeldBackJobLetsAYoungerOneStartAndIsAskedAgainOnlyOnChange)
{
    center->setDelegate(nullptr);
    auto gate = make<Gatekeeper>([](YJob*, Array*) { return false; });
    auto held = YJob::jobWithTarget(target.get(), "work");
    ASSERT_TRUE(center->postJob(held.get(), gate.get()));
    ASSERT_TRUE(waitUntil([&] { return gate->asked == 1; }));

    ASSERT_TRUE(center->postJob(YJob::jobWithTarget(blocking.get(), "work").get()));
    ASSERT_TRUE(waitUntil([&] { return blocking->calls == 1 && gate->asked == 3; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(gate->asked, 3) << "nothing changed: the watch thread sleeps";
    open = true;
    ASSERT_TRUE(waitUntil([&] { return gate->asked == 4 && !center->hasRunningJobs(); }));
    EXPECT_TRUE(center->removeJob(held.get()));
    EXPECT_EQ(target->calls, 0);
}

TEST_F(YJobCenterTest, RemovalsTellInOppositeOrdersOnTheCancellingThread)
{
    std::vector<Ref<JobWatcher>> senders;
    for (const char* name : { "a", "b", "c" }) {
        senders.push_back(make<JobWatcher>(name, &log));
        senders.back()->shouldExecuteJob = [](YJobCenter*, YJob*, Array*) { return false; };
    }
    auto post = [&] {
        for (int i = 0; i < 3; ++i)
            center->postJob(YJob::jobWithTargetWithInt(target.get(), "number:", i).get(), senders[i].get());
    };
    auto cancels = [](std::string order) {
        std::vector<std::string> events;
        for (char name : order)
            events.push_back(name + std::string(" YJobDidCancelNotification main"));
        return events;
    };
    post();
    center->removeAllWaitingJobs();
    EXPECT_EQ(log.events(), cancels("cba"));
    log.clear();
    post();
    center->removeWaitingJobsMatchingTarget(target.get(), "number:", nullptr);
    EXPECT_EQ(log.events(), cancels("abc"));
    drainMainThread();
    EXPECT_EQ(log.events(), cancels("abc")) << "a center that never ran sends no activation notices";
}

TEST_F(YJobCenterTest, AVettingMethodThatReentersTheCenterIsLoggedAndCountsAsNo)
{
    LogCapture capture;
    std::atomic<int> asked { 0 };
    delegate->shouldExecuteJob = [&](YJobCenter* c, YJob*, Array*) {
        asked.fetch_add(1);
        return c->hasRunningJobs(); // takes a lock the watch thread holds
    };
    auto job = YJob::jobWithTarget(target.get(), "work");
    ASSERT_TRUE(center->postJob(job.get()));
    ASSERT_TRUE(waitUntil([&] { return asked == 1 && capture.text().size() > 0; }));
    EXPECT_EQ(capture.text().rfind("Exception raised during invoking -[JobWatcher jobCenter:shouldExecuteJob:withRunningJobs:].  Ignored.  Exception: ", 0), 0u)
        << capture.text();
    EXPECT_TRUE(center->removeJob(job.get()));
    EXPECT_EQ(target->calls, 0);
}

} // namespace
