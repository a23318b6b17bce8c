#include "tools/Commands.h"

#include <cstdio>

#include <Yarkit/StringUTF7.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* utf7Help = R"(Usage: yarkit utf7 [--imap] [--decode]

Reads UTF-8 text on standard input and writes it as UTF-7 on standard output (the form of mail
bodies: "+" starts a base64 run, closed by "-" only where needed), adding no newline. With
--imap, writes the modified UTF-7 of IMAP mailbox names instead ("&" starts a run, every run
ends with "-", "," replaces "/"). With --decode, reads UTF-7 (or modified UTF-7) and writes
UTF-8; text that does not decode stays as it is.

  --imap     modified UTF-7, as IMAP mailbox names use it
  --decode   decode instead of encode
  --help     show this help

Exit status: 0 on success; 1 when decoded text held unpaired surrogates, which are written as
U+FFFD and counted on standard error; 2 when the input is not well-formed UTF-8, or on an error.
)";

bool isSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// Unpaired surrogates, which UTF-8 cannot carry.
size_t countUnpairedSurrogates(std::u16string_view units)
{
    size_t count = 0;
    for (size_t i = 0; i < units.size(); ++i) {
        if (!isSurrogate(units[i]))
            continue;
        if (units[i] <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF)
            ++i;
        else
            ++count;
    }
    return count;
}

int decode(const Input& input, bool imap)
{
    auto bytes = input.bytes();
    auto length = static_cast<uint32_t>(bytes.size());
    auto text = imap ? stringWithModifiedUTF7Bytes(bytes.data(), length) : stringWithUTF7Bytes(bytes.data(), length);
    const std::string utf8 = text->utf8();
    if (!writeOutput(utf8.data(), utf8.size()))
        return ExitError;
    if (size_t unpaired = countUnpairedSurrogates(text->view())) {
        std::fprintf(stderr, "yarkit utf7: %zu unpaired surrogate%s written as U+FFFD\n", unpaired, unpaired == 1 ? "" : "s");
        return ExitChanged;
    }
    return ExitSuccess;
}

int encode(const Input& input, bool imap)
{
    auto text = String::stringWithBytes(input.bytes().data(), input.bytes().size(), kCFStringEncodingUTF8);
    if (!text) {
        std::fprintf(stderr, "yarkit utf7: %s: not well-formed UTF-8\n", input.name.c_str());
        return ExitError;
    }
    auto data = imap ? encodeModifiedUTF7Data(text.get()) : encodeUTF7Data(text.get());
    return writeOutput(data->bytes(), data->length()) ? ExitSuccess : ExitError;
}

} // namespace

int runUTF7(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "utf7", utf7Help, { { "--imap" }, { "--decode" } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    if (!arguments->operands.empty())
        return usageError("utf7", "reads standard input only");
    auto input = readInput("-");
    if (!input)
        return ExitError;
    const bool imap = arguments->has("--imap");
    return arguments->has("--decode") ? decode(*input, imap) : encode(*input, imap);
}

} // namespace yk::tool
