#include "tools/Commands.h"

#include <cstdio>
#include <iostream>
#include <string>

#include <termios.h>
#include <unistd.h>

#include <Yarkit/YKeychain.h>
#include <Yarkit/core/values/Exception.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* passwordHelp = R"(Usage: yarkit password find|store|remove URL

Works on the internet password of URL (such as imap://tim@mail.example.com/) in the user's
password store, through the Secret Service.

  find     print the password stored for URL
  store    read a password from standard input (from the terminal without echo) and store
           it for URL; the password is never taken from the command line
  remove   delete the password stored for URL (nothing stored is not an error)
  --help   show this help

Exit status: 0 on success, 1 when find finds nothing, 2 on an error (the exception's name
and reason are printed on standard error) or bad usage.
)";

// Turns the terminal's echo off for its lifetime, when standard input is a terminal.
class EchoOff {
public:
    EchoOff()
    {
        if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &_saved) != 0)
            return;
        termios quiet = _saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        _active = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~EchoOff()
    {
        if (_active) {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &_saved);
            std::fputc('\n', stderr);
        }
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios _saved {};
    bool _active { false };
};

// One line of standard input, without its line break.
std::optional<std::string> readPassword()
{
    if (isatty(STDIN_FILENO))
        std::fputs("Password: ", stderr);
    EchoOff echoOff;
    std::string line;
    if (!std::getline(std::cin, line) && line.empty())
        return std::nullopt;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

} // namespace

int runPassword(int argc, char** argv, int first)
{
    const CommandSpec spec { "password", passwordHelp, { { "--help", false } } };
    int status = ExitSuccess;
    auto arguments = parseCommandLine(spec, argc, argv, first, status);
    if (!arguments)
        return status;
    if (arguments->operands.size() != 2)
        return usageError("password", "expected find, store or remove and a URL");
    const std::string& action = arguments->operands[0];
    auto url = URL::URLWithString(arguments->operands[1]);
    if (!url)
        return usageError("password", "not a URL: '" + arguments->operands[1] + "'");

    try {
        YKeychain* keychain = YKeychain::defaultKeychain();
        if (action == "find") {
            auto password = keychain->internetPasswordForURL(url.get());
            if (!password)
                return ExitChanged;
            std::printf("%s\n", password->utf8().c_str());
            return std::fflush(stdout) == 0 ? ExitSuccess : ExitError;
        }
        if (action == "store") {
            auto password = readPassword();
            if (!password) {
                std::fputs("yarkit password: no password on standard input\n", stderr);
                return ExitError;
            }
            keychain->setInternetPassword(String::withUTF8(*password).get(), url.get());
            return ExitSuccess;
        }
        if (action == "remove") {
            keychain->removeInternetPasswordForURL(url.get());
            return ExitSuccess;
        }
    } catch (const Exception& e) {
        std::fprintf(stderr, "yarkit password: %s: %s\n", e.name()->utf8().c_str(), e.what());
        return ExitError;
    }
    return usageError("password", "unknown action '" + action + "'");
}

} // namespace yk::tool
