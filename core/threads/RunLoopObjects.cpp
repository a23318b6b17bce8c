// The run loop's items that do not depend on its back end: observers, sources, ports, port
// messages and timers.

#include <Yarkit/core/threads/RunLoopObserver.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/PortMessage.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopSource.h>
#include <Yarkit/core/threads/Timer.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace yk {

YK_DEFINE_CLASS(RunLoopObserver);
YK_DEFINE_CLASS(RunLoopSource);
YK_DEFINE_CLASS(Port);
YK_DEFINE_CLASS(PortMessage);
YK_DEFINE_CLASS(Timer);

RunLoopObserver::RunLoopObserver(uint32_t activities, bool repeats, int32_t order, Callback callback)
    : _activities(activities)
    , _repeats(repeats)
    , _order(order)
    , _callback(std::move(callback))
{
}

void RunLoopObserver::observe(RunLoopActivity activity)
{
    if (!isValid() || !(_activities & activity))
        return;
    if (!_repeats)
        invalidate();
    Ref<RunLoopObserver> protectedThis(this);
    if (_callback)
        _callback(this, activity);
}

RunLoopSource::RunLoopSource(int32_t order, Callback callback)
    : RunLoopSource(-1, order, std::move(callback))
{
}

RunLoopSource::RunLoopSource(int fileDescriptor, int32_t order, Callback callback)
    : _fileDescriptor(fileDescriptor)
    , _order(order)
    , _callback(std::move(callback))
{
}

Ref<RunLoopSource> RunLoopSource::sourceWithFileDescriptor(int fileDescriptor, int32_t order, Callback callback)
{
    return make<RunLoopSource>(fileDescriptor, order, std::move(callback));
}

void RunLoopSource::perform()
{
    _signalled.store(false, std::memory_order_release);
    if (!isValid() || !_callback)
        return;
    Ref<RunLoopSource> protectedThis(this);
    _callback();
}

Port::Port()
    : _sendState { eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC) }
{
    if (_sendState.fileDescriptor < 0)
        raise(NSInternalInconsistencyException, "*** -[Port init]: eventfd failed (errno %d)", errno);
}

Port::~Port()
{
    close(_sendState.fileDescriptor);
}

Ref<Port> Port::port()
{
    return make<Port>();
}

bool Port::send()
{
    if (!isValid())
        return false;
    const uint64_t one = 1;
    // Non-blocking: a counter that cannot take one more (never in practice) fails at once.
    return write(_sendState.fileDescriptor, &one, sizeof one) == sizeof one;
}

bool Port::sendBeforeDate(const Date*)
{
    return send();
}

void Port::invalidate()
{
    _sendState.valid.store(false, std::memory_order_release);
}

bool Port::handleEvent()
{
    uint64_t count = 0;
    if (read(_sendState.fileDescriptor, &count, sizeof count) != sizeof count || count == 0)
        return false; // another loop drained it first
    // Not retained for the call, as it is not retained by the port: the delegate is cleared
    // before it goes away.
    Object* delegate = this->delegate();
    if (!isValid() || !delegate)
        return true;
    auto message = make<PortMessage>(this, this, nullptr);
    if (Selector handler = handlerFor(delegate))
        yk::send(delegate, handler, message.get());
    return true;
}

Selector Port::handlerFor(const Object* delegate)
{
    const Class* cls = delegate->classObject();
    const uint64_t generation = Class::methodTablesGeneration();
    {
        Locker guard(_handlerLock);
        if (_handler.cls == cls && _handler.generation == generation)
            return _handler.selector;
    }
    static const Selector handleMachMessage("handleMachMessage:");
    static const Selector handlePortMessage("handlePortMessage:");
    Selector selector;
    if (delegate->respondsToSelector(handleMachMessage))
        selector = handleMachMessage;
    else if (delegate->respondsToSelector(handlePortMessage))
        selector = handlePortMessage;
    Locker guard(_handlerLock);
    _handler = { cls, generation, selector };
    return selector;
}

PortMessage::PortMessage(Port* sendPort, Port* receivePort, Array* components)
    : _sendPort(sendPort)
    , _receivePort(receivePort)
    , _components(components)
{
}

PortMessage::~PortMessage() = default;

