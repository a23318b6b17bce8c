#include <Yarkit/YAuthenticator.h>

#include <Yarkit/ObjectAbstractMethods.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>

namespace yk {
namespace {

Mutex& defaultLock()
{
    static Mutex lock;
    return lock;
}

Ref<YAuthenticator>& defaultSlot() YK_REQUIRES(defaultLock())
{
    static Ref<YAuthenticator> slot;
    return slot;
}

// Replaces the field only when the new object is another one.
template <typename T>
void replaceField(Ref<T>& field, const T* value)
{
    if (field.get() != value)
        field = value ? value->copy() : nullptr;
}

} // namespace

YK_DEFINE_CLASS(YAuthenticator, [](MethodListBuilder& c) {
    c.method("passwordInfo", &YAuthenticator::passwordInfo);
});

Ref<YAuthenticator> YAuthenticator::defaultAuthenticator()
{
    Locker guard(defaultLock());
    return defaultSlot();
}

void YAuthenticator::setDefaultAuthenticator(YAuthenticator* authenticator)
{
    Ref<YAuthenticator> old;
    {
        Locker guard(defaultLock());
        if (defaultSlot().get() == authenticator)
            return;
        old = std::exchange(defaultSlot(), Ref<YAuthenticator>(authenticator));
    }
    // The old default is released here, outside the lock.
}

Ref<YPasswordInfo> YAuthenticator::requestPasswordInfoForURL(const yk::URL* url, const String* title, const String* message, bool savePassword)
{
    Locker guard(_lock);
    {
        Locker fields(_fieldsLock);
        replaceField(_URL, url);
        replaceField(_title, title);
        replaceField(_message, message);
        _savePassword = savePassword;
    }
    return passwordInfo();
}

Ref<YPasswordInfo> YAuthenticator::passwordInfo()
{
    subclassResponsibility(this, "passwordInfo");
}

Ref<String> YAuthenticator::title() const
{
    Locker guard(_fieldsLock);
    return _title;
}

Ref<String> YAuthenticator::message() const
{
    Locker guard(_fieldsLock);
    return _message;
}

bool YAuthenticator::savePassword() const
{
    Locker guard(_fieldsLock);
    return _savePassword;
}

Ref<yk::URL> YAuthenticator::URL() const
{
    Locker guard(_fieldsLock);
    return _URL;
}

Ref<String> YAuthenticator::scheme() const
{
    auto url = URL();
    return url ? url->scheme() : nullptr;
}

Ref<String> YAuthenticator::userName() const
{
    auto url = URL();
    return url ? url->user() : nullptr;
}

Ref<String> YAuthenticator::hostName() const
{
    auto url = URL();
    return url ? url->host() : nullptr;
}

Ref<Number> YAuthenticator::port() const
{
    auto url = URL();
    return url ? url->port() : nullptr;
}

} // namespace yk
