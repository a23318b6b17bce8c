#pragma once

// The broker an application subclasses to ask the user for a user name and password: a
// request stores its URL, title, message and save proposal, then calls the passwordInfo hook,
// which asks (with a dialog, on a terminal, ...) and answers a YPasswordInfo or null when the
// user declines. What is done with the answer (storing it in the keychain when savesPassword)
// is the caller's business. One authenticator may be registered as the process's default.
//
// Requests on one authenticator run one after another under its lock, held while the hook asks
// the user; the accessors may be called from the hook and from any thread.

#include <Yarkit/YPasswordInfo.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/system/URL.h>
#include <Yarkit/core/threads/Lock.h>
#include <Yarkit/core/values/Number.h>

namespace yk {

class YAuthenticator : public Object {
    YK_OBJECT(YAuthenticator, Object)
public:
    YAuthenticator() = default;

    // +defaultAuthenticator: the registered default, or null.
    static Ref<YAuthenticator> defaultAuthenticator();
    // +setDefaultAuthenticator: retains the new default and releases the old one; the same
    // object again changes nothing; null clears the default.
    static void setDefaultAuthenticator(YAuthenticator* authenticator);

    // -requestPasswordInfoForURL:withTitle:message:savePassword: under the lock, stores copies
    // of the arguments (each field replaced only when the object differs) and returns what
    // passwordInfo answers. The fields keep the last request's values afterwards. Whatever the
    // hook raises passes on, with the lock released.
    Ref<YPasswordInfo> requestPasswordInfoForURL(const yk::URL* url, const String* title, const String* message, bool savePassword);

    // The fields of the current (or last) request; null and NO before the first.
    Ref<String> title() const;
    Ref<String> message() const;
    bool savePassword() const;
    // scheme, user, host and port of the request's URL.
    Ref<String> scheme() const;
    Ref<String> userName() const;
    Ref<String> hostName() const;
    Ref<Number> port() const;
    Ref<yk::URL> URL() const;

protected:
    // -passwordInfo, the hook a subclass overrides (also reachable by its selector): ask for the
    // credentials using the fields above; null when the user declines. This base raises
    // NSGenericException "subclass <class> (instance) should override passwordInfo".
    virtual Ref<YPasswordInfo> passwordInfo();

private:
    // Serialises requests; held while the hook runs.
    Lock _lock;
    // Guards the fields, which the accessors read from any thread.
    mutable Mutex _fieldsLock;
    Ref<yk::URL> _URL YK_GUARDED_BY(_fieldsLock);
    Ref<String> _title YK_GUARDED_BY(_fieldsLock);
    Ref<String> _message YK_GUARDED_BY(_fieldsLock);
    bool _savePassword YK_GUARDED_BY(_fieldsLock) { false };
};

} // namespace yk
