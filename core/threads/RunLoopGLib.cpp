// The run loop's GLib back end. Each loop is a GSource on a GMainContext: the main thread's
// loop on the default context, every other thread's loop on a context of its own. The source
// polls the running mode's descriptors and wakes for the mode's next timer, so
// g_main_loop_run (or a toolkit's main loop) runs the loop's timers, performs, ports and
// sources without calling run. runMode sleeps in g_main_context_iteration, so the context's
// other sources (a toolkit's redraws, idle callbacks) keep running during a run.

#include <Yarkit/core/threads/RunLoop.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>
#include <vector>
#include <glib.h>

namespace yk {

// The iterations the loop runs itself are told apart from those GLib runs by their dispatch
// depth (g_main_depth() inside a dispatch, one more than outside it): GLib may dispatch the
// source again from a nested main loop in any callout, and that dispatch must run a pass.
struct RunLoop::BackEnd {
    struct Source {
        GSource base;
        RunLoop* loop;
    };

    GMainContext* context { nullptr };
    Source* source { nullptr };
    // The poll records of the watched descriptors, which GLib polls itself: once its poll
    // returns, the loop knows what is ready without asking epoll again. Not unix fd sources:
    // GLib takes any event on one of those as ready, and the source must be able to sit an
    // iteration out. A wake-up from another thread wakes the context itself
    // (g_main_context_wakeup), whose descriptor GLib polls anyway: every descriptor more in a
    // poll costs the sleeping thread its share of the wake-up.
    std::vector<std::unique_ptr<GPollFD>> polls;
    // runMode's sleep: a dispatch at this depth only ends the sleep, the run handles the rest.
    int waitDepth { 0 };
    Clock::time_point waitLimit { Clock::time_point::max() };
    // A pass's look at the context's other sources, which the source sits out.
    int skipDepth { 0 };
    // After a dispatched pass the source lets one iteration go by, so that a loop that is
    // always ready (a job held back and re-asked every pass) starves no source of lower
    // priority. sitOutDepth is the iteration it sits out.
    bool sitOutNext { false };
    int sitOutDepth { 0 };
    Clock::time_point preparedDeadline { Clock::time_point::max() };
    // When a run's pass last gave the context's other sources a look.
    Clock::time_point lastLook {};
    // GLib dispatches the loop right after its poll: the pass it runs takes what that poll found
    // instead of polling again.
    bool dispatchedAfterPoll { false };

    static RunLoop& loopOf(GSource* source) { return *reinterpret_cast<Source*>(source)->loop; }
    // What the next poll asks of every record; the answers of the last one are cleared.
    void askFor(gushort events)
    {
        for (auto& poll : polls) {
            poll->events = events;
            poll->revents = 0;
        }
    }
    static bool isReady(const GPollFD& poll) { return poll.revents & (G_IO_IN | G_IO_ERR | G_IO_HUP); }
    bool anyReady() const
    {
        return std::any_of(polls.begin(), polls.end(), [](const auto& poll) { return isReady(*poll); });
    }
    // What GLib's last poll found ready, and the wake-up taken; the answers are cleared, so a
    // descriptor that becomes ready later waits for the next poll.
    RunLoop::ReadyDescriptors takeReady(RunLoop& loop)
    {
        takeWakeUp(loop);
        RunLoop::ReadyDescriptors ready;
        for (auto& poll : polls) {
            if (isReady(*poll) && !loop.drainIfOwn(poll->fd))
                ready.push_back(poll->fd);
            poll->revents = 0;
        }
        return ready;
    }
    // A pass that begins after this sees the work of every wakeUp before it; a later one wakes
    // the context again.
    static void takeWakeUp(RunLoop& loop) { loop._wakePending.exchange(false, std::memory_order_acq_rel); }
    static bool wokenUp(const RunLoop& loop) { return loop._wokenOnLoopThread || loop._wakePending.load(std::memory_order_acquire); }
    static gboolean prepare(GSource*, gint* timeout);
    static gboolean check(GSource*);
    static gboolean dispatch(GSource*, GSourceFunc, gpointer);
    static void runPassCatching(RunLoop&);

