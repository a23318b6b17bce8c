// The run loop's modes, items, performs and passes, shared by both back ends. Each loop has an
// epoll descriptor that watches the running mode's ports and descriptor sources, an eventfd
// that wakeUp writes (on the generic back end; GLib's wakes its context instead) and a timerfd;
// how the loop sleeps on them is the back end's (RunLoopGeneric.cpp: epoll_wait;
// RunLoopGLib.cpp: a GSource on a GMainContext).

#include <Yarkit/core/threads/RunLoop.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/RunLoopSource.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/threads/Timer.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include <algorithm>
#include <pthread.h>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace yk {

YK_DEFINE_CLASS(RunLoop);

const char kCFRunLoopDefaultMode[] = "kCFRunLoopDefaultMode";
const char kCFRunLoopCommonModes[] = "kCFRunLoopCommonModes";

// The items of one mode (or the common items, which every common mode also has).
struct RunLoopMode {
    std::vector<Ref<Port>> ports;
    std::vector<Ref<RunLoopSource>> sources;
    std::vector<Ref<Timer>> timers;
    std::vector<Ref<RunLoopObserver>> observers;
};
struct RunLoop::Mode : RunLoopMode { };

struct RunLoop::Perform {
    Selector selector;
    Ref<Object> target;
    Ref<Object> argument;
    uint32_t order;
    uint64_t sequence;
    std::shared_ptr<const std::vector<std::string>> modes; // shared by the performs of one list
};

namespace {

thread_local Ref<RunLoop> currentLoop;

Mutex mainLoopLock;
std::atomic<RunLoop*> mainLoop { nullptr };

template <typename Items, typename T>
bool containsItem(const Items& items, const T* item)
{
    return std::any_of(items.begin(), items.end(), [&](const Ref<T>& each) { return each.get() == item; });
}

void raiseSystemError(const char* what)
{
    raise(NSInternalInconsistencyException, "*** -[RunLoop init]: %s failed (errno %d)", what, errno);
}

} // namespace

// Makes the mode a run enters the running one and restores the one before when the run
// leaves, also by an exception.
class RunLoop::CurrentModeScope {
public:
    CurrentModeScope(RunLoop& loop, const std::string& mode)
        : _loop(loop)
        , _outer(loop._runningMode.exchange(&mode, std::memory_order_acq_rel))
    {
    }
    ~CurrentModeScope() { _loop._runningMode.store(_outer, std::memory_order_release); }
    CurrentModeScope(const CurrentModeScope&) = delete;
    CurrentModeScope& operator=(const CurrentModeScope&) = delete;

private:
    RunLoop& _loop;
    const std::string* const _outer;
};

