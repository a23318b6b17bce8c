// Jobs and the main run loop, side by side with what they are built from or compete with: raw
// detached threads, a condition variable, an eventfd with a locked queue, and GLib's main
// context. Run with: scripts/bench jobs_bench --benchmark_repetitions=5

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/MainThreadPerform.h>
#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/Timer.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

// A job target that counts its calls.
class Counter : public yk::Object {
    YK_OBJECT(Counter, yk::Object)
public:
    void hit() { count.fetch_add(1, std::memory_order_release); }
    void tick(yk::Timer*) { }
    std::atomic<uint64_t> count { 0 };
};
YK_DEFINE_CLASS(Counter, [](yk::MethodListBuilder& c) {
    c.method("hit", &Counter::hit);
    c.method("tick:", &Counter::tick);
});

void spinUntil(const std::function<bool()>& done)
{
    while (!done())
        std::this_thread::yield();
}

// Waits without taking a CPU from the threads doing the work, as a main thread asleep in its
// loop would.
void sleepUntil(const std::function<bool()>& done)
{
    while (!done())
        std::this_thread::sleep_for(50us);
}

constexpr int Burst = 10000;

// Counts a burst's calls and wakes the waiter once, at the last: the waiter sleeps through the
// burst and takes no CPU from the threads doing the work.
class BurstCounter : public yk::Object {
    YK_OBJECT(BurstCounter, yk::Object)
public:
    void hit()
    {
        if (_left.fetch_sub(1, std::memory_order_acq_rel) == 1)
            _left.notify_one();
    }
    void expect(int calls) { _left.store(calls, std::memory_order_release); }
    void wait()
    {
        for (int left = _left.load(std::memory_order_acquire); left; left = _left.load(std::memory_order_acquire))
            _left.wait(left, std::memory_order_acquire);
    }

private:
    std::atomic<int> _left { 0 };
};
YK_DEFINE_CLASS(BurstCounter, [](yk::MethodListBuilder& c) { c.method("hit", &BurstCounter::hit); });

void BM_JobsBurst(benchmark::State& state)
{
    yk::YJobCenter::mainThreadCenter(); // the centers' activation notices go through it
    auto center = yk::YJobCenter::jobCenter();
    auto counter = yk::make<BurstCounter>();
    for (auto _ : state) {
        counter->expect(Burst);
        for (int i = 0; i < Burst; ++i)
            center->postJob(yk::YJob::jobWithTarget(counter.get(), "hit").get());
        counter->wait();
        sleepUntil([&] { return !center->hasRunningJobs(); }); // the last threads' ends
    }
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_JobsBurst)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RawThreadsBurst(benchmark::State& state)
{
    auto counter = yk::make<BurstCounter>();
    std::atomic<int> alive { 0 };
    for (auto _ : state) {
        counter->expect(Burst);
        for (int i = 0; i < Burst; ++i) {
            alive.fetch_add(1);
            std::thread([&] {
                counter->hit();
                alive.fetch_sub(1);
            }).detach();
        }
        counter->wait();
        sleepUntil([&] { return alive.load() == 0; }); // the last threads' ends
    }
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_RawThreadsBurst)->Unit(benchmark::kMillisecond)->UseRealTime();

// Records when its method started and wakes whoever waits for that.
class StartStamp : public yk::Object {
    YK_OBJECT(StartStamp, yk::Object)
public:
    void stamp()
    {
        startedAt = std::chrono::steady_clock::now();
        started.store(true, std::memory_order_release);
        started.notify_one();
    }
    // Sleeps until the method has started; answers the time from `postedAt`, in seconds.
    double waitSince(std::chrono::steady_clock::time_point postedAt)
    {
        started.wait(false, std::memory_order_acquire);
        started.store(false, std::memory_order_relaxed);
        return std::chrono::duration<double>(startedAt - postedAt).count();
    }
    std::chrono::steady_clock::time_point startedAt; // written before `started` is set
    std::atomic<bool> started { false };
};
YK_DEFINE_CLASS(StartStamp, [](yk::MethodListBuilder& c) { c.method("stamp", &StartStamp::stamp); });

// One post at a time to an idle center, timed from the post to the start of its method. The
// poster sleeps meanwhile, as an application's main thread would, and the next post waits until
// the last job's thread has finished.
void BM_JobPostToStart(benchmark::State& state)
{
    yk::YJobCenter::mainThreadCenter();
    auto center = yk::YJobCenter::jobCenter();
    auto stamp = yk::make<StartStamp>();
    for (auto _ : state) {
        const auto postedAt = std::chrono::steady_clock::now();
        center->postJob(yk::YJob::jobWithTarget(stamp.get(), "stamp").get());
        state.SetIterationTime(stamp->waitSince(postedAt));
        sleepUntil([&] { return !center->hasRunningJobs(); });
    }
}
BENCHMARK(BM_JobPostToStart)->Unit(benchmark::kMicrosecond)->UseManualTime();

