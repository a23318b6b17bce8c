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
#include <vector>

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

// Times the kinds in turn, one of each per iteration and starting with the next one each time,
// so that a virtual machine's drifting wake-up times fall on all of them alike; answers each
// kind's total time, for the counters' ratios.
std::vector<double> timeInTurn(benchmark::State& state, const std::vector<std::function<double()>>& kinds)
{
    std::vector<double> totals(kinds.size());
    size_t first = 0;
    for (auto _ : state) {
        double elapsed = 0;
        for (size_t i = 0; i < kinds.size(); ++i) {
            const size_t kind = (first + i) % kinds.size();
            const double time = kinds[kind]();
            totals[kind] += time;
            elapsed += time;
        }
        first = (first + 1) % kinds.size();
        state.SetIterationTime(elapsed);
    }
    return totals;
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
class JobPostToStart {
public:
    JobPostToStart() { yk::YJobCenter::mainThreadCenter(); }
    // One post; answers its time to start, in seconds.
    double once()
    {
        const auto postedAt = std::chrono::steady_clock::now();
        _center->postJob(yk::YJob::jobWithTarget(_stamp.get(), "stamp").get());
        const double elapsed = _stamp->waitSince(postedAt);
        sleepUntil([&] { return !_center->hasRunningJobs(); });
        return elapsed;
    }

private:
    yk::Ref<yk::YJobCenter> _center { yk::YJobCenter::jobCenter() };
    yk::Ref<StartStamp> _stamp { yk::make<StartStamp>() };
};

// The same two hops done raw: a condition variable wakes a thread that detaches a thread.
class RawPostToStart {
public:
    RawPostToStart()
        : _watcher([this] { watch(); })
    {
    }
    ~RawPostToStart()
    {
        {
            std::lock_guard guard(_lock);
            _stop = true;
        }
        _wake.notify_one();
        _watcher.join();
    }
    double once()
    {
        const auto postedAt = std::chrono::steady_clock::now();
        {
            std::lock_guard guard(_lock);
            ++_pending;
        }
        _wake.notify_one();
        const double elapsed = _stamp->waitSince(postedAt);
        sleepUntil([&] { return _alive.load() == 0; });
        return elapsed;
    }

private:
    void watch()
    {
        std::unique_lock guard(_lock);
        while (true) {
            _wake.wait(guard, [&] { return _pending > 0 || _stop; });
            if (_stop)
                return;
            --_pending;
            _alive.fetch_add(1);
            std::thread([this] {
                _stamp->stamp();
                _alive.fetch_sub(1);
            }).detach();
        }
    }

    std::mutex _lock;
    std::condition_variable _wake;
    int _pending { 0 };
    bool _stop { false };
    yk::Ref<StartStamp> _stamp { yk::make<StartStamp>() };
    std::atomic<int> _alive { 0 };
    std::thread _watcher;
};

template <typename Kind>
void BM_PostToStart(benchmark::State& state)
{
    Kind kind;
    for (auto _ : state)
        state.SetIterationTime(kind.once());
}
BENCHMARK(BM_PostToStart<JobPostToStart>)->Name("BM_JobPostToStart")->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(BM_PostToStart<RawPostToStart>)->Name("BM_RawPostToStart")->Unit(benchmark::kMicrosecond)->UseManualTime();

// Both taken in turn; the counter is the ratio of their total times, ours over the raw one.
void BM_PostToStartInTurn(benchmark::State& state)
{
    JobPostToStart jobs;
    RawPostToStart raw;
    const auto totals = timeInTurn(state, { [&] { return jobs.once(); }, [&] { return raw.once(); } });
    state.counters["jobs/raw"] = totals[0] / totals[1];
}
BENCHMARK(BM_PostToStartInTurn)->Unit(benchmark::kMicrosecond)->UseManualTime();

gboolean countCall(gpointer data)
{
    static_cast<std::atomic<uint64_t>*>(data)->fetch_add(1);
    return G_SOURCE_REMOVE;
}

// One way to have a method run on the main thread and the poster told: `send` asks for the
// call on the poster's thread, `count` counts the calls run so far and `waitOnce` is the main
// thread's wait, which blocks until something arrives.
class RoundTrip {
public:
    virtual ~RoundTrip() = default;
    // Sends, then watches the count until the call has run (a waiting send returns after it).
    void post()
    {
        const uint64_t start = count();
        send();
        spinUntil([&] { return count() != start; });
    }
    virtual uint64_t count() const = 0;
    virtual void waitOnce() = 0;

protected:
    virtual void send() = 0;
};

// Every wait has no limit, as in an application's run and GLib's iteration: each ends with the
// post.
constexpr auto NoLimit = yk::RunLoop::Clock::time_point::max();

// Ours: performSelectorInMainThread; the poster watches the count.
class MessagingRoundTrip : public RoundTrip {
public:
    MessagingRoundTrip() { yk::YJobCenter::mainThreadCenter(); }
    uint64_t count() const override { return _counter->count.load(); }
    void waitOnce() override { _loop->runMode(yk::kCFRunLoopDefaultMode, NoLimit); }

protected:
    void send() override { yk::performSelectorInMainThread(_counter.get(), "hit"); }

    yk::Ref<Counter> _counter { yk::make<Counter>() };
    yk::RunLoop* _loop { yk::RunLoop::currentRunLoop() };
};

// Ours, waiting: YK_performSelectorOnMainThread returns once the method has run.
class WaitingPerformRoundTrip final : public MessagingRoundTrip {
protected:
    void send() override { yk::YK_performSelectorOnMainThread(_counter.get(), "hit", nullptr, true); }
};

// The peer built by hand: a locked queue of closures and an eventfd the main thread polls.
class EventfdQueueRoundTrip final : public RoundTrip {
public:
    ~EventfdQueueRoundTrip() override { close(_wake); }
    uint64_t count() const override { return _count.load(); }
    void waitOnce() override
    {
        pollfd descriptor { _wake, POLLIN, 0 };
        if (poll(&descriptor, 1, -1) <= 0)
            return;
        uint64_t drained;
        [[maybe_unused]] auto read_ = read(_wake, &drained, sizeof drained);
        std::deque<std::function<void()>> taken;
        {
            std::lock_guard guard(_lock);
            taken.swap(_queue);
        }
        for (auto& closure : taken)
            closure();
    }

protected:
    void send() override
    {
        {
            std::lock_guard guard(_lock);
            _queue.emplace_back([this] { _count.fetch_add(1); });
        }
        const uint64_t one = 1;
        [[maybe_unused]] auto written = write(_wake, &one, sizeof one);
    }

private:
    const int _wake { eventfd(0, EFD_NONBLOCK) };
    std::mutex _lock;
    std::deque<std::function<void()>> _queue;
    std::atomic<uint64_t> _count { 0 };
};

// GLib's: g_main_context_invoke on the default context, which the main thread iterates.
class GLibInvokeRoundTrip final : public RoundTrip {
public:
    GLibInvokeRoundTrip() { g_main_context_acquire(_context); }
    ~GLibInvokeRoundTrip() override { g_main_context_release(_context); }
    uint64_t count() const override { return _count.load(); }
    void waitOnce() override { g_main_context_iteration(_context, TRUE); }

protected:
    void send() override { g_main_context_invoke(_context, countCall, &_count); }

private:
    GMainContext* const _context { g_main_context_default() };
    std::atomic<uint64_t> _count { 0 };
};

// A thread that, each time the main thread asks, lets the main thread fall asleep, then posts
// and times the post: what it costs the poster until it is told, with an idle main thread.
class Poster {
public:
    Poster()
        : _thread([this] { serve(); })
    {
    }
    ~Poster()
    {
        _go = -1;
        _thread.join();
    }
    // One round trip of `kind`, the main thread waiting its own way until the method has run;
    // answers the poster's time in seconds.
    double roundTrip(RoundTrip& kind)
    {
        const uint64_t start = kind.count();
        _kind = &kind;
        _done = false;
        _go = 1;
        while (kind.count() == start)
            kind.waitOnce();
        spinUntil([&] { return _done.load(); });
        return _elapsed;
    }

private:
    void serve()
    {
        while (true) {
            spinUntil([&] { return _go.load() != 0; });
            if (_go.load() < 0)
                return;
            _go = 0;
            const auto asleep = std::chrono::steady_clock::now() + 200us; // the main thread's loop is asleep by then
            spinUntil([&] { return std::chrono::steady_clock::now() >= asleep; });
            const auto start = std::chrono::steady_clock::now();
            _kind.load()->post();
            _elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            _done = true;
        }
    }

    std::atomic<RoundTrip*> _kind { nullptr };
    std::atomic<int> _go { 0 };
    std::atomic<bool> _done { false };
    double _elapsed { 0 }; // written before _done is set
    std::thread _thread;
};

// Round trip: another thread posts, the method runs on the main thread, the poster is told. The
// main thread sleeps in its loop until the post wakes it, as an application's does.
template <typename Kind>
void BM_RoundTrip(benchmark::State& state)
{
    Kind kind;
    Poster poster;
    for (auto _ : state)
        state.SetIterationTime(poster.roundTrip(kind));
}
BENCHMARK(BM_RoundTrip<MessagingRoundTrip>)->Name("BM_MainThreadRoundTrip")->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(BM_RoundTrip<WaitingPerformRoundTrip>)->Name("BM_WaitingPerformRoundTrip")->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(BM_RoundTrip<EventfdQueueRoundTrip>)->Name("BM_EventfdQueueRoundTrip")->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(BM_RoundTrip<GLibInvokeRoundTrip>)->Name("BM_GLibInvokeRoundTrip")->Unit(benchmark::kMicrosecond)->UseManualTime();

// The four round trips taken in turn; the counters are the ratios of their total times, ours
// over each peer.
void BM_RoundTripsInTurn(benchmark::State& state)
{
    MessagingRoundTrip messaging;
    WaitingPerformRoundTrip waiting;
    EventfdQueueRoundTrip eventfdQueue;
    GLibInvokeRoundTrip glibInvoke;
    Poster poster;
    auto timed = [&](RoundTrip& kind) { return [&] { return poster.roundTrip(kind); }; };
    const auto totals = timeInTurn(state, { timed(messaging), timed(waiting), timed(eventfdQueue), timed(glibInvoke) });
    state.counters["post/eventfd"] = totals[0] / totals[2];
    state.counters["post/glib"] = totals[0] / totals[3];
    state.counters["wait/eventfd"] = totals[1] / totals[2];
    state.counters["wait/glib"] = totals[1] / totals[3];
}
BENCHMARK(BM_RoundTripsInTurn)->Unit(benchmark::kMicrosecond)->UseManualTime();

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
