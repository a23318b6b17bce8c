#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/YJob.h>
#include <Yarkit/YMainThreadJobCenter.h>
#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopObserver.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "JobsTestSupport.h"
#include "core/CommandOutput.h"
#include "core/CoreTestSupport.h"
#include "core/RunLoopTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

using namespace yk;
using namespace std::chrono_literals;
using yk::test::EventLog;
using yk::test::Gatekeeper;
using yk::test::JobTarget;
using yk::test::JobWatcher;
using yk::test::runLoopUntil;

const char kModalMode[] = "MainCenterModalMode";

void onAnotherThread(const std::function<void()>& body) { std::thread(body).join(); }

class YMainThreadJobCenterTest : public testing::Test {
protected:
    YJobCenter* center = YJobCenter::mainThreadCenter();
    EventLog log;
    Ref<JobTarget> target = make<JobTarget>(&log);
};

TEST_F(YMainThreadJobCenterTest, APostRunsInEveryCommonModeAndNotInOthers)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    onAnotherThread([&] { performSelectorInMainThread(target.get(), "work"); });
    EXPECT_FALSE(runLoopUntil([&] { return target->calls == 1; }, kModalMode, 20ms)) << "not a common mode";
    loop->addCommonMode(kModalMode);
    ASSERT_TRUE(runLoopUntil([&] { return target->calls == 1; }, kModalMode));
}

TEST_F(YMainThreadJobCenterTest, APostDuringARunJoinsItAndAModalJobRunsNoOtherJob)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    int callouts = 0;
    auto counter = make<RunLoopObserver>(kYKRunLoopAfterCallout, true, 0, [&](auto*, auto) { ++callouts; });
    loop->addObserver(counter.get(), kCFRunLoopCommonModes);
    auto second = make<JobTarget>(&log);
    target->body = [&] {
        onAnotherThread([&] { performSelectorInMainThread(second.get(), "stop"); });
        loop->runMode(kCFRunLoopDefaultMode, RunLoop::Clock::now() + 30ms); // modal
        log.add("modal run over");
    };
    onAnotherThread([&] { performSelectorInMainThread(target.get(), "work"); });
    ASSERT_TRUE(runLoopUntil([&] { return second->calls == 1; }));
    loop->limitDateForMode(kCFRunLoopDefaultMode);
    loop->removeObserver(counter.get(), kCFRunLoopCommonModes);
    EXPECT_EQ(log.events(), (std::vector<std::string> { "work", "modal run over", "stop on main" }));
    EXPECT_EQ(callouts, 1) << "one port message for both jobs";
}

TEST_F(YMainThreadJobCenterTest, AHeldBackJobIsAskedAgainOnTheNextPassAndNoNoticesGoOut)
{
    auto watcher = make<JobWatcher>("watcher", &log);
    center->addObserver(watcher.get()); // no delegate: no activation notices
    int answers = 0;
    auto gate = make<Gatekeeper>([&](YJob*, Array*) { return ++answers > 2; });
    auto job = YJob::jobWithTarget(target.get(), "work");
    job->addObserver(watcher.get());
    onAnotherThread([&] { center->postJob(job.get(), gate.get()); });
    ASSERT_TRUE(runLoopUntil([&] { return target->calls == 1; }));
    EXPECT_EQ(gate->asked, 3);

    auto cancelled = YJob::jobWithTarget(target.get(), "work");
    cancelled->addObserver(watcher.get());
    gate->answer = [](YJob*, Array*) { return false; };
    center->postJob(cancelled.get(), gate.get());
    EXPECT_TRUE(center->removeJob(cancelled.get()));
    EXPECT_EQ(log.events(), std::vector<std::string> { "work" }) << "no job or center notices";
    center->removeObserver(watcher.get()); // the jobs go before the watcher
}

TEST_F(YMainThreadJobCenterTest, EveryFormRunsAtOnceOnTheMainThreadAndLaterInOrderElsewhere)
{
    auto a = String::withUTF8("a"), b = String::withUTF8("b"), c = String::withUTF8("c");
    struct Form {
        std::function<void()> call;
        const char* ran;
    };
    const Form forms[] = {
        { [&] { performSelectorInMainThread(target.get(), "work"); }, "work" },
        { [&] { performSelectorInMainThread(target.get(), "object:", a.get()); }, "object a" },
        { [&] { performSelectorInMainThread(target.get(), "objects:and:", a.get(), b.get()); }, "objects a b" },
        { [&] { performSelectorInMainThread(target.get(), "three:and:and:", a.get(), b.get(), c.get()); }, "three a b c" },
        { [&] { performSelectorInMainThreadWithBool(target.get(), "flag:", true); }, "flag YES" },
        { [&] { performSelectorInMainThreadWithInt(target.get(), "number:", 4); }, "int 4" },
        { [&] { performSelectorInMainThreadWithInt(target.get(), "pair:and:", 5, 6); }, "ints 5 6" },
        { [&] { performSelectorInMainThreadWithFloat(target.get(), "real:", 0.5f); }, "double 0.500000" },
        { [&] { performSelectorInMainThreadWithDouble(target.get(), "real:", 2.5); }, "double 2.500000" },
        { [&] { performSelectorInMainThreadIfAbsent(target.get(), "stop"); }, "stop on main" },
        { [&] { performSelectorInMainThreadIfAbsent(target.get(), "three:and:and:", c.get(), b.get(), a.get()); }, "three c b a" },
        { [&] { performSelectorInMainThreadIfAbsentWithInt(target.get(), "pair:and:", 8, 9); }, "ints 8 9" },
    };
    std::vector<std::string> expected;
    for (const auto& form : forms) {
        log.clear();
        form.call();
        EXPECT_EQ(log.events(), std::vector<std::string> { form.ran }) << "on the main thread, before returning";
        expected.push_back(form.ran);
    }
    log.clear();
    onAnotherThread([&] {
        for (const auto& form : forms)
            form.call();
        EXPECT_EQ(log.events().size(), 0u) << "elsewhere nothing runs before returning";
    });
    ASSERT_TRUE(runLoopUntil([&] { return log.events().size() == expected.size(); })) << log.events().size() << " " << (log.events().size() ? log.events().back() : "");
    EXPECT_EQ(log.events(), expected);

    // The float form passes a double directly; a float parameter refuses it clearly.
    test::expectRaise([&] { performSelectorInMainThreadWithFloat(target.get(), "single:", 1.0f); }, NSInvalidArgumentException, "does not convert", true);
}

