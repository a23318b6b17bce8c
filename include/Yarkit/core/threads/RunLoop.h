#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>
#include <Yarkit/core/runtime/SmallVector.h>
#include <Yarkit/core/runtime/ThreadSafety.h>
#include <Yarkit/core/threads/RunLoopObserver.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/String.h>

#include <chrono>
#include <functional>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <pthread.h>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace yk {

class Port;
class RunLoopSource;
class Timer;
struct RunLoopMode;

// The default mode, and the pseudo-mode that stands for every common mode. Their values are
// their names.
extern const char kCFRunLoopDefaultMode[];
extern const char kCFRunLoopCommonModes[];

// The event loop of one thread: it waits for its sources (ports, file descriptors, signalled
// sources), timers and ordered performs in a named mode and calls them out on its thread.
//
// Every thread has one, made on first use and released with the thread. Items are added per
// mode; an item added for kCFRunLoopCommonModes belongs to every common mode, including modes
// made common later with addCommonMode. The default mode is common from the start.
//
// Any thread may add or remove items, perform selectors on the loop and wake it; only the
// loop's own thread runs it. Callouts may run the loop again, in any mode. An exception raised
// by a callout leaves the run call; currentMode is restored and the loop stays usable.
//
// One pass: observers told BeforeTimers, due timers fire; BeforeSources, the performs and the
// port and source events present when the pass began run; if nothing was handled and the limit
// has not passed, observers are told BeforeWaiting and the thread sleeps until a source, the
// next timer of the running mode or wakeUp. The back end, chosen when the library is
// configured, decides how it sleeps: on its own epoll descriptor, or in a GMainContext (the
// main thread's is the default context, so a GLib main loop also runs the loop's items).
class RunLoop final : public Object {
    YK_OBJECT(RunLoop, Object)
public:
    using Clock = std::chrono::steady_clock;

    ~RunLoop() override;

    // The calling thread's loop, made on first use.
    static RunLoop* currentRunLoop();
    // The main thread's loop; any thread may ask.
    static RunLoop* mainRunLoop();

    // The mode the loop is running in, or null when it is not running.
    Ref<String> currentMode() const;

    // Makes a mode common: items added for kCFRunLoopCommonModes belong to it from now on.
    void addCommonMode(std::string_view mode);
    bool isCommonMode(std::string_view mode) const;

    // Items are retained while they are in the loop. Adding an item twice to a mode is
    // harmless; removing one not there does nothing.
    void addPort(Port* port, std::string_view mode);
    void removePort(Port* port, std::string_view mode);
    void addSource(RunLoopSource* source, std::string_view mode);
    void removeSource(RunLoopSource* source, std::string_view mode);
    // An invalidated timer leaves every mode.
    void addTimer(Timer* timer, std::string_view mode);
    void addObserver(RunLoopObserver* observer, std::string_view mode);
    void removeObserver(RunLoopObserver* observer, std::string_view mode);

    // performSelector:target:argument:order:modes: sends selector to target (with the argument
    // when the method takes one) once, on a later pass in one of the modes; lower orders run
    // first, equal orders in the order they were asked. Target and argument are retained until
    // the perform has run, raised or been cancelled. Any thread; wakes the loop.
    void performSelector(Selector selector, Object* target, Object* argument, uint32_t order, const Array* modes);
    void performSelector(Selector selector, Object* target, Object* argument, uint32_t order, const std::vector<std::string>& modes);
    // Cancels the waiting performs with this selector, target (identity) and argument (equal,
    // or both null).
    void cancelPerformSelector(Selector selector, Object* target, Object* argument);
    void cancelPerformSelectorsWithTarget(Object* target);

    // runMode:beforeDate: runs passes in the mode until a source, port message or perform was
    // handled, or the limit passed (timers firing do not end it). False at once, without
    // running, when the mode has no source, port, timer or perform to wait for.
    bool runMode(std::string_view mode, Clock::time_point limit);
    bool runMode(std::string_view mode, const Date* limitDate);
    // Runs the default mode until the date, or until it has nothing to wait for.
    void runUntilDate(const Date* limitDate);
    // Runs the default mode while it has something to wait for.
    void run();
    // limitDateForMode: one pass in the mode without waiting; the next timer's fire date in the
    // mode afterwards, or null when it has no timer.
    Ref<Date> limitDateForMode(std::string_view mode);

