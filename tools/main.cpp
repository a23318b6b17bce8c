// yarkit: the framework's byte and text functions on the command line.

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
    { "mime", yk::tool::runMime },
    { "handler", yk::tool::runHandler },
};

} // namespace

int main(int argc, char** argv)
{
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
