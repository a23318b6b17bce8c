#include "TerminalAuthenticator.h"

#include <Yarkit/YKeychain.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>

#include <cctype>
#include <cstdio>
#include <iostream>
#include <optional>

#include <termios.h>
#include <unistd.h>

YK_DEFINE_CLASS(example::TerminalAuthenticator);

namespace example {
namespace {

// One line from standard input, echo off while `secret` and on a terminal.
std::optional<std::string> readLine(const char* prompt, bool secret)
{
    const bool terminal = isatty(STDIN_FILENO);
    if (terminal)
        std::fputs(prompt, stderr);
    termios saved {};
    const bool quiet = secret && terminal && tcgetattr(STDIN_FILENO, &saved) == 0;
    if (quiet) {
        termios noEcho = saved;
        noEcho.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &noEcho);
    }
    std::string line;
    const bool read = static_cast<bool>(std::getline(std::cin, line));
    if (quiet) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::fputc('\n', stderr);
    }
    if (!read)
        return std::nullopt;
    return line;
}

} // namespace

yk::Ref<yk::URL> TerminalAuthenticator::accountURL(const yk::URL* url, const yk::String* user)
{
    std::string text = url->scheme() ? url->scheme()->utf8() + "://" : "//";
    if (user) {
        for (unsigned char byte : user->utf8()) {
            if (std::isalnum(byte) || byte == '.' || byte == '-' || byte == '_')
                text.push_back(static_cast<char>(byte));
            else {
                char escape[4];
                std::snprintf(escape, sizeof escape, "%%%02X", byte);
                text += escape;
            }
        }
        text += "@";
    }
    if (url->host()) {
        const bool bracketed = url->host()->containsString(yk::String::withUTF8(":").get());
        text += bracketed ? "[" : "";
        text += url->host()->utf8();
        text += bracketed ? "]" : "";
    }
    if (url->port()) {
        text += ':';
        text += url->port()->stringValue()->utf8();
    }
    return yk::URL::URLWithString(text + url->path()->utf8());
}

yk::Ref<yk::YPasswordInfo> TerminalAuthenticator::passwordInfo()
{
    auto url = URL();
    if (auto stored = yk::YKeychain::defaultKeychain()->internetPasswordForURL(url.get()); stored && userName())
        return yk::YPasswordInfo::passwordInfoWithUserName(userName().get(), stored.get(), false);

    std::fprintf(stderr, "%s\n%s\n", title() ? title()->utf8().c_str() : "", message() ? message()->utf8().c_str() : "");
    auto user = userName();
    if (!user) {
        auto typed = readLine("User name: ", false);
        if (!typed || typed->empty())
            return nullptr;
        user = yk::String::withUTF8(*typed);
        if (auto stored = yk::YKeychain::defaultKeychain()->internetPasswordForURL(accountURL(url.get(), user.get()).get()))
            return yk::YPasswordInfo::passwordInfoWithUserName(user.get(), stored.get(), false);
    }
    auto password = readLine("Password: ", true);
    if (!password)
        return nullptr;
    bool save = savePassword();
    if (auto answer = readLine(save ? "Save the password? [Y/n] " : "Save the password? [y/N] ", false); answer && !answer->empty())
        save = (*answer)[0] == 'y' || (*answer)[0] == 'Y';
    return yk::YPasswordInfo::passwordInfoWithUserName(user.get(), yk::String::withUTF8(*password).get(), save);
}

yk::Ref<yk::YPasswordInfo> TerminalAuthenticator::logIn(const yk::URL* url)
{
    auto authenticator = yk::YAuthenticator::defaultAuthenticator();
    if (!authenticator)
        authenticator = yk::make<TerminalAuthenticator>();
    auto info = authenticator->requestPasswordInfoForURL(url, yk::String::withUTF8("Log in").get(),
        yk::format("The server %@ asks for your password.", url->host().get()).get(), true);
    if (info && info->savesPassword())
        yk::YKeychain::defaultKeychain()->setInternetPassword(info->password().get(), accountURL(url, info->userName().get()).get());
    return info;
}

} // namespace example
