#include <Yarkit/NotificationQueueAdditions.h>

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

namespace yk {

namespace {

const char enqueueSelector[] = "enqueueNotificationInMainThread:postingStyle:";
const char enqueueWithModesSelector[] = "enqueueNotificationInMainThread:postingStyle:coalesceMask:forModes:";
const char dequeueSelector[] = "dequeueNotificationsInMainThreadMatching:coalesceMask:";

// Sends the same class method again on the main thread: an invocation that keeps its arguments,
// performed there with invoke.
template <typename... Arguments>
void deferToMainThread(const char* selector, Arguments... arguments)
{
    auto invocation = Invocation::invocationWithTarget(NotificationQueue::staticClass(), selector, arguments...);
    invocation->retainArguments();
    performSelectorInMainThread(invocation.get(), "invoke");
}

} // namespace

// The class methods are reached by selector when a deferred call runs, and invoke on an
// invocation by the main-thread messaging.
YK_DEFINE_CATEGORY(NotificationQueue, "Yarkit", [](MethodListBuilder& c) {
    c.classMethod("enqueueNotificationInMainThread:postingStyle:", [](Class*, Notification* notification, uint32_t style) { enqueueNotificationInMainThread(notification, PostingStyle(style)); });
    c.classMethod("enqueueNotificationInMainThread:postingStyle:coalesceMask:forModes:", [](Class*, Notification* notification, uint32_t style, uint32_t mask, Array* modes) {
        enqueueNotificationInMainThread(notification, PostingStyle(style), mask, modes);
    });
    c.classMethod("dequeueNotificationsInMainThreadMatching:coalesceMask:", [](Class*, Notification* notification, uint32_t mask) { dequeueNotificationsInMainThreadMatching(notification, mask); });
});
YK_DEFINE_CATEGORY(Invocation, "YarkitMainThread", [](MethodListBuilder& c) { c.method("invoke", &Invocation::invoke); });

void enqueueNotificationInMainThread(Notification* notification, PostingStyle postingStyle)
{
    if (!Thread::isMainThread())
        return deferToMainThread(enqueueSelector, notification, static_cast<uint32_t>(postingStyle));
    NotificationQueue::defaultQueue()->enqueueNotification(notification, postingStyle);
}

void enqueueNotificationInMainThread(Notification* notification, PostingStyle postingStyle, uint32_t coalesceMask, const Array* modes)
{
    if (!Thread::isMainThread())
        return deferToMainThread(enqueueWithModesSelector, notification, static_cast<uint32_t>(postingStyle), coalesceMask, const_cast<Array*>(modes));
    NotificationQueue::defaultQueue()->enqueueNotification(notification, postingStyle, coalesceMask, modes);
}

void dequeueNotificationsInMainThreadMatching(Notification* notification, uint32_t coalesceMask)
{
    if (!Thread::isMainThread())
        return deferToMainThread(dequeueSelector, notification, coalesceMask);
    NotificationQueue::defaultQueue()->dequeueNotificationsMatching(notification, coalesceMask);
}

void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, PostingStyle postingStyle)
{
    enqueueNotificationName(queue, name, object, nullptr, postingStyle);
}

void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, Dictionary* userInfo, PostingStyle postingStyle)
{
    queue->enqueueNotification(Notification::notificationWithName(const_cast<String*>(name), object, userInfo).get(), postingStyle);
}

void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, Dictionary* userInfo, PostingStyle postingStyle,
    uint32_t coalesceMask, const Array* modes)
{
    queue->enqueueNotification(Notification::notificationWithName(const_cast<String*>(name), object, userInfo).get(), postingStyle, coalesceMask, modes);
}

void dequeueNotificationsMatchingName(NotificationQueue* queue, const String* name, Object* object, uint32_t coalesceMask)
{
    queue->dequeueNotificationsMatching(Notification::notificationWithName(const_cast<String*>(name), object).get(), coalesceMask);
}

} // namespace yk