    // Wakes the loop if it is waiting, so that it looks at its items again. Any thread.
    void wakeUp();

    // Called by Port and RunLoopSource when their state changes (a source signalled, a timer
    // rescheduled): wakes the loop. Not for clients.
    void itemChanged() { wakeUp(); }

    struct Mode;
    struct Perform;
    struct BackEnd;
    // What the loop's thread learned about a mode's items, and the generation of the items it
    // learned it at: it holds while the generation does.
    struct ItemsSeen {
        std::string mode;
        uint64_t generation { ~uint64_t(0) };
        bool holds(const std::string& modeNow, uint64_t generationNow) const { return generationNow == generation && modeNow == mode; }
    };
    // A mode's items and whether it is common, as looked up.
    struct ModeLookup {
        std::string name;
        uint64_t generation { ~uint64_t(0) };
        Mode* items { nullptr };
        bool isCommon { false };
    };
    // The descriptors a poll found ready; a pass seldom has more than a few.
    using ReadyDescriptors = SmallVector<int, 8>;

private:
    explicit RunLoop(bool isMain);
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    class CurrentModeScope;

    template <typename T>
    void addItem(std::vector<Ref<T>> RunLoopMode::*list, T* item, std::string_view mode, bool mayBeThere = true) YK_EXCLUDES(_lock);
    template <typename T>
    void removeItem(std::vector<Ref<T>> RunLoopMode::*list, T* item, std::string_view mode) YK_EXCLUDES(_lock);
    // Keeps the counts passes read without the lock as an item joins or leaves a mode.
    template <typename T>
    void countItem(T* item, bool added) YK_REQUIRES(_lock);
    // Defined where it is used; a template, so a cancel builds no std::function.
    template <typename Matches>
    void cancelPerforms(const Matches& matches) YK_EXCLUDES(_lock);
    std::shared_ptr<const std::vector<std::string>> sharedModeList(const std::vector<std::string>& modes) YK_REQUIRES(_lock);

    // One pass in the mode; true when a source, port message or perform was handled.
    // limitPassed, when given, tells whether the pass ended without waiting because the limit
    // had passed.
    bool runPass(const std::string& mode, Clock::time_point limit, bool mayWait, bool* limitPassed = nullptr);
    bool hasItems(const std::string& mode) YK_EXCLUDES(_lock);
    void notifyObservers(const std::string& mode, RunLoopActivity activity);
    uint32_t fireTimers(const std::string& mode);
    bool runPerforms(const std::string& mode, uint64_t mark);
    bool handleSources(const std::string& mode, const ReadyDescriptors& readyDescriptors);
    // The back end's part: how a pass finds what is ready and how the loop sleeps.
    void startBackEnd();
    void stopBackEnd();
    ReadyDescriptors readyAtPassStart(const std::string& mode, bool mayWait);
    // Whether a pass that may wait can leave its descriptors to the next pass (see _justWaited).
    bool mayPostponeSources(bool mayWait);
    ReadyDescriptors waitForEvents(const std::string& mode, Clock::time_point limit);
    // Tells the back end that the watched descriptors (_watched) changed.
    void watchedDescriptorsChanged();
    // The ready descriptors of the epoll set (the wake-up and timer descriptors drained).
    ReadyDescriptors readyDescriptors(int timeout);
    // Drains the loop's own wake-up or timer descriptor; false for any other.
    bool drainIfOwn(int fd);
    // Arms the timerfd for the earlier of the mode's next timer and the limit.
    void armTimer(const std::string& mode, Clock::time_point limit);
    // The mode a pass not started by runMode runs in: the running mode, else the default one.
    // Only for the loop's own thread: the name lives as long as the run that holds it.
    const std::string& dispatchMode() const YK_EXCLUDES(_lock);
    // A pass the back end starts itself (a GLib dispatch): in dispatchMode, without waiting;
    // then observers are told the loop is about to wait, as it may sleep next.
    void runDispatchedPass();
    void syncInterest(const std::string& mode) YK_EXCLUDES(_lock);
    // Calls function with the mode's own items, then with the common items if the mode is common.
    template <typename Function>
    void forEachItemsOf(const std::string& mode, Function&& function) YK_REQUIRES(_lock);
    Mode& modeForAdding(std::string_view mode) YK_REQUIRES(_lock);
    const ModeLookup& lookUpMode(std::string_view mode) YK_REQUIRES(_lock);
    bool performMatches(const Perform& perform, const std::string& mode) YK_REQUIRES(_lock);
    std::optional<Clock::time_point> nextTimerDate(const std::string& mode);

