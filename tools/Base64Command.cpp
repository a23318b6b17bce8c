#include "tools/Commands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include <Yarkit/Base64.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* base64Help = R"(Usage: yarkit base64 [--decode] [--line-length N] [--no-pad] [FILE]

Encodes FILE (standard input when none is given, or for "-") as base64 on standard output,
in lines of N characters, each complete line ending in CR LF; a final partial line has no
CR LF after it. A length that is not a multiple of 4 never matches the end of a group, so it
gives one unbroken line, as 0 does. With --decode, decodes base64 text instead: line breaks
(CR, LF, with one following space or tab for folded lines) are skipped, "=" ends the data,
and stray characters between complete groups are ignored.

  --decode          decode instead of encode
  --line-length N   characters per encoded line (default 76)
  --no-pad          encode without "=" padding; when decoding, "=" is not special and a final
                    partial group is decoded
  --help            show this help

Exit status: 0 on success, 1 when the text to decode is not valid base64, 2 on an error.
)";

std::optional<int32_t> parseLineLength(const std::string& text)
{
    int32_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0)
        return std::nullopt;
    return value;
}

// The codec counts characters in 32 bits; 1 GiB of input stays well within that.
constexpr size_t MaximumEncodedInput = size_t { 1 } << 30;

// Input bytes encoded per call: whole groups, and whole lines when lines break (the codec's
// column starts again at every call), so the pieces join into what one call would write.
size_t encodingPieceSize(int32_t lineLength)
{
    constexpr size_t target = 48 * 1024;
    size_t lineBytes = lineLength > 0 && lineLength % 4 == 0 ? static_cast<size_t>(lineLength) / 4 * 3 : 3;
    return std::max(lineBytes, target / lineBytes * lineBytes);
}

int encode(const Input& input, int32_t lineLength, bool pad)
{
    auto bytes = input.bytes();
    if (bytes.size() > MaximumEncodedInput) {
        std::fprintf(stderr, "yarkit base64: %s: too large to encode (more than 1 GiB)\n", input.name.c_str());
        return ExitError;
    }
    const size_t pieceSize = encodingPieceSize(lineLength);
    const size_t groups = (pieceSize + 2) / 3;
    std::vector<char> text(4 * groups + 2 * (lineLength > 0 ? 4 * groups / static_cast<size_t>(lineLength) : 0) + 2);
    for (size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
        auto piece = bytes.subspan(offset, std::min(pieceSize, bytes.size() - offset));
        auto length = static_cast<uint32_t>(piece.size());
        int32_t n = pad ? yk_encode_base64(text.data(), piece.data(), length, lineLength)
                        : yk_encode_base64_no_pad(text.data(), piece.data(), length, lineLength);
        if (!writeOutput(text.data(), static_cast<size_t>(n)))
            return ExitError;
    }
    return ExitSuccess;
}

int decode(const Input& input, bool pad)
{
    std::vector<uint8_t> bytes(input.bytes().size() * 3 / 4);
    const auto* text = reinterpret_cast<const char*>(input.data->bytes());
    auto length = input.data->length();
    int32_t n = pad ? yk_decode_base64(bytes.data(), text, length) : yk_decode_base64_no_pad(bytes.data(), text, length);
    if (n < 0) {
        std::fprintf(stderr, "yarkit base64: %s: not valid base64 text\n", input.name.c_str());
        return ExitChanged;
    }
    return writeOutput(bytes.data(), static_cast<size_t>(n)) ? ExitSuccess : ExitError;
}

} // namespace

int runBase64(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "base64", base64Help, { { "--decode" }, { "--line-length", true }, { "--no-pad" } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    int32_t lineLength = 76;
    if (arguments->has("--line-length")) {
        auto parsed = parseLineLength(arguments->options.at("--line-length"));
        if (!parsed)
            return usageError("base64", "line length must be a number of 0 or more, not '" + arguments->options.at("--line-length") + "'");
        lineLength = *parsed;
    }
    if (arguments->operands.size() > 1)
        return usageError("base64", "takes at most one file");

    auto input = readInput(arguments->inputNames().front());
    if (!input)
        return ExitError;
    bool pad = !arguments->has("--no-pad");
    return arguments->has("--decode") ? decode(*input, pad) : encode(*input, lineLength, pad);
}

} // namespace yk::tool
