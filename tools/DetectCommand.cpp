#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include <Yarkit/JapaneseEncodingDetection.h>
#include <Yarkit/core/values/StringEncoding.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* detectHelp = R"(Usage: yarkit detect [--prefer-sjis] [--prefer-mac] [--numeric] [FILE...]

Names the encoding of each FILE (standard input when none is given, or for "-"), one line per
input; with more than one input each line starts with the file name and ": ".

  --prefer-sjis   try the Shift_JIS family before EUC-JP (for text valid in both)
  --prefer-mac    within the Shift_JIS family, try Mac Japanese before CP932
  --numeric       print the encoding constant's number (hexadecimal) instead of its name
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

} // namespace

int runDetect(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "detect", detectHelp, { { "--prefer-sjis" }, { "--prefer-mac" }, { "--numeric" } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    const auto names = arguments->inputNames();
    for (const auto& name : names) {
        auto input = readInput(name);
        if (!input) {
            status = ExitError;
            continue;
        }
        CFStringEncoding encoding = YKDetectJapaneseEncoding(input->data->bytes(), static_cast<int32_t>(input->data->length()),
            arguments->has("--prefer-sjis"), arguments->has("--prefer-mac"));
        if (encoding == kCFStringEncodingInvalidId && status == ExitSuccess)
            status = ExitChanged;
        if (names.size() > 1)
            std::printf("%s: ", input->name.c_str());
        if (arguments->has("--numeric")) {
            std::printf(encoding > 0xFFFF ? "0x%08X\n" : "0x%04X\n", encoding);
        } else {
            const char* encodingName = yk::stringEncodingName(encoding);
            std::printf("%s\n", encodingName ? encodingName : "unknown");
        }
    }
    std::fflush(stdout);
    return status;
}

} // namespace yk::tool
