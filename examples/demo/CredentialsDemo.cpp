// The credentials part of the demo: an IMAP password kept in the keychain, found again under
// imaps, changed and removed; the keychain-first authenticator; and RFC 2195's CRAM-MD5.

#include "DemoParts.h"

#include "../authenticator/TerminalAuthenticator.h"

#include <Yarkit/Yarkit.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace demo {
namespace {

std::string shown(const yk::Ref<yk::String>& string)
{
    if (!string)
        return "nil";
    std::string quoted = "\"";
    quoted += string->utf8();
    return quoted + '"';
}

} // namespace

bool showCredentials()
{
    auto* keychain = yk::YKeychain::defaultKeychain();
    const char* marker = std::getenv("YK_PRIVATE_KEYRING");
    if (marker && std::string(marker) == "running") {
        std::printf("  (a throwaway gnome-keyring on a private session bus)\n");
    } else {
        // Never the user's own keyring: outside scripts/demo the passwords stay in memory.
        keychain->setStore(yk::make<yk::YKeychainMemoryStore>());
        std::printf("  (an in-memory store: run scripts/demo for a real keyring)\n");
    }
    try {
        auto imap = yk::URL::URLWithString("imap://tim@mail.example.com/");
        auto imaps = yk::URL::URLWithString("imaps://tim@mail.example.com/");
        keychain->setInternetPassword(yk::String::withUTF8("tanstaaftanstaaf").get(), imap.get());
        std::printf("  stored for %s, found under %s: %s\n", imap->absoluteString()->utf8().c_str(),
            imaps->absoluteString()->utf8().c_str(), shown(keychain->internetPasswordForURL(imaps.get())).c_str());

        auto info = example::TerminalAuthenticator::logIn(imap.get());
        std::printf("  the authenticator asked the keychain first: user %s, password %s\n",
            info ? info->userName()->utf8().c_str() : "nil", info ? "found" : "not found");

        keychain->setInternetPassword(yk::String::withUTF8("秘密").get(), imaps.get());
        std::printf("  changed: %s\n", shown(keychain->internetPasswordForURL(imap.get())).c_str());
        keychain->removeInternetPasswordForURL(imap.get());
        std::printf("  removed: %s\n", shown(keychain->internetPasswordForURL(imap.get())).c_str());
    } catch (const yk::Exception& e) {
        std::printf("  the keychain failed: %s: %s\n", e.name()->utf8().c_str(), e.what());
        return false;
    }

    // RFC 2195: the server's challenge, keyed with the shared secret.
    auto challenge = yk::Data::dataWithString("<1896.697170952@postoffice.reston.mci.net>");
    auto secret = yk::Data::dataWithString("tanstaaftanstaaf");
    auto digest = yk::hexHMACWithKey(challenge.get(), secret.get(), yk::String::withUTF8("MD5").get());
    std::printf("  CRAM-MD5 response: tim %s\n", digest->utf8().c_str());
    return digest->isEqualToString(std::string_view("b913a602c7eda7a495b4e6e7334d3890"));
}

} // namespace demo
