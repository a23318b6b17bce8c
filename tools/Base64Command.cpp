#include "tools/Commands.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <Yarkit/Base64.h>
#include <Yarkit/DataBase64.h>
#include <Yarkit/YBase64EncoderStream.h>
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YBufferedOutputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YMonitorInputStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

#include "tools/CommandLine.h"
#include "tools/Pieces.h"
#include "tools/ProgressBar.h"

namespace yk::tool {

namespace {

constexpr const char* base64Help = R"(Usage: yarkit base64 [--decode] [--line-length N] [--no-pad] [--progress] [FILE]

Encodes FILE (standard input when none is given, or for "-") as base64 on standard output,
in lines of N characters, each complete line ending in CR LF; a final partial line has no
CR LF after it. A length that is not a multiple of 4 never matches the end of a group, so it
gives one unbroken line, as 0 does. Both directions stream the input in constant memory.
With --decode, decodes base64 text instead: line breaks (CR, LF, with one following space or
tab for folded lines) are skipped, "=" ends the data, and stray characters between complete
groups are ignored.

  --decode          decode instead of encode
  --line-length N   characters per encoded line (default: the user default
                    DefaultBase64LineLength, 76 when unset; -DefaultBase64LineLength N sets it)
  --no-pad          encode without "=" padding; when decoding, "=" is not special and a final
                    partial group is decoded
  --progress        draw a progress bar on standard error while encoding
  --help            show this help

Exit status: 0 on success, 1 when the text to decode is not valid base64, 2 on an error.
)";

constexpr uint32_t blockSize = 65536;

std::optional<int32_t> parseLineLength(const std::string& text)
{
    int32_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0)
        return std::nullopt;
    return value;
}

// Drops the "=" padding: the encoder writes it only in its final flush.
class PadDropper : public YFilterStream {
    YK_OBJECT(PadDropper, YFilterStream)
public:
    using YFilterStream::YFilterStream;
    void writeBytes(const void* bytes, uint32_t length) override
    {
        const auto* text = static_cast<const char*>(bytes);
        while (length && text[length - 1] == '=')
            --length;
        YFilterStream::writeBytes(text, length);
    }
};

uint64_t sizeOf(FileHandle* handle)
{
    struct stat status;
    return fstat(handle->fileDescriptor(), &status) == 0 && S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
}

// The encoder's line length for the tool's: lengths that never end a line (0 and those that
// are not multiples of 4) all give one unbroken line, as 65535 does.
int64_t encoderLineLength(int32_t lineLength)
{
    return lineLength % 4 || !lineLength ? 65535 : lineLength;
}

// file → buffered → monitor → (reads of 64 KiB) → encoder → buffered → standard output.
int encode(const std::string& name, int32_t lineLength, bool pad, bool progress)
{
    Ref<YFileStream> file = openInputStream(name);
    if (!file)
        return ExitError;
    Ref<ProgressBar> bar = progress ? make<ProgressBar>(sizeOf(file->fileHandle())) : nullptr;
    auto input = YMonitorInputStream::streamWithStream(YBufferedInputStream::streamWithStream(file.get(), blockSize).get(), bar.get());
    auto output = YBufferedOutputStream::streamWithStream(YFileStream::streamWithStandardOutput().get(), blockSize);
    Ref<YStream> sink = pad ? Ref<YStream>(output) : Ref<YStream>(make<PadDropper>(output));
    auto encoder = YBase64EncoderStream::streamWithStream(sink.get(), encoderLineLength(lineLength));
    std::vector<uint8_t> block(blockSize);
    uint64_t done = 0;
    try {
        while (uint32_t n = input->readBytes(block.data(), blockSize)) {
            encoder->writeBytes(block.data(), n);
            done += n;
        }
        encoder->flush();
    } catch (const Exception& e) {
        std::fprintf(stderr, "yarkit base64: %s\n", e.what());
        return ExitError;
    }
    if (bar)
        bar->finish(done);
    return ExitSuccess;
}

bool isAlphabet(uint8_t c)
{
    return unsigned((c | 0x20) - 'a') < 26 || unsigned(c - '0') < 10 || c == '+' || c == '/';
}

// Where the text can be cut so that decoding the two sides apart gives what decoding the
// whole gives: before the last alphabet character that starts a group, or 0. The decoder takes
// every alphabet character (and "=" when padded) as a value and nothing else, so a group
// starts at every fourth value. Cut there, no group is half collected, no line break or "!"
// needs a look past the cut, and the second side writes a byte before any stray character
// between groups could matter to it.
size_t groupStart(std::span<const uint8_t> text, bool pad)
{
    size_t values = 0;
    for (uint8_t c : text)
        values += isAlphabet(c) || (pad && c == '=');
    for (size_t i = text.size(); i-- > 0;) {
        bool alphabet = isAlphabet(text[i]);
        if (!alphabet && !(pad && text[i] == '='))
            continue;
        --values; // the index of this value
        if (alphabet && values % 4 == 0)
            return i;
    }
    return 0;
}

// Decodes with the C decoder's rules in constant memory: the text is read a block at a time
// and each piece up to the last group that begins in it is decoded on its own. With padding
// the data ends with the piece holding the first "=". Bytes decoded before invalid text are
// written; only a group spread over more than a block by line breaks makes the buffer grow.
int decode(const std::string& name, bool pad)
{
    Ref<YFileStream> file = openInputStream(name);
    if (!file)
        return ExitError;
    std::vector<uint8_t> bytes;
    int failure = ExitError;
    bool padded = false;
    auto decodePiece = [&](const uint8_t* text, uint32_t length) {
        bytes.resize(size_t(length) * 3 / 4);
        const auto* chars = reinterpret_cast<const char*>(text);
        int32_t decoded = pad ? yk_decode_base64(bytes.data(), chars, length) : yk_decode_base64_no_pad(bytes.data(), chars, length);
        if (decoded < 0) {
            std::fprintf(stderr, "yarkit base64: %s: not valid base64 text\n", name == "-" ? "(standard input)" : name.c_str());
            failure = ExitChanged;
            return false;
        }
        if (!writeOutput(bytes.data(), static_cast<size_t>(decoded)))
            return false;
        padded = pad && std::memchr(text, '=', length);
        return !padded;
    };
    auto groupEnd = [pad](const uint8_t* text, size_t held) { return groupStart({ text, held }, pad); };
    return (forEachPiece(*file, blockSize, "base64", groupEnd, decodePiece) || padded) ? ExitSuccess : failure;
}

} // namespace

YK_DEFINE_CLASS(PadDropper);

int runBase64(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine(
        { "base64", base64Help, { { "--decode" }, { "--line-length", true }, { "--no-pad" }, { "--progress" } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    int32_t lineLength = 0;
    if (arguments->has("--line-length")) {
        auto parsed = parseLineLength(arguments->options.at("--line-length"));
        if (!parsed)
            return usageError("base64", "line length must be a number of 0 or more, not '" + arguments->options.at("--line-length") + "'");
        lineLength = *parsed;
    } else {
        lineLength = defaultBase64LineLength();
        if (lineLength < 0)
            return usageError("base64", "DefaultBase64LineLength must be 0 or more");
    }
    if (arguments->operands.size() > 1)
        return usageError("base64", "takes at most one file");

    bool pad = !arguments->has("--no-pad");
    if (!arguments->has("--decode"))
        return encode(arguments->inputNames().front(), lineLength, pad, arguments->has("--progress"));
    return decode(arguments->inputNames().front(), pad);
}

} // namespace yk::tool