bool PortMessage::sendBeforeDate(const Date* limitDate)
{
    return _sendPort && _sendPort->sendBeforeDate(limitDate);
}

std::chrono::steady_clock::time_point monotonicTimeForDate(const Date* date)
{
    return date ? monotonicTimeAfter(date->timeIntervalSinceNow()) : std::chrono::steady_clock::now();
}

std::chrono::steady_clock::time_point monotonicTimeAfter(TimeInterval seconds)
{
    using namespace std::chrono;
    const auto now = steady_clock::now();
    if (!(seconds > -1e9))
        return steady_clock::time_point::min() + hours(1);
    if (!(seconds < 1e9)) // the distant future
        return steady_clock::time_point::max();
    return now + duration_cast<steady_clock::duration>(duration<double>(seconds));
}

Ref<Date> dateForMonotonicTime(std::chrono::steady_clock::time_point time)
{
    using namespace std::chrono;
    if (time == steady_clock::time_point::max())
        return Date::dateWithTimeIntervalSinceNow(63113904000.0);
    return Date::dateWithTimeIntervalSinceNow(duration<double>(time - steady_clock::now()).count());
}

Timer::Timer(const Date* fireDate, TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats)
    : Timer(monotonicTimeForDate(fireDate), interval, target, selector, userInfo, repeats)
{
}

Timer::Timer(Clock::time_point fireTime, TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats)
    : _interval(repeats && !(interval > 0) ? 0.0001 : interval)
    , _repeats(repeats)
    , _selector(selector)
    , _fireTime(fireTime)
    , _target(target)
    , _userInfo(userInfo)
{
}

Timer::~Timer() = default;

Ref<Timer> Timer::timerWithTimeInterval(TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats)
{
    return make<Timer>(monotonicTimeAfter(interval > 0 ? interval : 0), interval, target, selector, userInfo, repeats);
}

Ref<Timer> Timer::scheduledTimerWithTimeInterval(TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats)
{
    auto timer = timerWithTimeInterval(interval, target, selector, userInfo, repeats);
    RunLoop::currentRunLoop()->addTimer(timer.get(), kCFRunLoopDefaultMode);
    return timer;
}

void Timer::sendMessage()
{
    Ref<Object> target;
    {
        Locker guard(_lock);
        target = _target;
    }
    if (!target || !_selector)
        return;
    Ref<Timer> protectedThis(this);
    sendWithOptionalObject(target.get(), _selector, this);
}

void Timer::fire()
{
    if (!isValid())
        return;
    if (_repeats) {
        sendMessage();
        return;
    }
    struct InvalidateAfter {
        Timer* timer;
        ~InvalidateAfter() { timer->invalidate(); }
    } invalidateAfter { this };
    sendMessage();
}

bool Timer::fireIfDue(Clock::time_point now)
{
    if (!isValid())
        return false;
    if (_repeats) {
        {
            Locker guard(_lock);
            if (_fireTime > now)
                return false;
            // A late timer fires once; its next date is the first multiple of the interval
            // after now, so the schedule keeps its phase.
            const auto step = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(_interval));
            const auto late = now - _fireTime;
            _fireTime += step * (late / step + 1);
        }
        sendMessage();
        return true;
    }
    if (fireTime() > now)
        return false;
    fire();
    return true;
}

void Timer::invalidate()
{
    if (!_valid.exchange(false, std::memory_order_acq_rel))
        return;
    Ref<Object> target;
    Ref<Object> userInfo;
    {
        Locker guard(_lock);
        target = std::move(_target);
        userInfo = std::move(_userInfo);
    }
    if (RunLoop* loop = _runLoop.load(std::memory_order_acquire))
        loop->wakeUp();
}

Ref<Date> Timer::fireDate() const
{
    return dateForMonotonicTime(fireTime());
}

void Timer::setFireDate(const Date* date)
{
    {
        Locker guard(_lock);
        _fireTime = monotonicTimeForDate(date);
    }
    if (RunLoop* loop = _runLoop.load(std::memory_order_acquire))
        loop->wakeUp();
}

Ref<Object> Timer::userInfo() const
{
    Locker guard(_lock);
    return _userInfo;
}

Timer::Clock::time_point Timer::fireTime() const
{
    Locker guard(_lock);
    return _fireTime;
}

} // namespace yk
