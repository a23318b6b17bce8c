#include "tools/Commands.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <Yarkit/JapaneseEncodingDetection.h>
#include <Yarkit/core/values/StringEncoding.h>

#include "tools/CommandLine.h"
#include "tools/FileJobs.h"

namespace yk::tool {

namespace {

constexpr const char* detectHelp = R"(Usage: yarkit detect [--prefer-sjis] [--prefer-mac] [--numeric] [-j N] [FILE...]

Names the encoding of each FILE (standard input when none is given, or for "-"), one line per
input; with more than one input each line starts with the file name and ": ".

  --prefer-sjis   try the Shift_JIS family before EUC-JP (for text valid in both)
  --prefer-mac    within the Shift_JIS family, try Mac Japanese before CP932
  --numeric       print the encoding constant's number (hexadecimal) instead of its name
  -j, --jobs N    read and detect up to N files at once; lines still come in the files' order,
                  and Ctrl-C stops the work and exits with status 130
  --help          show this help

Names printed:
  US-ASCII         7-bit text without ISO-2022-JP escapes           0x0600
  UTF-16           UTF-16 with a little-endian byte-order mark      0x0100
  UTF-8            valid UTF-8 with at least one multi-byte char    0x08000100
  ISO-2022-JP      7-bit ISO-2022-JP                                0x0820
  ISO-2022-JP-1    ISO-2022-JP with JIS X 0212                      0x0822
  ISO-2022-JP-2    ISO-2022-JP with the multilingual extensions     0x0821
  ISO-2022-JP-3    ISO-2022-JP with JIS X 0213                      0x0823
  EUC-JP           EUC-JP                                           0x0920
  Shift_JIS        Shift_JIS (JIS X 0208 and half-width katakana)   0x0A01
  CP932            Shift_JIS with the NEC/IBM extensions            0x0420
  MacJapanese      Shift_JIS with the Mac Japanese extensions       0x0001
  Shift_JIS-X0213  Shift_JIS with JIS X 0213 characters             0x0628
  unknown          no candidate accepts the bytes                   0xFFFFFFFF

Exit status: 0 when every input was recognised, 1 when some was not, 2 on an error.
)";

// One input's line, and its status: 1 when the encoding is unknown, 2 when it cannot be read.
FileResult detectOne(const std::string& name, const Arguments& arguments, bool prefixName)
{
    FileResult result;
    auto input = readInput(name);
    if (!input) {
        result.status = ExitError;
        return result;
    }
    CFStringEncoding encoding = YKDetectJapaneseEncoding(input->data->bytes(), static_cast<int32_t>(input->data->length()),
        arguments.has("--prefer-sjis"), arguments.has("--prefer-mac"));
    if (encoding == kCFStringEncodingInvalidId)
        result.status = ExitChanged;
    if (prefixName)
        result.out = input->name + ": ";
    char line[32];
    if (arguments.has("--numeric")) {
        std::snprintf(line, sizeof line, encoding > 0xFFFF ? "0x%08X\n" : "0x%04X\n", encoding);
    } else {
        const char* encodingName = yk::stringEncodingName(encoding);
        std::snprintf(line, sizeof line, "%s\n", encodingName ? encodingName : "unknown");
    }
    result.out += line;
    return result;
}

} // namespace

int runDetect(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "detect", detectHelp, { { "--prefer-sjis" }, { "--prefer-mac" }, { "--numeric" }, { "-j", true }, { "--jobs", true } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    unsigned jobs = 0;
    if (!parseJobCount(*arguments, jobs))
        return usageError("detect", "-j needs a number of jobs from 1 to 1024");
    const auto names = arguments->inputNames();
    if (jobs > 0) {
        return runFileJobs(names.size(), jobs, [&](size_t index, const bool&) { return detectOne(names[index], *arguments, names.size() > 1); });
    }
    for (const auto& name : names) {
        FileResult result = detectOne(name, *arguments, names.size() > 1);
        std::fputs(result.out.c_str(), stdout);
        status = std::max(status, result.status);
    }
    std::fflush(stdout);
    return status;
}

} // namespace yk::tool
