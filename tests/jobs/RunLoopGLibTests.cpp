// The GLib back end: a GLib main loop on the main thread, never the run loop's own run, runs
// main-thread jobs, waiting performs and timers, and the context's other sources still run.

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/MainThreadPerform.h>
#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopObserver.h>
#include <Yarkit/core/threads/Timer.h>

#include "JobsTestSupport.h"
#include "core/RunLoopTestSupport.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace yk;
using yk::test::Gatekeeper;
using yk::test::JobTarget;

// A GLib main loop on the default context; run() is false when the guard, which only keeps a
// failing test from hanging, quit it.
struct GLibMainLoop {
    GMainLoop* loop = g_main_loop_new(nullptr, false);
    bool guardFired = false;
    ~GLibMainLoop() { g_main_loop_unref(loop); }
    bool run(guint guardMilliseconds = 10000)
    {
        const guint guard = g_timeout_add(guardMilliseconds, [](gpointer self) -> gboolean {
            static_cast<GLibMainLoop*>(self)->guardFired = true;
            g_main_loop_quit(static_cast<GLibMainLoop*>(self)->loop);
            return G_SOURCE_REMOVE;
        }, this);
        g_main_loop_run(loop);
        if (!guardFired)
            g_source_remove(guard);
        return !guardFired;
    }
};

TEST(RunLoopGLib, AGLibMainLoopRunsJobsWaitingPerformsAndATimer)
{
    YJobCenter::mainThreadCenter();
    GLibMainLoop glib;
    auto target = make<JobTarget>();
    auto ticker = make<JobTarget>();
    auto quitter = make<JobTarget>();
    quitter->body = [&] { g_main_loop_quit(glib.loop); };
    Timer::scheduledTimerWithTimeInterval(0.02, ticker.get(), "object:", nullptr, false);

    std::atomic<int> waitedAndRan { 0 };
    std::vector<std::thread> posters;
    for (int t = 0; t < 4; ++t) {
        posters.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                performSelectorInMainThread(target.get(), "work");
            const int before = target->calls;
            YK_performSelectorOnMainThread(target.get(), "work", nullptr, true);
            if (target->calls > before)
                waitedAndRan.fetch_add(1);
        });
    }
    std::thread last([&] {
        for (auto& poster : posters)
            poster.join();
        yk::test::waitUntil([&] { return ticker->calls == 1; });
        performSelectorInMainThread(quitter.get(), "work");
    });
    const bool quit = glib.run();
    last.join();
    EXPECT_TRUE(quit) << "the last job quits the GLib loop";
    EXPECT_EQ(target->calls, 4 * 51);
    EXPECT_EQ(waitedAndRan, 4) << "a waiting perform returns after its method ran";
    EXPECT_EQ(ticker->calls, 1);
}

TEST(RunLoopGLib, AJobHeldBackForeverStarvesNoIdleCallback)
{
    YJobCenter* center = YJobCenter::mainThreadCenter();
    auto target = make<JobTarget>();
    auto gate = make<Gatekeeper>([](YJob*, Array*) { return false; });
    auto job = YJob::jobWithTarget(target.get(), "work");
    center->postJob(job.get(), gate.get());

    GLibMainLoop glib;
    static int idleRuns = 0;
    const guint idleSource = g_idle_add([](gpointer loop) -> gboolean {
        if (++idleRuns == 3)
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_CONTINUE;
    }, glib.loop);
    EXPECT_TRUE(glib.run()) << "under a GLib main loop";
    const int askedUnderGLib = gate->asked;
    EXPECT_GE(askedUnderGLib, 2) << "re-asked on later passes";
    EXPECT_TRUE(yk::test::runLoopUntil([&] { return idleRuns >= 6; })) << "under the run loop's own run";
    EXPECT_GT(gate->asked, askedUnderGLib);
    EXPECT_EQ(target->calls, 0);
    g_source_remove(idleSource);
    EXPECT_TRUE(center->removeJob(job.get()));
}

TEST(RunLoopGLib, APerformAskedInAGLibCallbackRunsWithoutAnotherWakeUp)
{
    GLibMainLoop glib;
    auto quitter = make<JobTarget>();
    quitter->body = [&] { g_main_loop_quit(glib.loop); };
    g_idle_add([](gpointer target) -> gboolean {
        RunLoop::mainRunLoop()->performSelector("work", static_cast<JobTarget*>(target), nullptr, 0, { kCFRunLoopCommonModes });
        return G_SOURCE_REMOVE;
    }, quitter.get());
    EXPECT_TRUE(glib.run(2000)) << "the perform quits the GLib loop";
    EXPECT_EQ(quitter->calls, 1);
}

// From another thread a perform wakes the context itself; the GLib main loop, asleep or about
// to sleep, dispatches the loop for it every time.
TEST(RunLoopGLib, APerformAskedFromAnotherThreadWakesAGLibMainLoop)
{
    GLibMainLoop glib;
    auto quitter = make<JobTarget>();
    quitter->body = [&] { g_main_loop_quit(glib.loop); };
    for (int round = 0; round < 200; ++round) {
        std::thread poster([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(round % 4 * 50));
            RunLoop::mainRunLoop()->performSelector("work", quitter.get(), nullptr, 0, { kCFRunLoopCommonModes });
        });
        const bool quit = glib.run(2000);
        poster.join();
        ASSERT_TRUE(quit) << "round " << round;
    }
    EXPECT_EQ(quitter->calls, 200);
}

TEST(RunLoopGLib, AnIdleGLibMainLoopSleeps)
{
    YJobCenter::mainThreadCenter();
    int passes = 0;
    auto counter = make<RunLoopObserver>(kCFRunLoopBeforeTimers, true, 0, [&](auto*, auto) { ++passes; });
    RunLoop::mainRunLoop()->addObserver(counter.get(), kCFRunLoopCommonModes);
    GLibMainLoop glib;
    EXPECT_FALSE(glib.run(100)) << "nothing quits it but the guard";
    RunLoop::mainRunLoop()->removeObserver(counter.get(), kCFRunLoopCommonModes);
    EXPECT_LE(passes, 3);
}

} // namespace
