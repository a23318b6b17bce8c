#pragma once

// The answer to an authentication request: a user name, a password and whether the user asked
// for the password to be kept. Immutable; safe to share between threads.

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

namespace yk {

class YPasswordInfo final : public Object {
    YK_OBJECT(YPasswordInfo, Object)
public:
    // -initWithUserName:password:savesPassword: keeps copies of the strings (null stays null),
    // so a mutable string changed later does not change the info.
    YPasswordInfo(const String* userName, const String* password, bool savesPassword);
    // +passwordInfoWithUserName:password:savesPassword:
    [[nodiscard]] static Ref<YPasswordInfo> passwordInfoWithUserName(const String* userName, const String* password, bool savesPassword);

    const Ref<String>& userName() const { return _userName; }
    const Ref<String>& password() const { return _password; }
    bool savesPassword() const { return _savesPassword; }

    // "<YPasswordInfo: 0x...> user 'tim', saves password: YES": never the password.
    Ref<String> description() const override;

private:
    const Ref<String> _userName;
    const Ref<String> _password;
    const bool _savesPassword;
};

} // namespace yk
