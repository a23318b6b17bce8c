#pragma once

// The thread and timer additions of the NSThread(Yarkit) and
// NSTimer(YarkitNSTimerCreationWithCompatibility) groups: the main-thread test, thread
// priorities through POSIX scheduling, and an unscheduled one-shot timer.

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

namespace yk {

class Date;
class Thread;
class Timer;

// -YK_isMainThread, +YK_isMainThread, +YK_mainThread: the core's own answers.
bool YK_isMainThread(const Thread* thread);
bool YK_isMainThread();
Thread* YK_mainThread();

// +YK_threadPriority: the calling thread's priority within its policy's range, 0.0 to 1.0.
// Linux gives SCHED_OTHER, SCHED_BATCH and SCHED_IDLE the range 0..0, where the ratio would be
// 0 / 0: those answer 0.5. A failing read is logged and answers 0.5.
double YK_threadPriority();
// +YK_setThreadPriority: clamps the value to 0.0..1.0 (NaN to 1.0) and applies
// min + (max - min) * value, truncated, keeping the policy. False (and logged) on failure.
bool YK_setThreadPriority(double priority);

// +YK_timerWithFireDate:target:selector:userInfo: a one-shot timer, not scheduled.
[[nodiscard]] Ref<Timer> YK_timerWithFireDate(const Date* fireDate, Object* target, Selector selector, Object* userInfo);

} // namespace yk
