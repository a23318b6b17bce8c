// yarkit: the framework's byte and text functions on the command line.

#include <clocale>
#include <cstdio>
#include <cstring>

#include "tools/CommandLine.h"
#include "tools/Commands.h"

namespace {

constexpr const char* mainHelp = R"(Usage: yarkit COMMAND [OPTIONS] [FILE...]

Commands:
  detect    name the encoding of Japanese (or any) text
  repair    replace malformed byte sequences so strict converters accept the text
  to-utf8   detect, repair and convert text to UTF-8, reporting what was replaced
  base64    encode or decode base64 with CR LF lines
  size      print byte counts as short sizes (1.0 MB)
  date      print dates as a message list shows them (today 0:05)
  utf7      encode or decode UTF-7 and the modified UTF-7 of IMAP mailbox names
  idn       convert a host name to its ASCII form or back
  regex     find regular-expression matches, in UTF-16 units
  digest    print the message digest or HMAC of files, by libcrypto's algorithm names
  password  find, store or remove an internet password in the user's password store
  newlines  rewrite or count line endings (LF, CR LF, lone CR)
  mime      name the MIME type and description of file names or extensions
  handler   print or set the application that opens a URL scheme

Every command reads standard input when no FILE is given (or for "-"), and takes --help.
Exit status 2 means bad usage, an unknown encoding or an unreadable file.
)";

struct Command {
    const char* name;
    int (*run)(int, char**, int);
};

constexpr Command commands[] = {
    { "detect", yk::tool::runDetect },
    { "repair", yk::tool::runRepair },
    { "to-utf8", yk::tool::runToUTF8 },
    { "base64", yk::tool::runBase64 },
    { "size", yk::tool::runSize },
    { "date", yk::tool::runDate },
    { "utf7", yk::tool::runUTF7 },
    { "idn", yk::tool::runIDN },
    { "regex", yk::tool::runRegex },
    { "digest", yk::tool::runDigest },
    { "password", yk::tool::runPassword },
    { "newlines", yk::tool::runNewlines },
    { "mime", yk::tool::runMime },
    { "handler", yk::tool::runHandler },
};

} // namespace

int main(int argc, char** argv)
{
    // The library never sets the locale; the tool takes the user's, so texts are translated.
    std::setlocale(LC_ALL, "");
    if (argc < 2) {
        std::fputs(mainHelp, stderr);
        return yk::tool::ExitError;
    }
    if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "help")) {
        std::fputs(mainHelp, stdout);
        return yk::tool::ExitSuccess;
    }
    for (const auto& command : commands) {
        if (!std::strcmp(argv[1], command.name))
            return command.run(argc, argv, 2);
    }
    std::fprintf(stderr, "yarkit: unknown command '%s'\nTry 'yarkit --help'.\n", argv[1]);
    return yk::tool::ExitError;
}