RunLoop::RunLoop(bool isMain)
    : _isMain(isMain)
    , _thread(isMain ? pthread_t {} : pthread_self())
    , _epoll(epoll_create1(EPOLL_CLOEXEC))
    , _wakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    , _timerFd(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
{
    if (_epoll < 0 || _wakeFd < 0 || _timerFd < 0)
        raiseSystemError("epoll, eventfd or timerfd");
    for (int fd : { _wakeFd, _timerFd }) {
        epoll_event event {};
        event.events = EPOLLIN;
        event.data.fd = fd;
        if (epoll_ctl(_epoll, EPOLL_CTL_ADD, fd, &event) != 0)
            raiseSystemError("epoll_ctl");
    }
    {
        Locker guard(_lock);
        _commonModes.insert(kCFRunLoopDefaultMode);
        _commonItems = std::make_unique<Mode>();
    }
    startBackEnd();
}

RunLoop::~RunLoop()
{
    {
        Locker guard(_lock);
        for (auto& [name, mode] : _modes) {
            for (auto& timer : mode->timers)
                timer->setRunLoop(nullptr);
        }
        for (auto& timer : _commonItems->timers)
            timer->setRunLoop(nullptr);
    }
    stopBackEnd();
    close(_epoll);
    close(_wakeFd);
    close(_timerFd);
}

bool RunLoop::isLoopThread() const
{
    return _isMain ? Thread::isMainThread() : pthread_equal(pthread_self(), _thread) != 0;
}

RunLoop* RunLoop::currentRunLoop()
{
    if (Thread::isMainThread())
        return mainRunLoop();
    if (!currentLoop)
        currentLoop = make<RunLoop>(false);
    return currentLoop.get();
}

RunLoop* RunLoop::mainRunLoop()
{
    if (RunLoop* loop = mainLoop.load(std::memory_order_acquire))
        return loop;
    Locker guard(mainLoopLock);
    if (!mainLoop.load(std::memory_order_relaxed))
        mainLoop.store(make<RunLoop>(true).leakRef(), std::memory_order_release); // lives for the process
    return mainLoop.load(std::memory_order_relaxed);
}

Ref<String> RunLoop::currentMode() const
{
    const std::string* mode = _runningMode.load(std::memory_order_acquire);
    return mode ? String::withUTF8(*mode) : nullptr;
}

void RunLoop::addCommonMode(std::string_view mode)
{
    Locker guard(_lock);
    if (mode != kCFRunLoopCommonModes)
        _commonModes.emplace(mode);
    ++_itemsGeneration;
    ++_modesGeneration;
}

bool RunLoop::isCommonMode(std::string_view mode) const
{
    Locker guard(_lock);
    return _commonModes.find(mode) != _commonModes.end();
}

const RunLoop::ModeLookup& RunLoop::lookUpMode(std::string_view mode)
{
    if (_lastLookup.generation != _modesGeneration || _lastLookup.name != mode) {
        auto found = _modes.find(mode);
        _lastLookup = { std::string(mode), _modesGeneration, found == _modes.end() ? nullptr : found->second.get(), _commonModes.count(mode) > 0 };
    }
    return _lastLookup;
}

RunLoop::Mode& RunLoop::modeForAdding(std::string_view mode)
{
    ++_itemsGeneration;
    if (mode == kCFRunLoopCommonModes)
        return *_commonItems;
    if (Mode* items = lookUpMode(mode).items)
        return *items;
    auto& made = *_modes.emplace(std::string(mode), std::make_unique<Mode>()).first->second;
    ++_modesGeneration;
    return made;
}

template <typename Function>
void RunLoop::forEachItemsOf(const std::string& mode, Function&& function)
{
    const ModeLookup& lookup = lookUpMode(mode);
    if (lookup.items)
        function(*lookup.items);
    if (lookup.isCommon)
        function(*_commonItems);
}

template <typename T>
void RunLoop::addItem(std::vector<Ref<T>> RunLoopMode::*list, T* item, std::string_view mode, bool mayBeThere)
{
    if (!item)
        return;
    {
        Locker guard(_lock);
        auto& items = modeForAdding(mode).*list;
        if (!mayBeThere || !containsItem(items, item)) {
            items.emplace_back(item);
            countItem(item, true);
        }
    }
    wakeUp(); // a waiting loop looks at its items again
}

template <typename T>
void RunLoop::removeItem(std::vector<Ref<T>> RunLoopMode::*list, T* item, std::string_view mode)
{
    std::vector<Ref<Object>> released; // dropped after the lock
    Locker guard(_lock);
    auto& items = modeForAdding(mode).*list;
    auto found = std::find_if(items.begin(), items.end(), [&](const Ref<T>& each) { return each.get() == item; });
    if (found == items.end())
        return;
    released.emplace_back(found->get());
    items.erase(found);
    countItem(item, false);
}

template <typename T>
void RunLoop::countItem(T* item, bool added)
{
    auto count = [added](std::atomic<size_t>& counter) {
        if (added)
            counter.fetch_add(1, std::memory_order_relaxed);
        else
            counter.fetch_sub(1, std::memory_order_relaxed);
    };
    if constexpr (std::is_same_v<T, Timer>)
        count(_timerCount);
    if constexpr (std::is_same_v<T, RunLoopSource>) {
        if (item->fileDescriptor() < 0)
            count(_signalledSourceCount);
    }
}

void RunLoop::addPort(Port* port, std::string_view mode) { addItem(&RunLoopMode::ports, port, mode); }
void RunLoop::removePort(Port* port, std::string_view mode) { removeItem(&RunLoopMode::ports, port, mode); }
void RunLoop::addSource(RunLoopSource* source, std::string_view mode) { addItem(&RunLoopMode::sources, source, mode); }
void RunLoop::removeSource(RunLoopSource* source, std::string_view mode) { removeItem(&RunLoopMode::sources, source, mode); }
void RunLoop::addObserver(RunLoopObserver* observer, std::string_view mode)
{
    if (observer)
        _observedActivities.fetch_or(observer->activities(), std::memory_order_relaxed);
    addItem(&RunLoopMode::observers, observer, mode);
}
void RunLoop::removeObserver(RunLoopObserver* observer, std::string_view mode) { removeItem(&RunLoopMode::observers, observer, mode); }

void RunLoop::addTimer(Timer* timer, std::string_view mode)
{
    if (!timer || !timer->isValid())
        return;
    // A timer in no loop yet is in no mode: no need to look for it.
    const bool wasHere = timer->setRunLoop(this) == this;
    addItem(&RunLoopMode::timers, timer, mode, wasHere);
}

void RunLoop::performSelector(Selector selector, Object* target, Object* argument, uint32_t order, const Array* modes)
{
    std::vector<std::string> names;
    for (uint32_t i = 0; modes && i < modes->count(); ++i) {
        if (auto* mode = dynamic_cast<String*>(modes->objectAtIndex(i).get()))
            names.push_back(mode->utf8());
    }
    performSelector(selector, target, argument, order, names);
}

void RunLoop::performSelector(Selector selector, Object* target, Object* argument, uint32_t order, const std::vector<std::string>& modes)
{
    if (!target || !selector || modes.empty())
        return;
    {
        Locker guard(_lock);
        const uint64_t sequence = _nextPerformSequence.load(std::memory_order_relaxed);
        _performs.push_back(Perform { selector, target, argument, order, sequence, sharedModeList(modes) });
        _performCount.store(_performs.size(), std::memory_order_relaxed);
        _nextPerformSequence.store(sequence + 1, std::memory_order_release);
    }
    wakeUp();
}

std::shared_ptr<const std::vector<std::string>> RunLoop::sharedModeList(const std::vector<std::string>& modes)
{
    // A loop's performs use a few lists again and again (the common modes, mostly): the first
    // few are kept and shared, so a perform copies no names.
    constexpr size_t Kept = 8;
    for (const auto& list : _modeLists) {
        if (*list == modes)
            return list;
    }
    auto list = std::make_shared<const std::vector<std::string>>(modes);
    if (_modeLists.size() < Kept)
        _modeLists.push_back(list);
    return list;
}

template <typename Matches>
void RunLoop::cancelPerforms(const Matches& matches)
{
    if (_performCount.load(std::memory_order_relaxed) == 0)
        return; // nothing scheduled: no lock, no copy
    std::vector<Perform> cancelled; // released after the lock
    Locker guard(_lock);
    auto first = std::find_if(_performs.begin(), _performs.end(), matches);
    if (first == _performs.end())
        return; // nothing matches, the usual case: no partition buffer
    auto end = std::stable_partition(first, _performs.end(), [&](const Perform& perform) { return !matches(perform); });
    std::move(end, _performs.end(), std::back_inserter(cancelled));
    _performs.erase(end, _performs.end());
    _performCount.store(_performs.size(), std::memory_order_relaxed);
}

void RunLoop::cancelPerformSelector(Selector selector, Object* target, Object* argument)
{
    cancelPerforms([&](const Perform& perform) {
        if (perform.selector != selector || perform.target.get() != target)
            return false;
        if (!perform.argument || !argument)
            return !perform.argument && !argument;
        return perform.argument.get() == argument || perform.argument->isEqual(argument);
    });
}

void RunLoop::cancelPerformSelectorsWithTarget(Object* target)
{
    cancelPerforms([&](const Perform& perform) { return perform.target.get() == target; });
}

bool RunLoop::performMatches(const Perform& perform, const std::string& mode)
{
    static constexpr std::string_view common(kCFRunLoopCommonModes, sizeof kCFRunLoopCommonModes - 1);
    for (const auto& each : *perform.modes) {
        if (each == mode)
            return true;
        if (each == common && lookUpMode(mode).isCommon)
            return true;
    }
    return false;
}

bool RunLoop::hasItems(const std::string& mode)
{
    if (_modeWithSources.holds(mode, _itemsGeneration.load(std::memory_order_acquire)))
        return true; // no lock
    Locker guard(_lock);
    bool hasSources = false;
    bool found = false;
    forEachItemsOf(mode, [&](const RunLoopMode& items) {
        hasSources = hasSources || !items.ports.empty() || !items.sources.empty();
        found = found || std::any_of(items.timers.begin(), items.timers.end(), [](const Ref<Timer>& t) { return t->isValid(); });
    });
    if (hasSources) {
        _modeWithSources = { mode, _itemsGeneration.load(std::memory_order_relaxed) };
        return true;
    }
    if (found)
        return true;
    for (const auto& perform : _performs) {
        if (performMatches(perform, mode))
            return true;
    }
    return false;
}

void RunLoop::notifyObservers(const std::string& mode, RunLoopActivity activity)
{
    if (!(_observedActivities.load(std::memory_order_relaxed) & activity))
        return; // no observer ever asked for it: no lock
    std::vector<Ref<RunLoopObserver>> observers;
    {
        Locker guard(_lock);
        auto collect = [&](RunLoopMode& items) {
            for (const auto& observer : items.observers) {
                if (observer->isValid() && (observer->activities() & activity))
                    observers.push_back(observer);
            }
        };
        forEachItemsOf(mode, collect);
    }
    if (observers.empty())
        return;
    std::stable_sort(observers.begin(), observers.end(), [](const auto& a, const auto& b) { return a->order() < b->order(); });
    for (auto& observer : observers)
        observer->observe(activity);
}

uint32_t RunLoop::fireTimers(const std::string& mode)
{
    if (_timerCount.load(std::memory_order_relaxed) == 0)
        return 0; // no timer in any mode: no lock
    std::vector<Ref<Timer>> timers;
    std::vector<Ref<Object>> released;
    std::optional<Clock::time_point> now; // read only when the mode has timers
    {
        Locker guard(_lock);
        auto collect = [&](RunLoopMode& items) {
            if (items.timers.empty())
                return;
            if (!now)
                now = Clock::now();
            // Invalidated timers leave the mode here.
            auto end = std::stable_partition(items.timers.begin(), items.timers.end(), [](const Ref<Timer>& t) { return t->isValid(); });
            for (auto it = end; it != items.timers.end(); ++it)
                released.emplace_back(it->get());
            _timerCount.fetch_sub(static_cast<size_t>(items.timers.end() - end), std::memory_order_relaxed);
            items.timers.erase(end, items.timers.end());
            for (const auto& timer : items.timers) {
                if (timer->fireTime() <= *now)
                    timers.push_back(timer);
            }
        };
        forEachItemsOf(mode, collect);
    }
    if (timers.empty())
        return 0;
    std::stable_sort(timers.begin(), timers.end(), [](const auto& a, const auto& b) { return a->fireTime() < b->fireTime(); });
    uint32_t fired = 0;
    for (auto& timer : timers) {
        if (!timer->fireIfDue(*now))
            continue;
        ++fired;
        notifyObservers(mode, kYKRunLoopAfterCallout);
    }
    return fired;
}

bool RunLoop::runPerforms(const std::string& mode, uint64_t mark)
{
    bool ran = false;
    while (true) {
        if (_performCount.load(std::memory_order_relaxed) == 0)
            return ran;
        Perform perform;
        {
            Locker guard(_lock);
            auto best = _performs.end();
            for (auto it = _performs.begin(); it != _performs.end(); ++it) {
                if (it->sequence >= mark || !performMatches(*it, mode))
                    continue;
                if (best == _performs.end() || it->order < best->order)
                    best = it;
            }
            if (best == _performs.end())
                return ran;
            perform = std::move(*best);
            _performs.erase(best);
            _performCount.store(_performs.size(), std::memory_order_relaxed);
        }
        ran = true;
        // perform owns target and argument: they are released when it leaves scope, after the
        // call returned or raised. send, unlike performSelector, binds the method once per class.
        sendWithOptionalObject(perform.target.get(), perform.selector, perform.argument.get());
        notifyObservers(mode, kYKRunLoopAfterCallout);
    }
}

bool RunLoop::handleSources(const std::string& mode, const ReadyDescriptors& readyDescriptors)
{
    if (readyDescriptors.empty() && _signalledSourceCount.load(std::memory_order_relaxed) == 0)
        return false; // nothing can be due: no lock
    auto isReady = [&](int fd) { return std::find(readyDescriptors.begin(), readyDescriptors.end(), fd) != readyDescriptors.end(); };
    auto isDue = [&](const RunLoopSource& source) { return source.fileDescriptor() < 0 ? source.isSignalled() : isReady(source.fileDescriptor()); };
    // Only the items that have something to handle leave the lock, so an idle pass copies none.
    SmallVector<Ref<Port>, 4> ports;
    SmallVector<Ref<RunLoopSource>, 4> sources;
    {
        Locker guard(_lock);
        auto collect = [&](RunLoopMode& items) {
            for (const auto& port : items.ports) {
                if (isReady(port->fileDescriptor()) && !containsItem(ports, port.get()))
                    ports.push_back(port);
            }
            for (const auto& source : items.sources) {
                if (isDue(*source))
                    sources.push_back(source);
            }
        };
        forEachItemsOf(mode, collect);
    }

    // Ports first (order 0 among sources), then sources by order.
    bool handled = false;
    for (auto& port : ports) {
        if (port->handleEvent()) {
            handled = true;
            notifyObservers(mode, kYKRunLoopAfterCallout);
        }
    }
    std::stable_sort(sources.begin(), sources.end(), [](const auto& a, const auto& b) { return a->order() < b->order(); });
    for (auto& source : sources) {
        if (!source->isValid() || !isDue(*source))
            continue;
        source->perform();
        handled = true;
        notifyObservers(mode, kYKRunLoopAfterCallout);
    }
    return handled;
}

void RunLoop::syncInterest(const std::string& mode)
{
    if (_watchedMode.holds(mode, _itemsGeneration.load(std::memory_order_acquire)))
        return; // nothing changed: no lock
    std::set<int> wanted;
    uint64_t generation;
    {
        Locker guard(_lock);
        generation = _itemsGeneration.load(std::memory_order_relaxed);
        if (_watchedMode.holds(mode, generation))
            return;
        auto collect = [&](RunLoopMode& items) {
            for (const auto& port : items.ports)
                wanted.insert(port->fileDescriptor());
            for (const auto& source : items.sources) {
                if (source->fileDescriptor() >= 0)
                    wanted.insert(source->fileDescriptor());
            }
        };
        forEachItemsOf(mode, collect);
    }
    // Rebuilt whole: a descriptor closed and reused under the same number must be added anew.
    for (int fd : _watched)
        epoll_ctl(_epoll, EPOLL_CTL_DEL, fd, nullptr);
    for (int fd : wanted) {
        epoll_event event {};
        event.events = EPOLLIN;
        event.data.fd = fd;
        epoll_ctl(_epoll, EPOLL_CTL_ADD, fd, &event);
    }
    _watched = std::move(wanted);
    _watchedMode = { mode, generation };
    watchedDescriptorsChanged();
}

std::optional<RunLoop::Clock::time_point> RunLoop::nextTimerDate(const std::string& mode)
{
    if (_timerCount.load(std::memory_order_relaxed) == 0)
        return std::nullopt;
    Locker guard(_lock);
    std::optional<Clock::time_point> next;
    auto collect = [&](RunLoopMode& items) {
        for (const auto& timer : items.timers) {
            if (!timer->isValid())
                continue;
            const auto time = timer->fireTime();
            if (!next || time < *next)
                next = time;
        }
    };
    forEachItemsOf(mode, collect);
    return next;
}

RunLoop::ReadyDescriptors RunLoop::readyDescriptors(int timeout)
{
    epoll_event events[32];
    const int count = epoll_wait(_epoll, events, 32, timeout);
    ReadyDescriptors ready;
    for (int i = 0; i < count; ++i) {
        if (!drainIfOwn(events[i].data.fd))
            ready.push_back(events[i].data.fd);
    }
    return ready;
}

bool RunLoop::drainIfOwn(int fd)
{
    if (fd != _wakeFd && fd != _timerFd)
        return false;
    uint64_t drained;
    [[maybe_unused]] auto ignored = read(fd, &drained, sizeof drained);
    // Cleared after the read, reading the last waker's mark: its work is visible to this pass,
    // and a later waker writes again.
    if (fd == _wakeFd)
        _wakePending.exchange(false, std::memory_order_acq_rel);
    return true;
}

void RunLoop::armTimer(const std::string& mode, Clock::time_point limit)
{
    auto deadline = limit;
    if (auto next = nextTimerDate(mode); next && *next < deadline)
        deadline = *next;
    // The timerfd keeps its setting until it expires: the same deadline, still ahead (or none),
    // needs no system call, which spares a loop without timers one on every sleep.
    if (deadline == _armedDeadline && (deadline == Clock::time_point::max() || deadline > Clock::now()))
        return;
    _armedDeadline = deadline;
    itimerspec spec {};
    if (deadline != Clock::time_point::max()) {
        const auto since = deadline.time_since_epoch();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
        spec.it_value.tv_sec = std::max<int64_t>(seconds.count(), 0);
        spec.it_value.tv_nsec = std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds).count();
        if (spec.it_value.tv_sec == 0 && spec.it_value.tv_nsec == 0)
            spec.it_value.tv_nsec = 1; // zero would disarm it
    }
    timerfd_settime(_timerFd, TFD_TIMER_ABSTIME, &spec, nullptr);
}

