#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>
#include <Yarkit/core/runtime/ThreadSafety.h>
#include <Yarkit/core/values/Date.h>

#include <atomic>
#include <chrono>

namespace yk {

class RunLoop;

// Sends a message to a target when a date comes, once or repeatedly, from the run loop it is
// added to. The method takes the timer (or nothing). Target and user info are retained until
// the timer is invalidated. Dates are kept on the monotonic clock, so changing the wall clock
// does not move a timer. A repeating timer that is late fires once and is rescheduled to the
// next multiple of its interval after now. A timer belongs to one loop.
class Timer final : public Object {
    YK_OBJECT(Timer, Object)
public:
    using Clock = std::chrono::steady_clock;

    // initWithFireDate:interval:target:selector:userInfo:repeats: An interval of zero or less
    // on a repeating timer is taken as 0.1 ms.
    Timer(const Date* fireDate, TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats);
    // The same with the fire time on the monotonic clock.
    Timer(Clock::time_point fireTime, TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats);
    ~Timer() override;

    // timerWithTimeInterval:target:selector:userInfo:repeats: not scheduled.
    [[nodiscard]] static Ref<Timer> timerWithTimeInterval(TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats);
    // scheduledTimerWithTimeInterval:...: added to the current loop's default mode.
    static Ref<Timer> scheduledTimerWithTimeInterval(TimeInterval interval, Object* target, Selector selector, Object* userInfo, bool repeats);

    // Sends the message now; a one-shot timer is invalidated afterwards (also when the method
    // raises), a repeating one keeps its schedule. Nothing on an invalid timer.
    void fire();
    // Any thread. The timer leaves its loop and releases its target and user info.
    void invalidate();
    bool isValid() const { return _valid.load(std::memory_order_acquire); }

    Ref<Date> fireDate() const;
    // Any thread; wakes the timer's loop.
    void setFireDate(const Date* date);
    TimeInterval timeInterval() const { return _interval; }
    Ref<Object> userInfo() const;

    // Called by the run loop.
    Clock::time_point fireTime() const;
    // Fires if due: a repeating timer is rescheduled first, a one-shot one invalidated after.
    bool fireIfDue(Clock::time_point now);
    // Returns the loop it was in before.
    RunLoop* setRunLoop(RunLoop* loop) { return _runLoop.exchange(loop, std::memory_order_acq_rel); }

private:
    void sendMessage();

    const TimeInterval _interval;
    const bool _repeats;
    const Selector _selector;
    std::atomic<bool> _valid { true };
    std::atomic<RunLoop*> _runLoop { nullptr }; // not retained: the loop holds the timer

    mutable Mutex _lock;
    Clock::time_point _fireTime YK_GUARDED_BY(_lock);
    Ref<Object> _target YK_GUARDED_BY(_lock);
    Ref<Object> _userInfo YK_GUARDED_BY(_lock);
};

// Converts between dates and the monotonic clock the loop waits with.
std::chrono::steady_clock::time_point monotonicTimeForDate(const Date* date);
// The monotonic time the interval in seconds from now comes to.
std::chrono::steady_clock::time_point monotonicTimeAfter(TimeInterval seconds);
Ref<Date> dateForMonotonicTime(std::chrono::steady_clock::time_point time);

} // namespace yk
