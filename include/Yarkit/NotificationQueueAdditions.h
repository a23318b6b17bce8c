#pragma once

// The NSNotificationQueue(Yarkit) group: the main thread's default notification queue, reached
// safely from any thread, and enqueuing by name.
//
// The ...InMainThread functions act on the main thread's default queue: at once on the main
// thread; from another thread the same call is deferred to the main thread (through the
// main-thread job center, duplicates allowed) and the caller returns at once, so nothing is
// queued or removed before the main thread runs the jobs, and calls from one thread keep
// their order.

#include <Yarkit/core/system/NotificationQueue.h>

#include <cstdint>

namespace yk {

class Array;
class Dictionary;
class Notification;
class String;

// +enqueueNotificationInMainThread:postingStyle:
void enqueueNotificationInMainThread(Notification* notification, PostingStyle postingStyle);
// +enqueueNotificationInMainThread:postingStyle:coalesceMask:forModes:
void enqueueNotificationInMainThread(Notification* notification, PostingStyle postingStyle, uint32_t coalesceMask, const Array* modes);
// +dequeueNotificationsInMainThreadMatching:coalesceMask:
void dequeueNotificationsInMainThreadMatching(Notification* notification, uint32_t coalesceMask);

// -enqueueNotificationName:object:postingStyle: and ...:userInfo:postingStyle: build the
// notification and enqueue it with the default coalescing.
void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, PostingStyle postingStyle);
void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, Dictionary* userInfo, PostingStyle postingStyle);
// -enqueueNotificationName:object:userInfo:postingStyle:coalesceMask:forModes:
void enqueueNotificationName(NotificationQueue* queue, const String* name, Object* object, Dictionary* userInfo, PostingStyle postingStyle,
    uint32_t coalesceMask, const Array* modes);
// -dequeueNotificationsMatchingName:object:coalesceMask:
void dequeueNotificationsMatchingName(NotificationQueue* queue, const String* name, Object* object, uint32_t coalesceMask);

} // namespace yk
