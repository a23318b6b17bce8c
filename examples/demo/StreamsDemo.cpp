// The streams at work: an attachment encoded through a monitored base64 chain and decoded
// back, and a message whose lines end every which way read line by line, its base64 part
// decoded by the decoder stream, detected and repaired.

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include <unistd.h>

namespace {

// Told by the monitor every 4096 bytes; a bar on a terminal, a line per quarter otherwise.
class ProgressPrinter : public yk::Object {
    YK_OBJECT(ProgressPrinter, yk::Object)
public:
    explicit ProgressPrinter(uint32_t total)
        : _total(total)
    {
    }

    void streamDidReadDataOfLength(yk::YStream*, uint32_t length)
    {
        unsigned percent = static_cast<unsigned>(uint64_t(length) * 100 / _total);
        if (_terminal) {
            std::fprintf(stdout, "\r    encoding %-25.*s %3u%%", static_cast<int>(percent / 4), "=========================", percent);
            std::fflush(stdout);
        } else if (percent / 25 != _lastQuarter) {
            _lastQuarter = percent / 25;
            std::printf("    encoding: %u%%\n", _lastQuarter * 25);
        }
    }

    void done() const
    {
        if (_terminal)
            std::printf("\n");
    }

private:
    uint32_t _total;
    unsigned _lastQuarter { 0 };
    bool _terminal { static_cast<bool>(isatty(STDOUT_FILENO)) };
};

YK_DEFINE_CLASS(ProgressPrinter, [](yk::MethodListBuilder& c) {
    c.method("stream:didReadDataOfLength:", &ProgressPrinter::streamDidReadDataOfLength);
});

yk::Ref<yk::YFileStream> fileStream(const std::filesystem::path& path, bool writing)
{
    if (writing)
        std::ofstream(path, std::ios::binary | std::ios::trunc).flush();
    auto handle = writing ? yk::FileHandle::fileHandleForWritingAtPath(path.string()) : yk::FileHandle::fileHandleForReadingAtPath(path.string());
    return handle ? yk::YFileStream::streamWithFileHandle(handle.get()) : nullptr;
}

// file → buffered → monitor → encoder → buffered → file, then file → buffered → decoder.
bool roundTripAttachment(const std::filesystem::path& folder)
{
    const auto original = folder / "attachment.bin";
    const auto encoded = folder / "attachment.b64";
    constexpr uint32_t size = 6 << 20;
    std::string bytes(size, '\0');
    std::mt19937 random(2026);
    for (auto& byte : bytes)
        byte = static_cast<char>(random());
    std::ofstream(original, std::ios::binary) << bytes;

    auto progress = yk::make<ProgressPrinter>(size);
    auto input = yk::YMonitorInputStream::streamWithStream(
        yk::YBufferedInputStream::streamWithStream(fileStream(original, false).get(), 65536).get(), progress.get());
    auto output = yk::YBufferedOutputStream::streamWithStream(fileStream(encoded, true).get(), 65536);
    auto encoder = yk::YBase64EncoderStream::streamWithStream(output.get());
    std::string block(65536, '\0');
    while (uint32_t n = input->readBytes(block.data(), static_cast<uint32_t>(block.size())))
        encoder->writeBytes(block.data(), n);
    encoder->close(); // pads the last group, flushes the buffer, closes the file
    progress->done();

    auto decoder = yk::YBase64DecoderStream::streamWithStream(
        yk::YBufferedInputStream::streamWithStream(fileStream(encoded, false).get(), 65536).get());
    auto decoded = yk::YDataOutputStream::streamWithCapacity(size);
    while (uint32_t n = decoder->readBytes(block.data(), static_cast<uint32_t>(block.size())))
        decoded->writeBytes(block.data(), n);
    bool same = decoded->data()->stringView() == bytes;
    std::printf("    %s: %u bytes, %ju characters of base64 in lines of %d, decoded back: %s\n", original.filename().c_str(), size,
        static_cast<uintmax_t>(std::filesystem::file_size(encoded)), yk::defaultBase64LineLength(), same ? "identical" : "DIFFERENT");
    return same;
}

// Repairs Shift_JIS that does not decode as it is, then decodes it.
std::string decodeJapanese(const yk::Data& bytes, const char*& how)
{
    CFStringEncoding encoding = YKDetectJapaneseEncoding(bytes.bytes(), static_cast<int32_t>(bytes.length()), false, false);
    auto decoded = yk::String::stringWithBytes(bytes.bytes(), bytes.length(), encoding);
    how = "detected";
    if (decoded)
        return decoded->utf8();
    unsigned char* repaired = nullptr;
    uint32_t repairedLength = 0;
    if (!YKFixShiftJISBytes(bytes.bytes(), bytes.length(), &repaired, &repairedLength, 0))
        return "(does not decode)";
    decoded = yk::String::stringWithBytes(repaired, repairedLength, kCFStringEncodingShiftJIS);
    std::free(repaired);
    how = "repaired as Shift_JIS";
    return decoded ? decoded->utf8() : "(does not decode)";
}

bool readMixedMessage(const std::filesystem::path& path)
{
    auto file = fileStream(path, false);
    if (!file)
        return false;
    auto lines = yk::YLineInputStream::streamWithStream(yk::YBufferedInputStream::streamWithStream(file.get()).get());
    unsigned loneCR = 0, loneLF = 0, pairs = 0;
    bool inBase64Part = false, sawBase64Header = false;
    auto base64 = yk::YDataOutputStream::streamWithCapacity(1024);
    while (yk::Ref<yk::Data> line = lines->readLineData()) {
        std::string_view text = line->stringView();
        if (text.ends_with("\r\n"))
            ++pairs;
        else if (text.ends_with('\r'))
            ++loneCR;
        else if (text.ends_with('\n'))
            ++loneLF;
        std::string_view content = text.substr(0, text.find_first_of("\r\n"));
        if (content == "Content-Transfer-Encoding: base64") {
            sawBase64Header = true;
        } else if (sawBase64Header && !inBase64Part && content.empty()) {
            inBase64Part = true;
        } else if (inBase64Part && content.starts_with("--")) {
            inBase64Part = sawBase64Header = false;
        } else if (inBase64Part) {
            base64->writeData(line.get());
        }
    }
    std::printf("    %s: %u lone CR, %u lone LF and %u CR LF line ends\n", path.filename().c_str(), loneCR, loneLF, pairs);

    auto decoder = yk::YBase64DecoderStream::streamWithStream(yk::YDataInputStream::streamWithData(base64->data().get()).get());
    yk::Ref<yk::Data> part = decoder->availableData();
    if (!part)
        return false;
    const char* how = "";
    std::string text = decodeJapanese(*part, how);
    std::printf("    its base64 part: %u bytes, %s: %s\n", part->length(), how, text.substr(0, text.find('\r')).c_str());
    return true;
}

} // namespace

namespace demo {

bool showStreams(const std::filesystem::path& examples)
{
    char pattern[] = "/tmp/yarkit-demo-XXXXXX";
    if (!mkdtemp(pattern))
        return false;
    const std::filesystem::path folder = pattern;
    bool ok = roundTripAttachment(folder) && readMixedMessage(examples / "samples" / "mixed-newlines.eml");
    std::filesystem::remove_all(folder);
    return ok;
}

} // namespace demo
