#pragma once

#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace yk {

class Dictionary;
class Notification;

// Delivers notifications to the observers registered for them, synchronously, on the thread
// that posts, in the order the observers were added. An observer is an object and the selector
// of one of its methods taking one Notification* (registered with the runtime under that
// selector); it is called once for each of its registrations that matches.
//
// Observers and the objects they observe are not retained: remove an observer before it goes
// away. Every operation may be called on any thread. Posting does not hold the center's lock
// while it calls observers, so observers may post, add and remove observers (themselves
// included). Once removeObserver returns, the observations it removed are not called again by
// any thread: a call already under way on another thread is waited for. An observation added
// during a post is first called by the next post.
class NotificationCenter final : public Object {
    YK_OBJECT(NotificationCenter, Object)
public:
    NotificationCenter();
    ~NotificationCenter() override;

    // The process's shared center, created on first use and never destroyed.
    static NotificationCenter* defaultCenter();

    // addObserver:selector:name:object: A null name matches every name, a null object every
    // object. Raises NSInvalidArgumentException for a null observer or selector. The name is
    // retained; observer and object are not.
    void addObserver(Object* observer, Selector selector, const String* name, Object* object);
    void addObserver(Object* observer, Selector selector, std::string_view name, Object* object);

    // Removes every registration of the observer.
    void removeObserver(Object* observer);
    // removeObserver:name:object: Removes the observer's registrations for this name and
    // object; a null name or object does not narrow the choice (so a registration for every
    // name goes only when the name here is null). A null observer is ignored.
    void removeObserver(Object* observer, const String* name, Object* object);
    void removeObserver(Object* observer, std::string_view name, Object* object);

    // Calls every matching observer before returning. An exception raised by an observer
    // passes to the poster, and the observers after it are not called for this notification.
    // Raises NSInvalidArgumentException for a null notification.
    void postNotification(Notification* notification);
    // Whether a notification with this name and object would reach an observer now, so that
    // a poster can skip making one nobody receives.
    bool hasObserverFor(const String* name, const Object* object) const;
    // postNotificationName:object:userInfo: posts a new notification; see Notification.
    void postNotificationName(const String* name, Object* object, Dictionary* userInfo = nullptr);
    void postNotificationName(std::string_view name, Object* object, Dictionary* userInfo = nullptr);

private:
    struct Observation;
    class Call;

    // False when the observation was removed before its call could start; otherwise a Call
    // must follow.
    bool beginCall(Observation& observation) YK_EXCLUDES(_lock);
    void removeMatching(Object* observer, const String* name, Object* object);
    bool calledElsewhere(const std::vector<std::shared_ptr<Observation>>& removed) const YK_REQUIRES(_lock);

    mutable Mutex _lock;
    std::condition_variable _callEnded; // a call of a removed observation returned
    // In registration order. The entries' own state (removed, callers) is guarded by _lock too.
    std::vector<std::shared_ptr<Observation>> _observations YK_GUARDED_BY(_lock);
    uint32_t _waitingRemovers YK_GUARDED_BY(_lock) { 0 };
};

} // namespace yk
