#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// A named announcement posted through a NotificationCenter: a name, the object it is about
// (often the sender) and optional user information. Immutable, so it can be read from any
// thread; the name, the object and the user info are retained.
class Notification final : public Object {
    YK_OBJECT(Notification, Object)
public:
    // Raises NSInvalidArgumentException when the name is null.
    Notification(Ref<String> name, Ref<Object> object, Ref<Dictionary> userInfo = nullptr);
    ~Notification() override;

    // +notificationWithName:object:userInfo:
    [[nodiscard]] static Ref<Notification> notificationWithName(Ref<String> name, Object* object, Dictionary* userInfo = nullptr);

    String* name() const { return _name.get(); }
    // May be null.
    Object* object() const { return _object.get(); }
    // May be null.
    Dictionary* userInfo() const { return _userInfo.get(); }

    // "Notification name = ...; object = ...; userInfo = ..."
    Ref<String> description() const override;

private:
    const Ref<String> _name;
    const Ref<Object> _object;
    const Ref<Dictionary> _userInfo;
};

} // namespace yk
