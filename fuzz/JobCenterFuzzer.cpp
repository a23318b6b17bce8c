// Reads bytes as job-center operations (posts, removals, vetoes, runs) on a center that runs its
// jobs inline, and checks its lists and notices against a model after every operation.

#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/Array.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace yk;

class FuzzTarget : public Object {
    YK_OBJECT(FuzzTarget, Object)
public:
    void run(int32_t) { }
    void walk(int32_t) { }
};
YK_DEFINE_CLASS(FuzzTarget, [](MethodListBuilder& c) {
    c.method("run:", &FuzzTarget::run);
    c.method("walk:", &FuzzTarget::walk);
});

// Runs jobs on the calling thread when asked; its notices are recorded, not posted.
class InlineCenter : public YJobCenter {
    YK_OBJECT(InlineCenter, YJobCenter)
public:
    void runUntilEmpty() { _doExecuteJobsUntilEmpty(true, true); }
    std::vector<std::string> notices;

protected:
    void setupWatchThread() override { }
    void executeJob(YJob* job) override { _doExecuteJob(job); }
    void notifyObserversOfName(const char* name) override { notices.push_back(name); }
    void notifyJobObserversOfName(const char* name, YJob* job, const Exception*) override
    {
        notices.push_back(std::string(name) + " " + std::to_string(reinterpret_cast<uintptr_t>(job)));
    }
};
YK_DEFINE_CLASS(InlineCenter);

// Vetoes posts while `refuseAdds` and holds back jobs of the held targets.
class FuzzDelegate : public Object {
    YK_OBJECT(FuzzDelegate, Object)
public:
    bool shouldAdd(YJobCenter*, YJob*, Array*, Array*) { return !refuseAdds; }
    bool shouldExecute(YJobCenter*, YJob* job, Array*) { return !(held & (1u << targetIndex(job))); }
    uint32_t targetIndex(YJob* job) const
    {
        for (uint32_t i = 0; i < 4; ++i) {
            if (targets[i].get() == job->target())
                return i;
        }
        std::abort();
    }

    bool refuseAdds { false };
    uint32_t held { 0 };
    Ref<FuzzTarget> targets[4] = { make<FuzzTarget>(), make<FuzzTarget>(), make<FuzzTarget>(), make<FuzzTarget>() };
};
YK_DEFINE_CLASS(FuzzDelegate, [](MethodListBuilder& c) {
    c.method("jobCenter:shouldAddJob:withWaitingJobs:runningJobs:", &FuzzDelegate::shouldAdd);
    c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &FuzzDelegate::shouldExecute);
});

struct ModelJob {
    Ref<YJob> job;
    uint32_t target;
    Selector selector;
    int32_t value;

    std::string notice(const char* name) const { return std::string(name) + " " + std::to_string(reinterpret_cast<uintptr_t>(job.get())); }
};

void check(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto center = make<InlineCenter>();
    auto delegate = make<FuzzDelegate>();
    center->setDelegate(delegate.get());
    std::vector<ModelJob> waiting;
    std::vector<std::string> expected;
    bool active = false;

    for (size_t i = 0; i + 1 < size; i += 2) {
        const uint8_t operation = data[i] % 8;
        const uint8_t argument = data[i + 1];
        switch (operation) {
        case 0:
        case 1: { // post, duplicates allowed (0) or refused (1); argument: target, selector, value
            const uint32_t target = argument & 3;
            const Selector selector = argument & 4 ? "walk:" : "run:";
            const int32_t value = argument >> 3 & 3;
            auto job = YJob::jobWithTargetWithInt(delegate->targets[target].get(), selector, value);
            bool accepted = !delegate->refuseAdds;
            if (accepted && operation == 1) {
                accepted = std::none_of(waiting.begin(), waiting.end(), [&](const ModelJob& entry) {
                    return entry.target == target && entry.selector == selector && entry.value == value;
                });
            }
            check(center->postJob(job.get(), operation == 0, nullptr) == accepted);
            if (accepted)
                waiting.push_back({ job, target, selector, value });
            break;
        }
        case 2: // remove one waiting job by identity
            if (!waiting.empty()) {
                const size_t index = argument % waiting.size();
                check(center->removeJob(waiting[index].job.get()));
                expected.push_back(waiting[index].notice(YJobDidCancelNotification));
                waiting.erase(waiting.begin() + static_cast<ptrdiff_t>(index));
            }
            break;
        case 3: { // remove by target: told oldest first
            const uint32_t target = argument & 3;
            center->removeWaitingJobsMatchingTarget(delegate->targets[target].get(), {}, nullptr);
            for (const auto& entry : waiting) {
                if (entry.target == target)
                    expected.push_back(entry.notice(YJobDidCancelNotification));
            }
            std::erase_if(waiting, [&](const ModelJob& entry) { return entry.target == target; });
            break;
        }
        case 4: // remove all: told newest first
            center->removeAllWaitingJobs();
            for (auto it = waiting.rbegin(); it != waiting.rend(); ++it)
                expected.push_back(it->notice(YJobDidCancelNotification));
            waiting.clear();
            break;
        case 5:
            delegate->refuseAdds = argument & 1;
            break;
        case 6:
            delegate->held = argument & 15;
            break;
        case 7: { // run: the oldest startable job each time, until none can start
            while (true) {
                auto next = std::find_if(waiting.begin(), waiting.end(), [&](const ModelJob& entry) { return !(delegate->held & (1u << entry.target)); });
                if (next == waiting.end())
                    break;
                // Active from the first job taken until one ends with nothing left waiting.
                if (!active)
                    expected.push_back(YJobCenterDidActivateNotification);
                active = true;
                const ModelJob taken = *next;
                waiting.erase(next);
                expected.push_back(taken.notice(YJobWillBeginNotification));
                expected.push_back(taken.notice(YJobDidEndNotification));
                if (waiting.empty()) {
                    expected.push_back(YJobCenterDidDeactivateNotification);
                    active = false;
                }
            }
            center->runUntilEmpty();
            break;
        }
        }
        check(center->notices == expected);
        const auto listed = center->waitingJobs();
        check(listed.size() == waiting.size());
        for (size_t k = 0; k < listed.size(); ++k)
            check(listed[k] == waiting[k].job);
        check(!center->hasRunningJobs());
    }
    center->setDelegate(nullptr);
    return 0;
}
