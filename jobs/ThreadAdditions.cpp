#include <Yarkit/ThreadAdditions.h>

#include <Yarkit/YKThreadPerformer.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/threads/Timer.h>
#include <Yarkit/core/values/Log.h>

#include "jobs/ThreadPrioritySeam.h"

#include <atomic>
#include <cmath>

namespace yk {

namespace {

std::atomic<detail::SchedParamReader> schedParamReader { &pthread_getschedparam };

// The main thread is recorded by the core when the library loads; the post-load step makes the
// main-thread performer, on the main thread.
void postLoad(Class*)
{
    YKThreadPerformer::createMainThreadPerformer();
}

} // namespace

YK_DEFINE_CATEGORY(Thread, "Yarkit", [](MethodListBuilder& c) { c.classMethod("postLoad", &postLoad); });

detail::SchedParamReader detail::setSchedParamReader(SchedParamReader reader)
{
    return schedParamReader.exchange(reader ? reader : &pthread_getschedparam);
}

bool YK_isMainThread(const Thread* thread)
{
    return thread && thread == Thread::mainThread();
}

bool YK_isMainThread()
{
    return Thread::isMainThread();
}

Thread* YK_mainThread()
{
    return Thread::mainThread();
}

double YK_threadPriority()
{
    int policy = 0;
    sched_param parameters {};
    if (int error = schedParamReader.load()(pthread_self(), &policy, &parameters)) {
        log("%s: pthread_getschedparam() returned error %d", "+[NSThread(Yarkit) YK_threadPriority]", error);
        return 0.5;
    }
    const int min = sched_get_priority_min(policy);
    const int max = sched_get_priority_max(policy);
    if (max <= min)
        return 0.5; // a policy with one priority level
    return static_cast<double>(parameters.sched_priority - min) / static_cast<double>(max - min);
}

bool YK_setThreadPriority(double priority)
{
    int policy = 0;
    sched_param parameters {};
    if (int error = schedParamReader.load()(pthread_self(), &policy, &parameters)) {
        log("%s: pthread_getschedparam() returned error %d", "+[NSThread(Yarkit) YK_setThreadPriority:]", error);
        return false;
    }
    if (std::isnan(priority) || priority > 1.0)
        priority = 1.0;
    else if (priority < 0.0)
        priority = 0.0;
    const int min = sched_get_priority_min(policy);
    const int max = sched_get_priority_max(policy);
    parameters.sched_priority = static_cast<int>(min + (max - min) * priority);
    if (int error = pthread_setschedparam(pthread_self(), policy, &parameters)) {
        log("%s: pthread_setschedparam() returned error %d", "+[NSThread(Yarkit) YK_setThreadPriority:]", error);
        return false;
    }
    return true;
}

Ref<Timer> YK_timerWithFireDate(const Date* fireDate, Object* target, Selector selector, Object* userInfo)
{
    return make<Timer>(fireDate, 0, target, selector, userInfo, false);
}

} // namespace yk
