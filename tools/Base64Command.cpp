#include "tools/Commands.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
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
#include "tools/ProgressBar.h"

namespace yk::tool {

namespace {

constexpr const char* base64Help = R"(Usage: yarkit base64 [--decode] [--line-length N] [--no-pad] [--progress] [FILE]

Encodes FILE (standard input when none is given, or for "-") as base64 on standard output,
in lines of N characters, each complete line ending in CR LF; a final partial line has no
CR LF after it. A length that is not a multiple of 4 never matches the end of a group, so it
gives one unbroken line, as 0 does. Encoding streams the input in constant memory.
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
    auto input = readInput(arguments->inputNames().front());
    if (!input)
        return ExitError;
    return decode(*input, pad);
}

} // namespace yk::tool
