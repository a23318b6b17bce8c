#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include <Yarkit/YInternetConfig.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* mimeHelp = R"(Usage: yarkit mime NAME...

Prints, for each file name or extension, one line: the name, a tab, its MIME type, a tab and
the type's description, from the shared-mime-info database of the XDG data folders
($XDG_DATA_HOME/mime first, then each of $XDG_DATA_DIRS). A NAME without a "." is taken as an
extension ("eml"); one with a "." as a whole file name ("report.EML", ".eml").

  --help   show this help

Exit status: 0 when every name has a type, 1 when one has none (its line says "unknown"),
2 on bad usage.
)";

} // namespace

int runMime(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "mime", mimeHelp, {} }, argc, argv, first, status);
    if (!arguments)
        return status;
    if (arguments->operands.empty())
        return usageError("mime", "needs at least one file name or extension");
    auto config = YInternetConfig::internetConfig();
    for (const auto& name : arguments->operands) {
        auto text = String::withUTF8(name);
        YKMapEntry entry;
        bool found = name.find('.') == std::string::npos ? config->getMapEntry(&entry, text.get())
                                                         : config->getMapEntryForFileName(&entry, text.get());
        if (!found) {
            std::printf("%s\tunknown\n", name.c_str());
            status = ExitChanged;
            continue;
        }
        std::printf("%s\t%s\t%s\n", name.c_str(), entry.MIMEType->utf8().c_str(), entry.description->utf8().c_str());
    }
    return status;
}

} // namespace yk::tool
