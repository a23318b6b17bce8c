#include <Yarkit/core/system/Notification.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Dictionary.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(Notification);

namespace {

Ref<String> checkedName(Ref<String> name)
{
    if (!name)
        detail::raiseInvalidArgument("*** -[Notification initWithName:object:userInfo:]: nil string (or other) argument");
    return name;
}

} // namespace

Notification::Notification(Ref<String> name, Ref<Object> object, Ref<Dictionary> userInfo)
    : _name(checkedName(std::move(name)))
    , _object(std::move(object))
    , _userInfo(std::move(userInfo))
{
}

Notification::~Notification() = default;

Ref<Notification> Notification::notificationWithName(Ref<String> name, Object* object, Dictionary* userInfo)
{
    return make<Notification>(std::move(name), Ref<Object>(object), Ref<Dictionary>(userInfo));
}

Ref<String> Notification::description() const
{
    std::string text = "Notification name = " + _name->utf8();
    text += "; object = " + (_object ? _object->description()->utf8() : std::string("(null)"));
    text += "; userInfo = " + (_userInfo ? _userInfo->description()->utf8() : std::string("(null)"));
    return String::withUTF8(text);
}

} // namespace yk