const std::string& RunLoop::dispatchMode() const
{
    static const std::string defaultMode(kCFRunLoopDefaultMode);
    const std::string* mode = _runningMode.load(std::memory_order_relaxed); // set by this thread
    return mode ? *mode : defaultMode;
}

bool RunLoop::mayPostponeSources(bool mayWait)
{
    // Right after a wait, a pass that has performs to run (those its handlers scheduled, such
    // as a main-thread perform's) runs them without another poll: the pass returns once they
    // ran, and the next one polls, so no descriptor waits more than a pass. A pass without
    // performs polls as it would, and may then sleep.
    const bool justWaited = std::exchange(_justWaited, false);
    return mayWait && justWaited && _performCount.load(std::memory_order_relaxed) > 0;
}

bool RunLoop::runPass(const std::string& mode, Clock::time_point limit, bool mayWait, bool* limitPassed)
{
    _wokenOnLoopThread = false; // the pass looks at everything asked for so far
    // What is ready as the pass begins; later arrivals wait for the next pass.
    const auto readyAtStart = mayPostponeSources(mayWait) ? ReadyDescriptors() : readyAtPassStart(mode, mayWait);
    // The performs the pass runs, counted after its poll: the poll drains the wake-ups of all
    // performs asked for so far, and one asked for between the count and the poll would sleep
    // until some other event.
    uint64_t mark = _nextPerformSequence.load(std::memory_order_acquire);

    notifyObservers(mode, kCFRunLoopBeforeTimers);
    fireTimers(mode);
    notifyObservers(mode, kCFRunLoopBeforeSources);
    bool handled = runPerforms(mode, mark);
    handled = handleSources(mode, readyAtStart) || handled;
    if (handled || !mayWait)
        return handled;
    if (Clock::now() >= limit) {
        if (limitPassed)
            *limitPassed = true;
        return false;
    }
    if (!hasItems(mode))
        return false;

    notifyObservers(mode, kCFRunLoopBeforeWaiting);
    const auto ready = waitForEvents(mode, limit);
    _justWaited = true;
    mark = _nextPerformSequence.load(std::memory_order_acquire);
    notifyObservers(mode, kCFRunLoopAfterWaiting);
    fireTimers(mode);
    handled = runPerforms(mode, mark);
    handled = handleSources(mode, ready) || handled;
    return handled;
}

