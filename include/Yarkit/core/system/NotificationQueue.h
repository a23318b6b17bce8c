#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <cstdint>
#include <string>
#include <vector>

namespace yk {

class RunLoopObserver;

// When a queued notification is posted.
enum PostingStyle : uint32_t {
    NSPostWhenIdle = 1, // when the run loop is about to wait
    NSPostASAP = 2, // at the end of the run loop's current callout
    NSPostNow = 3, // at once, after coalescing
};

// Which queued notifications a new one replaces (bits of a mask).
enum NotificationCoalescing : uint32_t {
    NSNotificationNoCoalescing = 0,
    NSNotificationCoalescingOnName = 1, // equal names
    NSNotificationCoalescingOnSender = 2, // the same object (identity)
};

// Holds notifications for a notification center and posts them later from its thread's run
// loop: ASAP ones after the callout the loop is running ends (or before it waits), idle ones
// when it is about to wait; each only while the loop runs in one of its modes. Enqueuing with
// a coalescing mask first removes the queued notifications that match the new one on every
// bit of the mask; the new one is appended, so of a coalesced group the newest survives, in
// the newest's place.
//
// Each thread has a default queue, made on first use for the default center and the thread's
// run loop. A queue belongs to its thread: enqueue and dequeue there (the main thread's
// default queue is reached from other threads through the main-thread messaging).
class NotificationQueue final : public Object {
    YK_OBJECT(NotificationQueue, Object)
public:
    // initWithNotificationCenter: posts from the calling thread's run loop, in its common
    // modes. The center is retained.
    explicit NotificationQueue(NotificationCenter* center);
    ~NotificationQueue() override;

    static NotificationQueue* defaultQueue();

    // enqueueNotification:postingStyle: coalesces on name and sender, default mode.
    void enqueueNotification(Notification* notification, PostingStyle postingStyle);
    // enqueueNotification:postingStyle:coalesceMask:forModes: null or empty modes mean the
    // default mode; kCFRunLoopCommonModes stands for every common mode.
    void enqueueNotification(Notification* notification, PostingStyle postingStyle, uint32_t coalesceMask, const Array* modes);
    // dequeueNotificationsMatching:coalesceMask: removes the queued notifications that match
    // on every bit of the mask (none for NSNotificationNoCoalescing).
    void dequeueNotificationsMatching(Notification* notification, uint32_t coalesceMask);

    // How many wait, for tests and diagnostics.
    uint32_t count() const;

private:
    struct Entry;

    // Posts the waiting notifications of the style whose modes hold the loop's current mode.
    void postQueued(PostingStyle style);

    const Ref<NotificationCenter> _center;
    Ref<RunLoopObserver> _observer;
    RunLoop* _runLoop; // not retained: the queue belongs to the loop's thread

    mutable Mutex _lock;
    std::vector<Entry> _queue YK_GUARDED_BY(_lock);
};

} // namespace yk
