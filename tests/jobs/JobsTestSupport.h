#pragma once

// Targets, senders and delegates the job tests share.

#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Dictionary.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace yk::test {

// A thread-safe list of what happened, in order.
class EventLog {
public:
    void add(std::string event) { std::lock_guard guard(_lock); _events.push_back(std::move(event)); }
    std::vector<std::string> events() { std::lock_guard guard(_lock); return _events; }
    void clear() { std::lock_guard guard(_lock); _events.clear(); }

private:
    std::mutex _lock;
    std::vector<std::string> _events;
};

// Polls until done() holds; false after the guard timeout.
inline bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout = std::chrono::seconds(10))
{
    const auto limit = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A job target whose methods log their arguments; body runs inside "work".
class JobTarget : public Object {
    YK_OBJECT(JobTarget, Object)
public:
    explicit JobTarget(EventLog* log = nullptr) : log(log) { }
    void work() { note("work"); if (body) body(); }
    void object(Object* a) { note("object " + describe(a)); }
    void objects(Object* a, Object* b) { note("objects " + describe(a) + " " + describe(b)); }
    void three(Object* a, Object* b, Object* c) { note("three " + describe(a) + " " + describe(b) + " " + describe(c)); }
    void flag(bool value) { note(value ? "flag YES" : "flag NO"); }
    void number(int32_t value) { note("int " + std::to_string(value)); }
    void pair(int32_t a, int32_t b) { note("ints " + std::to_string(a) + " " + std::to_string(b)); }
    void real(double value) { note("double " + std::to_string(value)); }
    void single(float value) { note("float " + std::to_string(value)); }
    void stop() { note("stop on " + std::string(Thread::isMainThread() ? "main" : "other")); }
    static void classWork(Class*) { classCalls.fetch_add(1); }

    void note(const std::string& event)
    {
        if (log)
            log->add(event);
        calls.fetch_add(1);
    }
    static std::string describe(Object* object) { return object ? object->description()->utf8() : "nil"; }

    EventLog* log;
    std::atomic<int> calls { 0 };
    std::function<void()> body;
    static inline std::atomic<int> classCalls { 0 };
};

// A sender or delegate: answers the vetting questions through functions (YES when unset) and
// logs the notices it gets with the thread they arrive on.
class JobWatcher : public Object {
    YK_OBJECT(JobWatcher, Object)
public:
    JobWatcher(std::string name, EventLog* log) : name(std::move(name)), log(log) { }
    bool shouldAdd(YJobCenter* center, YJob* job, Array* waiting, Array* running) { return !shouldAddJob || shouldAddJob(center, job, waiting, running); }
    bool shouldExecute(YJobCenter* center, YJob* job, Array* running) { return !shouldExecuteJob || shouldExecuteJob(center, job, running); }
    void notice(Notification* notification)
    {
        std::string text = name + " " + notification->name()->utf8() + (Thread::isMainThread() ? " main" : " other");
        if (notification->userInfo() && notification->userInfo()->objectForKey("NSException"))
            text += " NSException";
        log->add(text);
    }

    std::string name;
    EventLog* log;
    std::function<bool(YJobCenter*, YJob*, Array*, Array*)> shouldAddJob;
    std::function<bool(YJobCenter*, YJob*, Array*)> shouldExecuteJob;
};

// Only vets starting jobs; no notices.
class Gatekeeper : public Object {
    YK_OBJECT(Gatekeeper, Object)
public:
    explicit Gatekeeper(std::function<bool(YJob*, Array*)> answer) : answer(std::move(answer)) { }
    bool shouldExecute(YJobCenter*, YJob* job, Array* running)
    {
        asked.fetch_add(1);
        return answer(job, running);
    }
    std::function<bool(YJob*, Array*)> answer;
    std::atomic<int> asked { 0 };
};

} // namespace yk::test
