#include <Yarkit/YKThreadPerformer.h>

#include <Yarkit/MainThreadPerform.h>
#include <Yarkit/YKPerformHolder.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/threads/ConditionLocker.h>
#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/PortMessage.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <sched.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace yk {

YK_DEFINE_CLASS(YKThreadPerformer, [](MethodListBuilder& c) { c.method("handleMachMessage:", &YKThreadPerformer::handleMachMessage); });
YK_DEFINE_CLASS(YKPerformHolder, [](MethodListBuilder& c) { c.method("fire", &YKPerformHolder::fire); });

namespace {

std::atomic<YKThreadPerformer*> mainThreadPerformerInstance { nullptr }; // lives for the process

// The modes of the two-argument form, made once: an array and its names for the run loop.
const Array* commonModes()
{
    static Array* const modes = Array::arrayWithObjects({ String::withUTF8(kCFRunLoopCommonModes) }).leakRef(); // lives for the process
    return modes;
}
// The holder's method the run loop is asked to perform, once per mode.
const Selector& fireSelector()
{
    static const Selector fire("fire");
    return fire;
}

const std::vector<std::string>& commonModeNames()
{
    static const std::vector<std::string> names { kCFRunLoopCommonModes };
    return names;
}

// A hint to the CPU that the thread is busy-waiting: it saves power and lets a sibling
// hardware thread run.
inline void cpuRelax()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

bool mayRunOnMoreThanOneCPU()
{
    cpu_set_t cpus;
    return sched_getaffinity(0, sizeof cpus, &cpus) == 0 && CPU_COUNT(&cpus) > 1;
}

// How long a waiting caller watches the done flag before it sleeps on the lock: four times the
// main thread's typical answer, within 50 us and 1 ms, as an adaptive mutex spins for a multiple
// of its typical wait. Waking the main thread takes 20 us on one machine and 50 us on another; a
// fixed limit fits only one, and a caller that gives up too soon pays a second wake-up, its own.
class WatchLimit {
public:
    static std::chrono::microseconds current()
    {
        return std::chrono::microseconds(std::clamp(4 * s_typical.load(std::memory_order_relaxed), Least, Most));
    }
    // Folds one answer time into the average, where each counts for an eighth. Races between
    // callers only blur it.
    static void note(std::chrono::steady_clock::duration answer)
    {
        const int64_t sample = std::min(std::chrono::duration_cast<std::chrono::microseconds>(answer).count(), Most);
        const int64_t typical = s_typical.load(std::memory_order_relaxed);
        s_typical.store(typical + (sample - typical) / 8, std::memory_order_relaxed);
    }

private:
    static constexpr int64_t Least = 50;
    static constexpr int64_t Most = 1000;
    static inline std::atomic<int64_t> s_typical { 25 }; // microseconds
};

// Waits until the holder has run. The main thread usually answers within tens of microseconds,
// so the caller first watches the holder's done flag for a while (`WatchLimit`), which costs
// less than sleeping and being woken; it watches the flag rather than the lock, whose mutex the
// main thread needs to signal it. When the process may run on more than one CPU, the caller
// watches in short busy loops, yielding between them, and sees the answer within a fraction of a
// microsecond; on one CPU it only yields, which hands the CPU to the main thread.
void waitForHolder(ConditionLock& lock, const std::atomic<bool>& done)
{
    using Clock = std::chrono::steady_clock;
    static const bool busyWaits = mayRunOnMoreThanOneCPU();
    const auto start = Clock::now();
    auto isDone = [&] { return done.load(std::memory_order_acquire); };
    auto watch = [&] {
        for (auto now = start, giveUp = start + WatchLimit::current(); now < giveUp; now = Clock::now()) {
            for (const auto yieldAt = now + std::chrono::microseconds(2); busyWaits && Clock::now() < yieldAt; cpuRelax()) {
                if (isDone())
                    return true;
            }
            if (isDone())
                return true;
            std::this_thread::yield();
        }
        return isDone();
    };
    if (!watch()) {
        lock.lockWhenCondition(1);
        lock.unlock();
    }
    WatchLimit::note(Clock::now() - start);
}

} // namespace

YKThreadPerformer::YKThreadPerformer()
    : _port(Port::port())
{
    _port->setDelegate(this);
    RunLoop::currentRunLoop()->addPort(_port.get(), kCFRunLoopCommonModes);
}