// The same two hops done raw: a condition variable wakes a thread that detaches a thread.
void BM_RawPostToStart(benchmark::State& state)
{
    std::mutex lock;
    std::condition_variable wake;
    int pending = 0;
    bool stop = false;
    auto stamp = yk::make<StartStamp>();
    std::atomic<int> alive { 0 };
    std::thread watcher([&] {
        std::unique_lock guard(lock);
        while (true) {
            wake.wait(guard, [&] { return pending > 0 || stop; });
            if (stop)
                return;
            --pending;
            alive.fetch_add(1);
            std::thread([&] {
                stamp->stamp();
                alive.fetch_sub(1);
            }).detach();
        }
    });
    for (auto _ : state) {
        const auto postedAt = std::chrono::steady_clock::now();
        {
            std::lock_guard guard(lock);
            ++pending;
        }
        wake.notify_one();
        state.SetIterationTime(stamp->waitSince(postedAt));
        sleepUntil([&] { return alive.load() == 0; });
    }
    {
        std::lock_guard guard(lock);
        stop = true;
    }
    wake.notify_one();
    watcher.join();
}
BENCHMARK(BM_RawPostToStart)->Unit(benchmark::kMicrosecond)->UseManualTime();

// A thread that, each time the main thread asks, lets the main thread fall asleep, then runs a
// body and times it: what a post costs the poster until it is told, with an idle main thread.
class Poster {
public:
    explicit Poster(std::function<void()> body)
        : _body(std::move(body))
        , _thread([this] {
            while (true) {
                spinUntil([&] { return _go.load() != 0; });
                if (_go.load() < 0)
                    return;
                _go = 0;
                const auto asleep = std::chrono::steady_clock::now() + 200us; // the main thread's loop is asleep by then
                spinUntil([&] { return std::chrono::steady_clock::now() >= asleep; });
                const auto start = std::chrono::steady_clock::now();
                _body();
                _elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                _done = true;
            }
        })
    {
    }
    ~Poster()
    {
        _go = -1;
        _thread.join();
    }
    // Runs the body once while this thread waits its own way (`waitOnce` blocks until something
    // arrives) until `ran` holds; answers the poster's time in seconds.
    template <typename Ran, typename WaitOnce>
    double roundTrip(Ran ran, WaitOnce waitOnce)
    {
        _done = false;
        _go = 1;
        while (!ran())
            waitOnce();
        spinUntil([&] { return _done.load(); });
        return _elapsed;
    }

private:
    std::function<void()> _body;
    std::atomic<int> _go { 0 };
    std::atomic<bool> _done { false };
    double _elapsed { 0 }; // written before _done is set
    std::thread _thread;
};

// Round trip: another thread posts, the method runs on the main thread, the poster is told. The
// main thread sleeps in its loop until the post wakes it, as an application's does.
// Every wait has no limit, as in an application's run and GLib's iteration: each ends with the
// post.
constexpr auto NoLimit = yk::RunLoop::Clock::time_point::max();

void BM_MainThreadRoundTrip(benchmark::State& state)
{
    yk::YJobCenter::mainThreadCenter();
    auto counter = yk::make<Counter>();
    Poster poster([&] {
        const uint64_t start = counter->count.load();
        yk::performSelectorInMainThread(counter.get(), "hit");
        spinUntil([&] { return counter->count.load() == start + 1; });
    });
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    for (auto _ : state) {
        const uint64_t start = counter->count.load();
        state.SetIterationTime(poster.roundTrip([&] { return counter->count.load() != start; },
            [&] { loop->runMode(yk::kCFRunLoopDefaultMode, NoLimit); }));
    }
}
BENCHMARK(BM_MainThreadRoundTrip)->Unit(benchmark::kMicrosecond)->UseManualTime();

void BM_WaitingPerformRoundTrip(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    Poster poster([&] { yk::YK_performSelectorOnMainThread(counter.get(), "hit", nullptr, true); });
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    for (auto _ : state) {
        const uint64_t start = counter->count.load();
        state.SetIterationTime(poster.roundTrip([&] { return counter->count.load() != start; },
            [&] { loop->runMode(yk::kCFRunLoopDefaultMode, NoLimit); }));
    }
}
BENCHMARK(BM_WaitingPerformRoundTrip)->Unit(benchmark::kMicrosecond)->UseManualTime();

