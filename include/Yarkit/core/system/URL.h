#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// An immutable URL (RFC 3986), parsed once by uriparser. The components are those the
// keychain and the authenticator key on, read as follows:
// - scheme: as written (not lower-cased); null when there is none.
// - user, password: the user information split at its first ":" and percent-decoded; null when
//   the URL has no user information ("imap://@host/" has the empty user ""); the password is
//   null when there is no ":".
// - host: percent-decoded, IPv6 addresses without their brackets ("::1"); null when there is
//   no host or it is empty ("file:///tmp").
// - port: a Number, or null when there is no port or it is empty ("http://h:/").
// - path: percent-decoded, exactly as written otherwise: a trailing slash is kept ("/a/"),
//   "imap://host/" has "/", and a missing path is "" (never null).
// URLWithString answers null for text that does not parse, an empty string, a port above
// 65535, or a component whose escapes do not decode to UTF-8. Safe to share between threads.
class URL : public Object {
    YK_OBJECT(URL, Object)
public:
    // +URLWithString: null for a null or unparsable string (see above).
    [[nodiscard]] static Ref<URL> URLWithString(const String* string);
    [[nodiscard]] static Ref<URL> URLWithString(std::string_view utf8);
    // +fileURLWithPath: a "file://" URL for the path made absolute against the current folder,
    // escaped by uriparser; a "/" is added when the path names an existing folder. Null for a
    // null or empty path or one that is not UTF-8.
    [[nodiscard]] static Ref<URL> fileURLWithPath(const String* path);

    const Ref<String>& scheme() const { return _scheme; }
    const Ref<String>& user() const { return _user; }
    const Ref<String>& password() const { return _password; }
    const Ref<String>& host() const { return _host; }
    const Ref<Number>& port() const { return _port; }
    const Ref<String>& path() const { return _path; }
    // The text the URL was made from.
    const Ref<String>& absoluteString() const { return _absoluteString; }

    // The URL is immutable: a copy is the same object.
    [[nodiscard]] Ref<URL> copy() const { return Ref<URL>(const_cast<URL*>(this)); }

    // Equal when the texts are equal, as the platform's URLs compare.
    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // The absolute string.
    Ref<String> description() const override;

private:
    URL() = default;

    Ref<String> _absoluteString;
    Ref<String> _scheme;
    Ref<String> _user;
    Ref<String> _password;
    Ref<String> _host;
    Ref<Number> _port;
    Ref<String> _path;
};

} // namespace yk
