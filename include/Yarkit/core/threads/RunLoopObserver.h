#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <atomic>
#include <cstdint>
#include <functional>

namespace yk {

// The moments of a run loop's pass an observer can be told about (bits of a mask).
// kYKRunLoopAfterCallout is this loop's own: it follows every timer, source, port message or
// perform the loop called out, which is where "as soon as possible" work belongs.
enum RunLoopActivity : uint32_t {
    kCFRunLoopEntry = 1u << 0,
    kCFRunLoopBeforeTimers = 1u << 1,
    kCFRunLoopBeforeSources = 1u << 2,
    kCFRunLoopBeforeWaiting = 1u << 5,
    kCFRunLoopAfterWaiting = 1u << 6,
    kCFRunLoopExit = 1u << 7,
    kYKRunLoopAfterCallout = 1u << 8,
    kCFRunLoopAllActivities = 0x0FFFFFFFu,
};

// Calls a function at chosen activities of the run loops it is added to, on the loop's
// thread. Observers of one mode are called in increasing order. A non-repeating observer is
// invalidated after its first call.
class RunLoopObserver final : public Object {
    YK_OBJECT(RunLoopObserver, Object)
public:
    using Callback = std::function<void(RunLoopObserver*, RunLoopActivity)>;

    RunLoopObserver(uint32_t activities, bool repeats, int32_t order, Callback callback);

    uint32_t activities() const { return _activities; }
    bool repeats() const { return _repeats; }
    int32_t order() const { return _order; }
    bool isValid() const { return _valid.load(std::memory_order_acquire); }
    // Any thread; the observer is not called again.
    void invalidate() { _valid.store(false, std::memory_order_release); }

    // Called by the run loop.
    void observe(RunLoopActivity activity);

private:
    const uint32_t _activities;
    const bool _repeats;
    const int32_t _order;
    const Callback _callback;
    std::atomic<bool> _valid { true };
};

} // namespace yk