YKThreadPerformer::~YKThreadPerformer()
{
    _port->setDelegate(nullptr);
    _port->invalidate();
}

void YKThreadPerformer::createMainThreadPerformer()
{
    if (!mainThreadPerformerInstance.load(std::memory_order_acquire))
        mainThreadPerformerInstance.store(make<YKThreadPerformer>().leakRef(), std::memory_order_release);
}

YKThreadPerformer* YKThreadPerformer::mainThreadPerformer()
{
    YKThreadPerformer* performer = mainThreadPerformerInstance.load(std::memory_order_acquire);
    if (!performer)
        raise(NSInternalInconsistencyException, "s_mainThreadPerformer == nil");
    return performer;
}

void YKThreadPerformer::addHolder(YKPerformHolder* holder)
{
    bool wasEmpty;
    {
        Locker guard(_lock);
        wasEmpty = _holders.empty();
        _holders.emplace_back(holder);
    }
    // Holders already waiting have a message on its way, whose drain takes this one too.
    if (wasEmpty)
        static_cast<void>(_port->send()); // a failed or merged wake-up loses nothing
}

void YKThreadPerformer::handleMachMessage(PortMessage*)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    while (true) {
        _draining.clear(); // the last round's holders, also when scheduling one raised
        {
            Locker guard(_lock);
            if (_holders.empty())
                return;
            _draining.swap(_holders);
        }
        for (auto& holder : _draining) {
            if (holder->modes() == commonModes())
                loop->performSelector(fireSelector(), holder.get(), nullptr, 0, commonModeNames());
            else
                loop->performSelector(fireSelector(), holder.get(), nullptr, 0, holder->modes());
        }
    }
}

YKPerformHolder::YKPerformHolder(Object* target, Selector selector, Object* argument, Array* modes, ConditionLock* lock)
    : _target(target)
    , _selector(selector)
    , _argument(argument)
    , _modes(modes)
    , _lock(lock)
{
}

YKPerformHolder::~YKPerformHolder()
{
    cleanup();
}

void YKPerformHolder::fire()
{
    if (!_target)
        return;
    Ref<YKPerformHolder> protectedThis(this);
    // Scheduled once per mode; it runs once.
    RunLoop::currentRunLoop()->cancelPerformSelector(fireSelector(), this, nullptr);
    Ref<Object> target = _target;
    sendWithOptionalObject(target.get(), _selector, _argument.get());
    cleanup();
}

void YKPerformHolder::cleanup()
{
    _target = nullptr;
    _selector = Selector();
    _argument = nullptr;
    _modes = nullptr;
    if (Ref<ConditionLock> lock = std::move(_lock)) {
        // The caller's flag first: a caller that sees it returns at once, and nothing of its is
        // touched afterwards. The lock, kept alive here, then releases a caller asleep on it.
        if (std::atomic<bool>* done = std::exchange(_done, nullptr))
            done->store(true, std::memory_order_release);
        lock->lock();
        lock->unlockWithCondition(1);
    }
}

void YK_performSelectorOnMainThread(Object* receiver, Selector selector, Object* argument, bool waitUntilDone, const Array* modes)
{
    if (!modes)
        return;
    if (!Thread::isMainThread()) {
        Ref<ConditionLock> lock = waitUntilDone ? make<ConditionLock>(0) : nullptr;
        std::atomic<bool> done { false };
        {
            auto holder = make<YKPerformHolder>(receiver, selector, argument, const_cast<Array*>(modes), lock.get());
            if (lock)
                holder->setDoneFlag(&done);
            YKThreadPerformer::mainThreadPerformer()->addHolder(holder.get());
        }
        if (lock)
            waitForHolder(*lock, done);
        return;
    }
    if (!waitUntilDone) {
        RunLoop::currentRunLoop()->performSelector(selector, receiver, argument, 0, modes);
        return;
    }
    if (!receiver)
        return;
    try {
        sendWithOptionalObject(receiver, selector, argument);
    } catch (const Exception& exception) {
        log("*** NSThread ignoring exception '%@' that raised during thread perform of target 0x%lx and selector '%s'", exception.name().get(),
            static_cast<unsigned long>(reinterpret_cast<uintptr_t>(receiver)), selector.name());
    }
}

void YK_performSelectorOnMainThread(Object* receiver, Selector selector, Object* argument, bool waitUntilDone)
{
    YK_performSelectorOnMainThread(receiver, selector, argument, waitUntilDone, commonModes());
}

} // namespace yk
