#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include "tools/CommandLine.h"
#include "tools/EncodingRepair.h"

namespace yk::tool {

namespace {

constexpr const char* repairHelp = R"(Usage: yarkit repair --encoding ENCODING [FILE]

Writes FILE (standard input when none is given, or for "-") to standard output with every
malformed or undefined byte sequence replaced by "?", so strict converters accept it. Valid
text is copied unchanged; clean input comes out byte for byte as it went in.

  --encoding ENCODING  the encoding the text claims to be in:
                         utf8   UTF-8
                         sjis   Shift_JIS (JIS X 0208 and half-width katakana)
                         mac    Mac Japanese
                         dos    CP932 (Shift_JIS with the NEC/IBM extensions)
                         eucjp  EUC-JP
                         jis    ISO-2022-JP (bad characters become ESC ( B ? and the escape
                                back; every line break is moved to ASCII mode)
  --help               show this help

Exit status: 0 when nothing needed repair, 1 when something was repaired, 2 on an error.
)";

} // namespace

int runRepair(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "repair", repairHelp, { { "--encoding", true } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    if (!arguments->has("--encoding"))
        return usageError("repair", "missing --encoding");
    auto kind = repairKindNamed(arguments->options.at("--encoding"));
    if (!kind)
        return usageError("repair", "unknown encoding '" + arguments->options.at("--encoding") + "' (utf8, sjis, mac, dos, eucjp or jis)");
    if (arguments->operands.size() > 1)
        return usageError("repair", "takes at most one file");

    auto input = readInput(arguments->inputNames().front());
    if (!input)
        return ExitError;
    auto repaired = repairBytes(*kind, input->bytes());
    std::span<const uint8_t> output = input->bytes();
    if (repaired)
        output = { reinterpret_cast<const uint8_t*>(repaired->bytes.data()), repaired->bytes.size() };
    if (!writeOutput(output.data(), output.size()))
        return ExitError;
    return repaired ? ExitChanged : ExitSuccess;
}

} // namespace yk::tool
