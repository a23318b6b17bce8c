// Many threads post, remove, abort and veto at once; every accepted job must get exactly one
// ending. The size comes from YK_STRESS_JOBS (the long run uses 100,000).

#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>

#include "JobsTestSupport.h"
#include "core/RunLoopTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace yk;

// One job's target and what happened to it.
class StressItem : public Object {
    YK_OBJECT(StressItem, Object)
public:
    void run() { ran.fetch_add(1); }
    void stopRun() { abortSent.fetch_add(1); }

    std::atomic<int> ran { 0 };
    std::atomic<int> abortSent { 0 };
    std::atomic<int> willBegin { 0 };
    std::atomic<int> didEnd { 0 };
    std::atomic<int> didCancel { 0 };
    std::atomic<bool> abortAsked { false };
};
YK_DEFINE_CLASS(StressItem, [](MethodListBuilder& c) {
    c.method("run", &StressItem::run);
    c.method("stopRun", &StressItem::stopRun);
});

// The delegate: caps running jobs, vetoes some adds and starts while vetoing is on, counts
// notices.
class StressDelegate : public Object {
    YK_OBJECT(StressDelegate, Object)
public:
    bool shouldAdd(YJobCenter*, YJob* job, Array*, Array*) { return job == gate.load() || !vetoing.load() || (reinterpret_cast<uintptr_t>(job) >> 4) % 19 != 0; }
    bool shouldExecute(YJobCenter*, YJob* job, Array* running)
    {
        if (job == gate.load())
            return true;
        if (running->count() >= 4)
            return false;
        return !vetoing.load() || (reinterpret_cast<uintptr_t>(job) >> 4) % 7 != passes.fetch_add(1) % 7;
    }
    // Null for the gate job.
    static StressItem* item(Notification* notification) { return dynamic_cast<StressItem*>(static_cast<YJob*>(notification->object())->target()); }
    static void count(Notification* notification, std::atomic<int> StressItem::*counter)
    {
        if (StressItem* target = item(notification))
            (target->*counter).fetch_add(1);
    }
    void jobWillBegin(Notification* n) { count(n, &StressItem::willBegin); }
    void jobDidEnd(Notification* n) { count(n, &StressItem::didEnd); }
    void jobDidCancel(Notification* n) { count(n, &StressItem::didCancel); }
    void activated(Notification*) { ++activations; }
    void deactivated(Notification*) { ++deactivations; }

    std::atomic<bool> vetoing { true };
    std::atomic<uint64_t> passes { 0 };
    std::atomic<YJob*> gate { nullptr };
    int activations { 0 }; // main thread
    int deactivations { 0 };
};
YK_DEFINE_CLASS(StressDelegate, [](MethodListBuilder& c) {
    c.method("jobCenter:shouldAddJob:withWaitingJobs:runningJobs:", &StressDelegate::shouldAdd);
    c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &StressDelegate::shouldExecute);
    c.method("jobWillBegin:", &StressDelegate::jobWillBegin);
    c.method("jobDidEnd:", &StressDelegate::jobDidEnd);
    c.method("jobDidCancel:", &StressDelegate::jobDidCancel);
    c.method("jobCenterDidActivate:", &StressDelegate::activated);
    c.method("jobCenterDidDeactivate:", &StressDelegate::deactivated);
});

size_t stressSize()
{
    const char* size = std::getenv("YK_STRESS_JOBS");
    return size ? std::strtoul(size, nullptr, 10) : 4000;
}

TEST(YJobCenterStress, EveryAcceptedJobEndsOnceWhileThreadsPostRemoveAbortAndVeto)
{
    YJobCenter::mainThreadCenter();
    auto center = YJobCenter::jobCenter();
    auto delegate = make<StressDelegate>();
    center->setDelegate(delegate.get());

    std::atomic<bool> open { false };
    auto gateTarget = make<yk::test::JobTarget>();
    gateTarget->body = [&] { yk::test::waitUntil([&] { return open.load(); }, std::chrono::minutes(10)); };
    auto gate = YJob::jobWithTarget(gateTarget.get(), "work");
    delegate->gate = gate.get();
    ASSERT_TRUE(center->postJob(gate.get()));
    ASSERT_TRUE(yk::test::waitUntil([&] { return gateTarget->calls == 1; })); // running: no removal reaches it

    const size_t perThread = stressSize() / 8;
    struct Posted {
        Ref<YJob> job;
        Ref<StressItem> item;
        bool accepted;
    };
    std::vector<std::vector<Posted>> posted(8);
    std::vector<std::thread> posters;
    for (unsigned t = 0; t < 8; ++t) {
        posters.emplace_back([&, t] {
            std::mt19937 random(t);
            auto& mine = posted[t];
            mine.reserve(perThread);
            for (size_t i = 0; i < perThread; ++i) {
                auto item = make<StressItem>();
                auto job = YJob::jobWithTarget(item.get(), "run");
                job->setAbortSelector("stopRun");
                const bool accepted = center->postJob(job.get());
                mine.push_back({ job, item, accepted });
                switch (random() % 64) {
                case 0:
                    center->removeJob(mine[random() % mine.size()].job.get());
                    break;
                case 1:
                    center->removeWaitingJobsMatchingTarget(mine[random() % mine.size()].item.get(), {}, nullptr);
                    break;
                case 2: {
                    auto& victim = mine[random() % mine.size()];
                    victim.item->abortAsked = true;
                    victim.job->abort();
                    break;
                }
                case 3:
                    if (random() % 16 == 0)
                        center->removeAllWaitingJobs();
                    break;
                default:
                    break;
                }
            }
        });
    }
    // The main thread runs its loop meanwhile: the center's notices arrive there.
    std::atomic<bool> postersDone { false };
    std::thread joiner([&] {
        for (auto& poster : posters)
            poster.join();
        delegate->vetoing = false;
        postersDone = true;
        open = true;
    });
    ASSERT_TRUE(yk::test::runLoopUntil([&] { return postersDone.load() && !center->hasWaitingJobs() && !center->hasRunningJobs() && delegate->deactivations > 0; },
        kCFRunLoopDefaultMode, std::chrono::minutes(20)));
    joiner.join();
    center->setDelegate(nullptr);

    EXPECT_EQ(delegate->activations, 1);
    EXPECT_EQ(delegate->deactivations, 1);
    size_t accepted = 0;
    for (const auto& mine : posted) {
        for (const auto& entry : mine) {
            const auto& item = *entry.item;
            if (!entry.accepted) {
                ASSERT_EQ(item.willBegin + item.didEnd + item.didCancel, 0);
                continue;
            }
            ++accepted;
            ASSERT_EQ(item.didEnd + item.didCancel, 1) << "one ending per accepted job";
            ASSERT_EQ(item.willBegin.load(), item.didEnd.load());
            ASSERT_LE(item.ran.load(), 1);
            if (item.abortAsked)
                ASSERT_EQ(item.ran.load() == 1, item.abortSent.load() > 0) << "the method ran exactly when the abort message was sent";
            else
                ASSERT_EQ(item.ran.load(), item.didEnd.load());
        }
    }
    EXPECT_GT(accepted, stressSize() / 2);
}

} // namespace
