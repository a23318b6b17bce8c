#include <Yarkit/core/system/NotificationCenter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/system/Notification.h>

#include "core/runtime/RuntimeErrors.h"

#include <algorithm>
#include <thread>

namespace yk {

YK_DEFINE_CLASS(NotificationCenter);

// One registration. Observer, selector, name and object never change after it is made, so a
// post reads them without the center's lock; removed and callers are guarded by the center's
// _lock (clang cannot name another object's lock here).
struct NotificationCenter::Observation {
    Observation(Object* observer, Selector selector, Ref<String> name, Object* object)
        : observer(observer)
        , selector(selector)
        , name(std::move(name))
        , object(object)
    {
    }

    Object* observer;
    Selector selector;
    Ref<String> name;
    Object* object;

    bool removed { false };
    // The threads calling this observation now, once per call under way (a thread appears
    // twice when the observer posts a notification that reaches it again).
    std::vector<std::thread::id> callers;

    bool matches(const String* postedName, const Object* postedObject) const
    {
        return (!name || name->isEqual(postedName)) && (!object || object == postedObject);
    }
    bool matchesRemoval(const Object* removedObserver, const String* removedName, const Object* removedObject) const
    {
        return observer == removedObserver
            && (!removedName || (name && name->isEqual(removedName)))
            && (!removedObject || object == removedObject);
    }
};

// One call of an observation under way, from beginCall until the Call is destroyed (also by an
// exception from the observer); a remover on another thread waits until it ends.
class NotificationCenter::Call {
public:
    Call(NotificationCenter& center, Observation& observation)
        : _center(center)
        , _observation(observation)
    {
    }
    ~Call()
    {
        Locker guard(_center._lock);
        auto& callers = _observation.callers;
        callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
        if (_observation.removed && _center._waitingRemovers)
            _center._callEnded.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    NotificationCenter& _center;
    Observation& _observation;
};

NotificationCenter::NotificationCenter() = default;
NotificationCenter::~NotificationCenter() = default;

NotificationCenter* NotificationCenter::defaultCenter()
{
    // Never released: threads may still post while the process exits.
    static NotificationCenter* const center = make<NotificationCenter>().leakRef();
    return center;
}

void NotificationCenter::addObserver(Object* observer, Selector selector, const String* name, Object* object)
{
    if (!observer || !selector)
        detail::raiseNilArgument(this, "addObserver:selector:name:object:");
    // A copy, so that a mutable name changed later does not move the registration.
    auto observation = std::make_shared<Observation>(observer, selector, name ? name->copy() : nullptr, object);
    Locker guard(_lock);
    _observations.push_back(std::move(observation));
}

void NotificationCenter::addObserver(Object* observer, Selector selector, std::string_view name, Object* object)
{
    addObserver(observer, selector, String::withUTF8(name).get(), object);
}

void NotificationCenter::removeObserver(Object* observer)
{
    removeMatching(observer, nullptr, nullptr);
}

void NotificationCenter::removeObserver(Object* observer, const String* name, Object* object)
{
    removeMatching(observer, name, object);
}

void NotificationCenter::removeObserver(Object* observer, std::string_view name, Object* object)
{
    removeMatching(observer, String::withUTF8(name).get(), object);
}

void NotificationCenter::removeMatching(Object* observer, const String* name, Object* object)
{
    if (!observer)
        return;
    Locker guard(_lock);
    std::vector<std::shared_ptr<Observation>> removed;
    std::erase_if(_observations, [&](const std::shared_ptr<Observation>& observation) {
        if (!observation->matchesRemoval(observer, name, object))
            return false;
        observation->removed = true;
        removed.push_back(observation);
        return true;
    });
    // Calls on this thread are the caller's own stack (an observer removing itself or another
    // one during a post); waiting for them would never end.
    ++_waitingRemovers;
    while (calledElsewhere(removed))
        _lock.wait(_callEnded);
    --_waitingRemovers;
}

bool NotificationCenter::calledElsewhere(const std::vector<std::shared_ptr<Observation>>& removed) const
{
    const auto self = std::this_thread::get_id();
    return std::any_of(removed.begin(), removed.end(), [&](const std::shared_ptr<Observation>& observation) {
        return std::any_of(observation->callers.begin(), observation->callers.end(), [&](std::thread::id caller) { return caller != self; });
    });
}

bool NotificationCenter::beginCall(Observation& observation)
{
    Locker guard(_lock);
    if (observation.removed)
        return false;
    observation.callers.push_back(std::this_thread::get_id());
    return true;
}

void NotificationCenter::postNotification(Notification* notification)
{
    if (!notification)
        detail::raiseNilArgument(this, "postNotification:");
    Ref<Notification> protectedNotification(notification);
    std::vector<std::shared_ptr<Observation>> matching;
    {
        Locker guard(_lock);
        for (const auto& observation : _observations) {
            if (observation->matches(notification->name(), notification->object()))
                matching.push_back(observation);
        }
    }
    for (const auto& observation : matching) {
        if (!beginCall(*observation))
            continue;
        Call call(*this, *observation);
        send(observation->observer, observation->selector, notification);
    }
}

bool NotificationCenter::hasObserverFor(const String* name, const Object* object) const
{
    Locker guard(_lock);
    return std::any_of(_observations.begin(), _observations.end(), [&](const std::shared_ptr<Observation>& observation) {
        return !observation->removed && observation->matches(name, object);
    });
}

void NotificationCenter::postNotificationName(const String* name, Object* object, Dictionary* userInfo)
{
    postNotification(Notification::notificationWithName(Ref<String>(const_cast<String*>(name)), object, userInfo).get());
}

void NotificationCenter::postNotificationName(std::string_view name, Object* object, Dictionary* userInfo)
{
    postNotification(Notification::notificationWithName(String::withUTF8(name), object, userInfo).get());
}

} // namespace yk