TEST_F(YMainThreadJobCenterTest, SelectorsAreCheckedByTheGuardedFormsAndDuplicatesOfWaitingJobsRefused)
{
    onAnotherThread([&] {
        test::expectRaise([&] { performSelectorInMainThreadWithBool(target.get(), {}, true); }, NSInvalidArgumentException,
            "Null selector passed to - [JobTarget _performSelectorInMainThread:withBool:allowDuplication:].");
        performSelectorInMainThread(target.get(), Selector(), String::withUTF8("x").get()); // a job that does nothing
        performSelectorInMainThreadIfAbsent(target.get(), "object:", String::withUTF8("same").get());
        performSelectorInMainThreadIfAbsent(target.get(), "object:", String::withUTF8("same").get());
    });
    test::expectRaise([&] { performSelectorInMainThreadWithInt(target.get(), "missing:", 1); }, NSInvalidArgumentException,
        "Invalid selector passed to - [JobTarget _performSelectorInMainThread:withInt:allowDuplication:].");
    ASSERT_TRUE(runLoopUntil([&] { return !center->hasWaitingJobs(); }));
    EXPECT_EQ(log.events(), std::vector<std::string> { "object same" });
}

// The until-empty loop takes the waiting lock whatever its condition: a thread that holds it and
// leaves it at 0 (as removeAllWaitingJobs does) must not leave the main thread waiting for 1.
class UntilEmptyCenter : public YJobCenter {
    YK_OBJECT(UntilEmptyCenter, YJobCenter)
public:
    void runUntilEmpty() { doExecuteJobsUntilEmpty(); }
    ConditionLock& lock() { return waitingJobsLock(); }

protected:
    void setupWatchThread() override { }
    void executeJob(YJob* job) override
    {
        job->invoke();
        removeRunningJobIdenticalTo(job);
    }
};
YK_DEFINE_CLASS(UntilEmptyCenter);

TEST(YJobCenterUntilEmpty, LeavesWhenAnotherThreadEmptiesTheListMeanwhile)
{
    auto center = make<UntilEmptyCenter>();
    auto target = make<JobTarget>();
    center->postJob(YJob::jobWithTarget(target.get(), "work").get());
    std::atomic<bool> holding { false };
    std::thread remover([&] {
        center->lock().lock();
        holding = true;
        std::this_thread::sleep_for(30ms);
        center->lock().unlockWithCondition(0);
    });
    ASSERT_TRUE(yk::test::waitUntil([&] { return holding.load(); }));
    center->runUntilEmpty();
    remover.join();
    EXPECT_EQ(target->calls, 0);
}

// Runs again in a child process, where nothing has used the main-thread center yet.
TEST(YMainThreadJobCenterChild, FirstUseOffTheMainThreadRaisesUntilTheMainThreadPreparesIt)
{
    if (!std::getenv("YK_MAIN_CENTER_CHILD")) {
        const auto child = test::runCommand("YK_MAIN_CENTER_CHILD=1 '" + std::filesystem::read_symlink("/proc/self/exe").string()
            + "' --gtest_filter=YMainThreadJobCenterChild.FirstUseOffTheMainThreadRaisesUntilTheMainThreadPreparesIt");
        EXPECT_EQ(child.status, 0) << "the child's test failed:\n" << child.output;
        return;
    }
    onAnotherThread([] {
        test::expectRaise([] { YJobCenter::mainThreadCenter(); }, NSInternalInconsistencyException,
            "+[YJobCenter prepareForMainThreadCenter] called in a different thread from the main thread");
        test::expectRaise([] { YJobCenter::mainThreadCenter(); }, NSInternalInconsistencyException, "You must invoke + [YJobCenter prepareForMainThread] first.");
    });
    test::expectRaise([] { YJobCenter::mainThreadCenter(); }, NSInternalInconsistencyException, "You must invoke + [YJobCenter prepareForMainThread] first.");
    YMainThreadJobCenter::prepareForMainThreadCenter();
    EXPECT_TRUE(YJobCenter::mainThreadCenter());
}

} // namespace