// The peer built by hand: a locked queue of closures and an eventfd the main thread polls.
void BM_EventfdQueueRoundTrip(benchmark::State& state)
{
    const int wake = eventfd(0, EFD_NONBLOCK);
    std::mutex lock;
    std::deque<std::function<void()>> queue;
    std::atomic<uint64_t> count { 0 };
    Poster poster([&] {
        const uint64_t start = count.load();
        {
            std::lock_guard guard(lock);
            queue.emplace_back([&] { count.fetch_add(1); });
        }
        const uint64_t one = 1;
        [[maybe_unused]] auto written = write(wake, &one, sizeof one);
        spinUntil([&] { return count.load() == start + 1; });
    });
    auto waitOnce = [&] {
        pollfd descriptor { wake, POLLIN, 0 };
        if (poll(&descriptor, 1, -1) <= 0)
            return;
        uint64_t drained;
        [[maybe_unused]] auto read_ = read(wake, &drained, sizeof drained);
        std::deque<std::function<void()>> taken;
        {
            std::lock_guard guard(lock);
            taken.swap(queue);
        }
        for (auto& closure : taken)
            closure();
    };
    for (auto _ : state) {
        const uint64_t start = count.load();
        state.SetIterationTime(poster.roundTrip([&] { return count.load() != start; }, waitOnce));
    }
    close(wake);
}
BENCHMARK(BM_EventfdQueueRoundTrip)->Unit(benchmark::kMicrosecond)->UseManualTime();

gboolean countCall(gpointer data)
{
    static_cast<std::atomic<uint64_t>*>(data)->fetch_add(1);
    return G_SOURCE_REMOVE;
}

void BM_GLibInvokeRoundTrip(benchmark::State& state)
{
    GMainContext* context = g_main_context_default();
    std::atomic<uint64_t> count { 0 };
    Poster poster([&] {
        const uint64_t start = count.load();
        g_main_context_invoke(context, countCall, &count);
        spinUntil([&] { return count.load() == start + 1; });
    });
    g_main_context_acquire(context);
    for (auto _ : state) {
        const uint64_t start = count.load();
        state.SetIterationTime(poster.roundTrip([&] { return count.load() != start; }, [&] { g_main_context_iteration(context, TRUE); }));
    }
    g_main_context_release(context);
}
BENCHMARK(BM_GLibInvokeRoundTrip)->Unit(benchmark::kMicrosecond)->UseManualTime();

// One pass of the main loop with nothing to do, against the poll it cannot do without: what a
// pass costs beyond finding out that nothing is ready.
void BM_IdlePass(benchmark::State& state)
{
    yk::YJobCenter::mainThreadCenter(); // the loop watches the center's port, as it does in an application
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    for (auto _ : state)
        loop->runMode(yk::kCFRunLoopDefaultMode, yk::RunLoop::Clock::now());
}
BENCHMARK(BM_IdlePass);

void BM_IdlePoll(benchmark::State& state)
{
    const int wake = eventfd(0, EFD_NONBLOCK);
    for (auto _ : state) {
        pollfd descriptor { wake, POLLIN, 0 };
        benchmark::DoNotOptimize(poll(&descriptor, 1, 0));
    }
    close(wake);
}
BENCHMARK(BM_IdlePoll);

// 10,000 posts from another thread, drained by the main thread.
void BM_MainThreadPostsDrained(benchmark::State& state)
{
    yk::YJobCenter::mainThreadCenter();
    auto counter = yk::make<Counter>();
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    for (auto _ : state) {
        const uint64_t start = counter->count.load();
        std::thread([&] {
            for (int i = 0; i < Burst; ++i)
                yk::performSelectorInMainThread(counter.get(), "hit");
        }).join();
        while (counter->count.load() != start + Burst)
            loop->runMode(yk::kCFRunLoopDefaultMode, yk::RunLoop::Clock::now() + 1ms);
    }
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_MainThreadPostsDrained)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GLibInvokesDrained(benchmark::State& state)
{
    GMainContext* context = g_main_context_default();
    std::atomic<uint64_t> count { 0 };
    g_main_context_acquire(context); // the invokes queue, as they would for a running main loop
    for (auto _ : state) {
        const uint64_t start = count.load();
        std::thread([&] {
            for (int i = 0; i < Burst; ++i)
                g_main_context_invoke(context, countCall, &count);
        }).join();
        while (count.load() != start + Burst)
            g_main_context_iteration(context, TRUE);
    }
    g_main_context_release(context);
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_GLibInvokesDrained)->Unit(benchmark::kMillisecond)->UseRealTime();

// 10,000 timers added to the main loop and invalidated.
void BM_TimersAddedAndInvalidated(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    std::vector<yk::Ref<yk::Timer>> timers(Burst);
    for (auto _ : state) {
        for (auto& timer : timers) {
            timer = yk::Timer::timerWithTimeInterval(60, counter.get(), "tick:", nullptr, false);
            loop->addTimer(timer.get(), yk::kCFRunLoopDefaultMode);
        }
        for (auto& timer : timers)
            timer->invalidate();
        loop->limitDateForMode(yk::kCFRunLoopDefaultMode); // the loop lets them go
    }
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_TimersAddedAndInvalidated)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GLibTimeoutsAddedAndRemoved(benchmark::State& state)
{
    std::vector<guint> sources(Burst);
    std::atomic<uint64_t> count { 0 };
    for (auto _ : state) {
        for (auto& source : sources)
            source = g_timeout_add(60000, countCall, &count);
        for (auto source : sources)
            g_source_remove(source);
    }
    state.SetItemsProcessed(state.iterations() * Burst);
}
BENCHMARK(BM_GLibTimeoutsAddedAndRemoved)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
