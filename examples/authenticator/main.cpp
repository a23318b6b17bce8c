// Logs in to a server the way a mail client does: the password comes from the keychain when
// it is there; otherwise the user is asked on the terminal (the password without echo), and
// the answer is kept in the keychain when the user chose to save it.
//
//     authenticator imap://tim@mail.example.com/

#include "TerminalAuthenticator.h"

#include <Yarkit/Yarkit.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: authenticator URL\n");
        return 2;
    }
    auto url = yk::URL::URLWithString(argv[1]);
    if (!url) {
        std::fprintf(stderr, "authenticator: not a URL: %s\n", argv[1]);
        return 2;
    }
    try {
        yk::YAuthenticator::setDefaultAuthenticator(yk::make<example::TerminalAuthenticator>().get());
        auto info = example::TerminalAuthenticator::logIn(url.get());
        if (!info) {
            std::printf("No credentials given.\n");
            return 1;
        }
        std::printf("Logged in as %s%s.\n", info->userName()->utf8().c_str(), info->savesPassword() ? " (password saved)" : "");
    } catch (const yk::Exception& e) {
        std::fprintf(stderr, "authenticator: %s: %s\n", e.name()->utf8().c_str(), e.what());
        return 2;
    }
    return 0;
}
