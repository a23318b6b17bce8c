// Many threads call into the main thread while it nests modal runs and another thread empties
// the main-thread center now and then. The size comes from YK_STRESS_CALLS (the long run uses
// 80,000).

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/YConcreteJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/threads/RunLoop.h>

#include "JobsTestSupport.h"
#include "core/RunLoopTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace yk;

// Records each call's id on the main thread; every 64th call runs the loop modally.
class CallRecorder : public Object {
    YK_OBJECT(CallRecorder, Object)
public:
    void record(int32_t id)
    {
        EXPECT_EQ(++depth, 1) << "a job ran inside another";
        ran.push_back(id);
        if (ran.size() % 64 == 0)
            RunLoop::currentRunLoop()->runMode(kCFRunLoopDefaultMode, RunLoop::Clock::now() + std::chrono::microseconds(200));
        --depth;
    }
    std::vector<int32_t> ran; // main thread only
    int depth { 0 };
};
YK_DEFINE_CLASS(CallRecorder, [](MethodListBuilder& c) { c.method("record:", &CallRecorder::record); });

TEST(YMainThreadJobCenterStress, NoCallRunsTwiceOrIsLostAndEachThreadKeepsItsOrder)
{
    const char* size = std::getenv("YK_STRESS_CALLS");
    const int32_t perThread = (size ? std::atoi(size) : 8000) / 8;
    YJobCenter* center = YJobCenter::mainThreadCenter();
    auto recorder = make<CallRecorder>();

    std::atomic<int> postersLeft { 8 };
    std::vector<std::thread> threads;
    for (int32_t t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int32_t i = 0; i < perThread; ++i)
                performSelectorInMainThreadWithInt(recorder.get(), "record:", t * perThread + i);
            --postersLeft;
        });
    }
    std::mutex removedLock;
    std::vector<int32_t> removed;
    threads.emplace_back([&] {
        while (postersLeft.load() > 0) {
            for (auto& job : center->waitingJobs()) {
                if (job->target() == recorder.get() && job->classObject() == YIntArgJob::staticClass() && center->removeJob(job.get())) {
                    std::lock_guard guard(removedLock);
                    removed.push_back(static_cast<YIntArgJob*>(job.get())->intArg());
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    ASSERT_TRUE(yk::test::runLoopUntil([&] {
        std::lock_guard guard(removedLock);
        return postersLeft.load() == 0 && recorder->ran.size() + removed.size() == static_cast<size_t>(8 * perThread);
    }, kCFRunLoopDefaultMode, std::chrono::minutes(5)));
    for (auto& thread : threads)
        thread.join();

    std::vector<int> seen(static_cast<size_t>(8 * perThread), 0);
    std::vector<int32_t> last(8, -1);
    for (int32_t id : recorder->ran) {
        ASSERT_EQ(seen[static_cast<size_t>(id)]++, 0) << "ran twice: " << id;
        ASSERT_GT(id, last[static_cast<size_t>(id / perThread)]) << "out of its thread's order";
        last[static_cast<size_t>(id / perThread)] = id;
    }
    for (int32_t id : removed)
        ASSERT_EQ(seen[static_cast<size_t>(id)]++, 0) << "removed and ran: " << id;
}

} // namespace
