#include <Yarkit/YPasswordInfo.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>

namespace yk {

YK_DEFINE_CLASS(YPasswordInfo);

YPasswordInfo::YPasswordInfo(const String* userName, const String* password, bool savesPassword)
    : _userName(userName ? userName->copy() : nullptr)
    , _password(password ? password->copy() : nullptr)
    , _savesPassword(savesPassword)
{
}

Ref<YPasswordInfo> YPasswordInfo::passwordInfoWithUserName(const String* userName, const String* password, bool savesPassword)
{
    return make<YPasswordInfo>(userName, password, savesPassword);
}

Ref<String> YPasswordInfo::description() const
{
    return format("<YPasswordInfo: %p> user '%@', saves password: %s", static_cast<const void*>(this),
        _userName.get(), _savesPassword ? "YES" : "NO");
}

} // namespace yk