    // When the iteration at this depth must end for the loop: the running mode's next timer,
    // and the run's limit when the iteration is runMode's sleep.
    Clock::time_point deadline(RunLoop& loop, int depth) const
    {
        const std::string& mode = loop.dispatchMode();
        loop.syncInterest(mode);
        auto deadline = loop.nextTimerDate(mode).value_or(Clock::time_point::max());
        if (depth == waitDepth)
            deadline = std::min(deadline, waitLimit);
        return deadline;
    }
};

namespace {

GSourceFuncs sourceFunctions = {
    RunLoop::BackEnd::prepare,
    RunLoop::BackEnd::check,
    RunLoop::BackEnd::dispatch,
    nullptr,
    nullptr,
    nullptr,
};

// Saves a field of the back end and restores it when the scope ends.
template <typename T>
class Restore {
public:
    Restore(T& field, T value)
        : _field(field)
        , _saved(field)
    {
        _field = value;
    }
    ~Restore() { _field = _saved; }
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;

private:
    T& _field;
    T _saved;
};

} // namespace

gboolean RunLoop::BackEnd::prepare(GSource* source, gint* timeout)
{
    RunLoop& loop = loopOf(source);
    BackEnd& backEnd = *loop._backEnd;
    const int depth = g_main_depth() + 1;
    *timeout = -1;
    if (depth == backEnd.skipDepth)
        return false;
    if (backEnd.sitOutNext) {
        backEnd.sitOutNext = false;
        backEnd.sitOutDepth = depth;
        backEnd.askFor(0);
        *timeout = 0; // back in the next iteration
        return false;
    }
    backEnd.askFor(G_IO_IN);
    if (wokenUp(loop)) {
        *timeout = 0;
        return true;
    }
    backEnd.preparedDeadline = backEnd.deadline(loop, depth);
    if (backEnd.preparedDeadline == Clock::time_point::max())
        return false;
    const auto left = backEnd.preparedDeadline - Clock::now();
    if (left <= Clock::duration::zero()) {
        *timeout = 0;
        return true;
    }
    // Rounded up, so that the loop does not wake just before a timer is due and spin.
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    *timeout = static_cast<gint>(std::min<int64_t>(milliseconds, INT_MAX));
    return false;
}

gboolean RunLoop::BackEnd::check(GSource* source)
{
    RunLoop& loop = loopOf(source);
    BackEnd& backEnd = *loop._backEnd;
    const int depth = g_main_depth() + 1;
    if (depth == backEnd.skipDepth)
        return false;
    if (depth == backEnd.sitOutDepth) {
        backEnd.sitOutDepth = 0;
        return false;
    }
    // Ready also during runMode's own sleep, whose dispatch does nothing: a source that answers
    // ready keeps GLib from dispatching sources of lower priority (idle callbacks) ahead of the
    // loop's work in that iteration.
    if (backEnd.anyReady() || wokenUp(loop))
        return true;
    return backEnd.preparedDeadline <= Clock::now();
}

gboolean RunLoop::BackEnd::dispatch(GSource* source, GSourceFunc, gpointer)
{
    RunLoop& loop = loopOf(source);
    BackEnd& backEnd = *loop._backEnd;
    if (g_main_depth() == backEnd.waitDepth)
        return G_SOURCE_CONTINUE; // runMode's sleep ends; its pass handles what is ready
    backEnd.dispatchedAfterPoll = true;
    runPassCatching(loop);
    backEnd.dispatchedAfterPoll = false;
    backEnd.sitOutNext = true;
    return G_SOURCE_CONTINUE;
}

// The pass GLib dispatches. An exception cannot cross GLib's frames: it is logged and the main
// loop goes on.
void RunLoop::BackEnd::runPassCatching(RunLoop& loop)
{
    Ref<RunLoop> protectedLoop(&loop);
    try {
        loop.runDispatchedPass();
    } catch (const Exception& exception) {
        log("*** A run loop callout raised an exception under the GLib main loop.  Ignored.  Exception: %@", static_cast<const Object*>(&exception));
    } catch (const std::exception& exception) {
        log("*** A run loop callout threw under the GLib main loop.  Ignored.  %s", exception.what());
    } catch (...) {
        log("*** A run loop callout threw under the GLib main loop.  Ignored.");
    }
}

void RunLoop::BackEndDeleter::operator()(BackEnd* backEnd) const
{
    delete backEnd;
}

void RunLoop::startBackEnd()
{
    _backEnd.reset(new BackEnd());
    _backEnd->context = _isMain ? g_main_context_ref(g_main_context_default()) : g_main_context_new();
    GSource* source = g_source_new(&sourceFunctions, sizeof(BackEnd::Source));
    reinterpret_cast<BackEnd::Source*>(source)->loop = this;
    g_source_set_name(source, "yk::RunLoop");
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    // Callouts may run a GLib main loop, which must run the loop's items too.
    g_source_set_can_recurse(source, true);
    g_source_attach(source, _backEnd->context);
    _backEnd->source = reinterpret_cast<BackEnd::Source*>(source);
    watchedDescriptorsChanged();
}

void RunLoop::watchedDescriptorsChanged()
{
    if (!_backEnd)
        return;
    GSource* source = &_backEnd->source->base;
    auto& polls = _backEnd->polls;
    for (auto& poll : polls)
        g_source_remove_poll(source, poll.get());
    polls.clear();
    auto add = [&](int fd) {
        polls.push_back(std::make_unique<GPollFD>(GPollFD { fd, G_IO_IN, 0 }));
        g_source_add_poll(source, polls.back().get());
    };
    for (int fd : _watched)
        add(fd);
}

void RunLoop::stopBackEnd()
{
    if (!_backEnd)
        return;
    GSource* source = &_backEnd->source->base;
    g_source_destroy(source);
    g_source_unref(source);
    g_main_context_unref(_backEnd->context);
    _backEnd.reset();
}

RunLoop::ReadyDescriptors RunLoop::readyAtPassStart(const std::string& mode, bool mayWait)
{
    if (std::exchange(_backEnd->dispatchedAfterPoll, false)) {
        auto ready = _backEnd->takeReady(*this); // before syncInterest, which may remake the records
        syncInterest(mode);
        return ready;
    }
    // A run's pass gives the context's other sources one look, at most once a millisecond, so
    // that a busy run keeps a toolkit drawing without paying a second poll on every pass of a
    // tight loop. Passes GLib dispatches, or without waiting, do not iterate again.
    const auto now = Clock::now();
    if (mayWait && now - _backEnd->lastLook >= std::chrono::milliseconds(1)) {
        _backEnd->lastLook = now;
        Restore skip(_backEnd->skipDepth, g_main_depth() + 1);
        g_main_context_iteration(_backEnd->context, false);
    }
    syncInterest(mode);
    BackEnd::takeWakeUp(*this);
    return readyDescriptors(0);
}

RunLoop::ReadyDescriptors RunLoop::waitForEvents(const std::string& mode, Clock::time_point limit)
{
    syncInterest(mode);
    {
        Restore depth(_backEnd->waitDepth, g_main_depth() + 1);
        Restore until(_backEnd->waitLimit, limit);
        g_main_context_iteration(_backEnd->context, true);
    }
    _wokenOnLoopThread = false;
    return _backEnd->takeReady(*this);
}

void RunLoop::wakeUp()
{
    // On the loop's own thread a flag does, cheaper than a system call: the source's prepare,
    // which GLib calls before every poll of the context, sees it and has the context dispatch
    // the loop (or end runMode's sleep) without sleeping. So a post from a GLib callback there
    // runs too. Another thread wakes the context, once until the loop takes the wake-up.
    if (isLoopThread()) {
        _wokenOnLoopThread = true;
        return;
    }
    if (!_wakePending.exchange(true, std::memory_order_acq_rel))
        g_main_context_wakeup(_backEnd->context);
}

} // namespace yk