    // The loop's own copy of a mode name a run was given: the running mode points at it, and a run
    // in a mode the loop has run before allocates nothing.
    const std::string& runModeName(std::string_view mode);

    // Whether the calling thread is the loop's own. The main loop may be made on any thread, so
    // it asks Thread rather than recording the thread that made it.
    bool isLoopThread() const;

    const bool _isMain;
    const pthread_t _thread; // the loop's own thread; unused for the main loop
    int _epoll { -1 };
    int _wakeFd { -1 };
    int _timerFd { -1 };

    mutable Mutex _lock;
    std::map<std::string, std::unique_ptr<Mode>, std::less<>> _modes YK_GUARDED_BY(_lock);
    std::set<std::string, std::less<>> _commonModes YK_GUARDED_BY(_lock);
    std::unique_ptr<Mode> _commonItems YK_GUARDED_BY(_lock);
    std::vector<Perform> _performs YK_GUARDED_BY(_lock);
    std::vector<std::shared_ptr<const std::vector<std::string>>> _modeLists YK_GUARDED_BY(_lock);
    // Changed under _lock, read without it: a pass notes the sequence as it begins and skips
    // the lock when no perform waits. The count is stored before the sequence is released.
    std::atomic<uint64_t> _nextPerformSequence { 0 };
    std::atomic<size_t> _performCount { 0 };
    // Advanced under _lock as a mode's items or the common modes change, before the change;
    // read without it to tell whether what the loop's thread last saw still holds.
    std::atomic<uint64_t> _itemsGeneration { 0 };
    // Advanced when a mode is made or made common.
    uint64_t _modesGeneration YK_GUARDED_BY(_lock) { 0 };
    // The last mode looked up, valid while _modesGeneration is unchanged (modes are never
    // erased, so the pointer stays good).
    ModeLookup _lastLookup YK_GUARDED_BY(_lock);
    // The timers in all modes, changed under _lock, read without it: a pass with none skips the
    // lock and the mode lookups that firing and arming them need.
    std::atomic<size_t> _timerCount { 0 };
    // The sources in all modes that are signalled rather than watched, kept alike: a pass with
    // no descriptor ready and none of these has no source to look at.
    std::atomic<size_t> _signalledSourceCount { 0 };
    // Every activity an observer of this loop has asked for, so passes skip the others.
    std::atomic<uint32_t> _observedActivities { 0 };
    // The mode of the innermost run, set by the loop's own thread as a run enters and leaves
    // (each run keeps the one it replaced), read by any: every name it points at is one of
    // _runModeNames, or the default mode's, and lives as long as the loop.
    std::atomic<const std::string*> _runningMode { nullptr };

    // Read and changed only by the loop's thread: the names of the modes it ran in (a few),
    // never erased, and which descriptors epoll watches now.
    std::set<std::string, std::less<>> _runModeNames;
    const std::string* _lastRunModeName { nullptr };
    // The mode last found to have a port or source: ports and sources leave only by a change of
    // the items, so while it holds, the mode has items.
    ItemsSeen _modeWithSources;
    std::set<int> _watched;
    ItemsSeen _watchedMode;
    // The deadline the timerfd is set to; max when it is disarmed, as it is made.
    Clock::time_point _armedDeadline { Clock::time_point::max() };
    // wakeUp called on the loop's own thread since the pass began (a callout or an observer
    // added work): the pass does not sleep, and under GLib the context dispatches the loop.
    bool _wokenOnLoopThread { false };
    // The last pass ended by handling what its wait found ready: the descriptors were polled a
    // moment ago, so a next pass with performs to run need not poll them again first.
    bool _justWaited { false };
    // A wake-up from another thread is on its way and the loop has not taken it yet: a second
    // wakeUp meanwhile does nothing. The generic loop takes it as it drains the wake-up eventfd,
    // the GLib one (woken through its context) as a pass begins.
    std::atomic<bool> _wakePending { false };
    struct BackEndDeleter {
        void operator()(BackEnd*) const;
    };
    std::unique_ptr<BackEnd, BackEndDeleter> _backEnd;
};

} // namespace yk
