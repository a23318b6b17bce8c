#include <Yarkit/core/system/NotificationQueue.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopObserver.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

#include <algorithm>

namespace yk {

YK_DEFINE_CLASS(NotificationQueue);

struct NotificationQueue::Entry {
    Ref<Notification> notification;
    PostingStyle style;
    std::vector<std::string> modes;
};

namespace {

thread_local Ref<NotificationQueue> defaultQueueOfThread;

bool matches(const Notification* queued, const Notification* notification, uint32_t coalesceMask)
{
    if (coalesceMask == NSNotificationNoCoalescing)
        return false;
    if ((coalesceMask & NSNotificationCoalescingOnName) && !queued->name()->isEqual(notification->name()))
        return false;
    if ((coalesceMask & NSNotificationCoalescingOnSender) && queued->object() != notification->object())
        return false;
    return true;
}

} // namespace

NotificationQueue::NotificationQueue(NotificationCenter* center)
    : _center(center)
    , _runLoop(RunLoop::currentRunLoop())
{
    // ASAP notifications go after each callout; both kinds before the loop waits, ASAP first.
    _observer = make<RunLoopObserver>(kYKRunLoopAfterCallout | kCFRunLoopBeforeWaiting, true, 0, [this](RunLoopObserver*, RunLoopActivity activity) {
        postQueued(NSPostASAP);
        if (activity == kCFRunLoopBeforeWaiting)
            postQueued(NSPostWhenIdle);
    });
    _runLoop->addObserver(_observer.get(), kCFRunLoopCommonModes);
}

NotificationQueue::~NotificationQueue()
{
    _observer->invalidate();
    _runLoop->removeObserver(_observer.get(), kCFRunLoopCommonModes);
}

NotificationQueue* NotificationQueue::defaultQueue()
{
    if (!defaultQueueOfThread)
        defaultQueueOfThread = make<NotificationQueue>(NotificationCenter::defaultCenter());
    return defaultQueueOfThread.get();
}

void NotificationQueue::enqueueNotification(Notification* notification, PostingStyle postingStyle)
{
    enqueueNotification(notification, postingStyle, NSNotificationCoalescingOnName | NSNotificationCoalescingOnSender, nullptr);
}

void NotificationQueue::enqueueNotification(Notification* notification, PostingStyle postingStyle, uint32_t coalesceMask, const Array* modes)
{
    if (!notification)
        return;
    std::vector<std::string> names;
    for (uint32_t i = 0; modes && i < modes->count(); ++i) {
        if (auto* mode = dynamic_cast<String*>(modes->objectAtIndex(i).get()))
            names.push_back(mode->utf8());
    }
    if (names.empty())
        names.emplace_back(kCFRunLoopDefaultMode);
    Ref<Notification> protectedNotification(notification);
    std::vector<Entry> coalesced; // released after the lock
    {
        Locker guard(_lock);
        auto end = std::stable_partition(_queue.begin(), _queue.end(), [&](const Entry& entry) {
            return !matches(entry.notification.get(), notification, coalesceMask);
        });
        std::move(end, _queue.end(), std::back_inserter(coalesced));
        _queue.erase(end, _queue.end());
        if (postingStyle != NSPostNow)
            _queue.push_back(Entry { notification, postingStyle, names });
    }
    if (postingStyle == NSPostNow) {
        _center->postNotification(notification);
        return;
    }
    // The observer is in the common modes; a mode that is not common gets it too.
    for (const auto& mode : names) {
        if (mode != kCFRunLoopCommonModes && !_runLoop->isCommonMode(mode))
            _runLoop->addObserver(_observer.get(), mode);
    }
    // A loop that another main loop drives is not looking at its observers: make it pass.
    _runLoop->wakeUp();
}

void NotificationQueue::dequeueNotificationsMatching(Notification* notification, uint32_t coalesceMask)
{
    if (!notification)
        return;
    std::vector<Entry> removed;
    Locker guard(_lock);
    auto end = std::stable_partition(_queue.begin(), _queue.end(), [&](const Entry& entry) {
        return !matches(entry.notification.get(), notification, coalesceMask);
    });
    std::move(end, _queue.end(), std::back_inserter(removed));
    _queue.erase(end, _queue.end());
}

uint32_t NotificationQueue::count() const
{
    Locker guard(_lock);
    return static_cast<uint32_t>(_queue.size());
}

void NotificationQueue::postQueued(PostingStyle style)
{
    std::vector<Ref<Notification>> due;
    {
        Locker guard(_lock);
        if (_queue.empty())
            return;
    }
    auto current = _runLoop->currentMode();
    if (!current)
        return;
    const std::string mode = current->utf8();
    const bool common = _runLoop->isCommonMode(mode);
    {
        Locker guard(_lock);
        auto inMode = [&](const Entry& entry) {
            return std::any_of(entry.modes.begin(), entry.modes.end(), [&](const std::string& each) {
                return each == mode || (common && each == kCFRunLoopCommonModes);
            });
        };
        std::vector<Entry> kept;
        for (auto& entry : _queue) {
            if (entry.style == style && inMode(entry))
                due.push_back(std::move(entry.notification));
            else
                kept.push_back(std::move(entry));
        }
        _queue = std::move(kept);
    }
    for (auto& notification : due)
        _center->postNotification(notification.get());
}

} // namespace yk
