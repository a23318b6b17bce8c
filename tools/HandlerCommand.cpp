#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include <Yarkit/YInternetConfig.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* handlerHelp = R"(Usage: yarkit handler SCHEME
       yarkit handler --set SCHEME APP.desktop

Prints the desktop-file ID of the application that opens SCHEME: URLs ("mailto"), the default
of x-scheme-handler/SCHEME in the mimeapps.list files, read in the freedesktop lookup order;
an application listed there but not installed is passed over. With --set, makes APP.desktop
the default in $XDG_CONFIG_HOME/mimeapps.list, keeping every other line of that file.

  --set    set the handler instead of printing it
  --help   show this help

Exit status: 0 on success, 1 when the scheme has no handler, 2 on bad usage or when the
setting cannot be written.
)";

} // namespace

int runHandler(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "handler", handlerHelp, { { "--set" } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    auto config = YInternetConfig::internetConfig();
    const auto& operands = arguments->operands;
    if (arguments->has("--set")) {
        if (operands.size() != 2)
            return usageError("handler", "--set takes a scheme and a desktop-file ID");
        if (!config->setApplicationCreator(0, String::withUTF8(operands[1]).get(), String::withUTF8(operands[0]).get())) {
            std::fprintf(stderr, "yarkit handler: cannot set the handler of %s to %s\n", operands[0].c_str(), operands[1].c_str());
            return ExitError;
        }
        return ExitSuccess;
    }
    if (operands.size() != 1)
        return usageError("handler", "takes one scheme");
    Ref<String> name;
    if (!config->getApplicationCreator(nullptr, &name, String::withUTF8(operands[0]).get())) {
        std::fprintf(stderr, "yarkit handler: no handler for %s\n", operands[0].c_str());
        return ExitChanged;
    }
    std::printf("%s\n", name->utf8().c_str());
    return ExitSuccess;
}

} // namespace yk::tool