void RunLoop::runDispatchedPass()
{
    const std::string& mode = dispatchMode();
    CurrentModeScope scope(*this, mode);
    runPass(mode, Clock::now(), false);
    notifyObservers(mode, kCFRunLoopBeforeWaiting);
}

const std::string& RunLoop::runModeName(std::string_view mode)
{
    if (_lastRunModeName && *_lastRunModeName == mode)
        return *_lastRunModeName; // a run mostly goes back to the mode the last one ran in
    auto found = _runModeNames.find(mode);
    if (found == _runModeNames.end())
        found = _runModeNames.emplace(mode).first;
    _lastRunModeName = &*found;
    return *found;
}

bool RunLoop::runMode(std::string_view modeName, Clock::time_point limit)
{
    const std::string& mode = runModeName(modeName);
    if (mode == kCFRunLoopCommonModes || !hasItems(mode))
        return false;
    CurrentModeScope scope(*this, mode);
    notifyObservers(mode, kCFRunLoopEntry);
    bool limitPassed = false;
    while (!runPass(mode, limit, true, &limitPassed)) {
        if (limitPassed || Clock::now() >= limit || !hasItems(mode))
            break;
    }
    notifyObservers(mode, kCFRunLoopExit);
    return true;
}

bool RunLoop::runMode(std::string_view mode, const Date* limitDate)
{
    return runMode(mode, monotonicTimeForDate(limitDate));
}

void RunLoop::runUntilDate(const Date* limitDate)
{
    const auto limit = monotonicTimeForDate(limitDate);
    while (Clock::now() < limit && runMode(kCFRunLoopDefaultMode, limit)) { }
}

void RunLoop::run()
{
    while (runMode(kCFRunLoopDefaultMode, Clock::time_point::max())) { }
}

Ref<Date> RunLoop::limitDateForMode(std::string_view modeName)
{
    const std::string& mode = runModeName(modeName);
    if (mode == kCFRunLoopCommonModes)
        return nullptr;
    {
        CurrentModeScope scope(*this, mode);
        runPass(mode, Clock::now(), false);
    }
    auto next = nextTimerDate(mode);
    return next ? dateForMonotonicTime(*next) : nullptr;
}

} // namespace yk
