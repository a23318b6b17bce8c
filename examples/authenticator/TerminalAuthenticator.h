#pragma once

// An authenticator that looks in the keychain first and asks on the terminal only when the
// keychain has no password for the request's URL. The user name, password (typed without
// echo) and the choice to save are read from the terminal, or from standard input when that
// is not a terminal.

#include <Yarkit/YAuthenticator.h>

#include <string>

namespace example {

class TerminalAuthenticator final : public yk::YAuthenticator {
    YK_OBJECT(TerminalAuthenticator, yk::YAuthenticator)
public:
    TerminalAuthenticator() = default;

    // Asks (keychain first) and, when the user chose to save, stores the answer in the
    // keychain under the URL with the user name in it. Null when the user declined.
    static yk::Ref<yk::YPasswordInfo> logIn(const yk::URL* url);

    // The URL with `user` as its user and without a password: where the password is kept.
    static yk::Ref<yk::URL> accountURL(const yk::URL* url, const yk::String* user);

protected:
    yk::Ref<yk::YPasswordInfo> passwordInfo() override;
};

} // namespace example
