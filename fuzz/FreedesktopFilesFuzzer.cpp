// Arbitrary text as a globs2 file, a mimeapps.list and a desktop entry, and as a MIME type's
// XML: the readers never fail, lookups in what they read never fail, and a default written
// into a mimeapps.list reads back.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "files/MimeApps.h"
#include "files/SharedMimeInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(data), size);
    auto globs = yk::detail::parseGlobs2(text);
    yk::detail::MimeDatabase database(std::vector<std::vector<yk::detail::MimeGlob>> { globs });
    for (const char* name : { "a.eml", "Makefile", "A.C", "x.tar.gz", "" })
        (void)database.mimeTypeForFileName(name);
    for (auto& glob : globs)
        (void)database.mimeTypeForFileName(glob.pattern);
    (void)yk::detail::parseMimeComment(text);
    (void)yk::detail::parseIniGroup(text, "Desktop Entry");
    auto defaults = yk::detail::parseIniGroup(text, "Default Applications");
    for (auto& [key, value] : defaults)
        (void)yk::detail::splitDesktopIDs(value);
    std::string rewritten = yk::detail::withDefaultApplication(text, "x-scheme-handler/mailto", "mutt.desktop;");
    auto reread = yk::detail::parseIniGroup(rewritten, "Default Applications");
    auto found = reread.find("x-scheme-handler/mailto");
    // A key of the same name in an earlier group of that name keeps its first value.
    if (found == reread.end())
        std::abort();
    return 0;
}
