// The streams side by side with their peers, on 64 MiB of mail-like text in the page cache
// (lines ended by LF, CR LF and lone CRs): the line reader against POSIX getline and GIO's
// g_data_input_stream_read_line, one-byte reads against getc and GIO's buffered stream, 64 KiB
// reads against a read(2) loop, and the base64 streams against OpenSSL's BIO_f_base64. After
// the run a table gives how many times faster yarkit is, with the goal beside it.
#include <Yarkit/Base64.h>
#include <Yarkit/YBase64DecoderStream.h>
#include <Yarkit/YBase64EncoderStream.h>
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YDataOutputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/YMonitorInputStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <openssl/bio.h>
#include <openssl/evp.h>

#include "bench/RatioReporter.h"

namespace {

constexpr size_t TextSize = 64 << 20;
constexpr size_t ByteReadSize = 16 << 20;
constexpr size_t Base64Size = 32 << 20;
constexpr uint32_t Block = 65536;

// The text file, written once and removed at exit.
struct MailText {
    std::string path;
    MailText()
    {
        path = (std::filesystem::temp_directory_path() / ("yk-streams-bench-" + std::to_string(getpid()))).string();
        std::mt19937 random(1);
        const char* ends[] = { "\n", "\r\n", "\r\n", "\r" };
        const char* words[] = { "Received:", "from", "mail.example.jp", "by", "the", "message", "server", "=?ISO-2022-JP?B?GyRC?=", "reply" };
        std::string text;
        text.reserve(TextSize + 200);
        while (text.size() < TextSize) {
            size_t words_in_line = random() % 12;
            for (size_t i = 0; i < words_in_line; ++i) {
                text += words[random() % 9];
                text += ' ';
            }
            text += ends[random() % 4];
        }
        text.resize(TextSize);
        std::ofstream(path, std::ios::binary) << text;
    }
    ~MailText() { std::remove(path.c_str()); }
};

const std::string& mailText()
{
    static const MailText text;
    return text.path;
}

yk::Ref<yk::YFileStream> openText()
{
    return yk::YFileStream::streamWithFileHandle(yk::FileHandle::fileHandleForReadingAtPath(mailText()).get());
}

void linesYarkit(benchmark::State& state, uint32_t bufferSize)
{
    for (auto _ : state) {
        auto lines = yk::YLineInputStream::streamWithStream(yk::YBufferedInputStream::streamWithStream(openText().get(), bufferSize).get());
        size_t count = 0;
        while (yk::Ref<yk::Data> line = lines->readLineData())
            count += line->length();
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * TextSize));
}

// getline splits on LF only: a lighter task than the line reader's.
void linesGetline(benchmark::State& state)
{
    for (auto _ : state) {
        FILE* file = std::fopen(mailText().c_str(), "rb");
        char* line = nullptr;
        size_t capacity = 0, count = 0;
        ssize_t n;
        while ((n = getline(&line, &capacity, file)) > 0)
            count += size_t(n);
        std::free(line);
        std::fclose(file);
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * TextSize));
}

GInputStream* openGio()
{
    GFile* file = g_file_new_for_path(mailText().c_str());
    GInputStream* stream = G_INPUT_STREAM(g_file_read(file, nullptr, nullptr));
    g_object_unref(file);
    return stream;
}

void linesGio(benchmark::State& state)
{
    for (auto _ : state) {
        GInputStream* file = openGio();
        GDataInputStream* data = g_data_input_stream_new(file);
        g_data_input_stream_set_newline_type(data, G_DATA_STREAM_NEWLINE_TYPE_ANY);
        size_t count = 0, length = 0;
        while (char* line = g_data_input_stream_read_line(data, &length, nullptr, nullptr)) {
            count += length;
            g_free(line);
        }
        g_object_unref(data);
        g_object_unref(file);
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * TextSize));
}

// Both peers read through a 4 KiB buffer (stdio takes the file's block size, GIO's buffered
// stream defaults to 4 KiB), so ours gets the same rather than its default 2 KiB.
void bytesYarkit(benchmark::State& state)
{
    for (auto _ : state) {
        auto buffered = yk::YBufferedInputStream::streamWithStream(openText().get(), 4096);
        uint8_t byte = 0;
        size_t sum = 0;
        for (size_t i = 0; i < ByteReadSize && buffered->readBytes(&byte, 1); ++i)
            sum += byte;
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * ByteReadSize));
}

void bytesGetc(benchmark::State& state)
{
    for (auto _ : state) {
        FILE* file = std::fopen(mailText().c_str(), "rb");
        size_t sum = 0;
        int c;
        for (size_t i = 0; i < ByteReadSize && (c = getc(file)) != EOF; ++i)
            sum += unsigned(c);
        std::fclose(file);
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * ByteReadSize));
}

void bytesGio(benchmark::State& state)
{
    for (auto _ : state) {
        GInputStream* file = openGio();
        GInputStream* buffered = g_buffered_input_stream_new(file);
        size_t sum = 0;
        int c;
        for (size_t i = 0; i < ByteReadSize && (c = g_buffered_input_stream_read_byte(G_BUFFERED_INPUT_STREAM(buffered), nullptr, nullptr)) >= 0; ++i)
            sum += unsigned(c);
        g_object_unref(buffered);
        g_object_unref(file);
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * ByteReadSize));
}

// Takes the monitor's reports and does nothing with them.
class Listener : public yk::Object {
    YK_OBJECT(Listener, yk::Object)
public:
    void streamDidReadDataOfLength(yk::YStream*, uint32_t length) { benchmark::DoNotOptimize(length); }
};

void blocksYarkit(benchmark::State& state, bool monitored)
{
    std::vector<char> buffer(Block);
    auto listener = yk::make<Listener>();
    for (auto _ : state) {
        yk::Ref<yk::YStream> stream = openText();
        if (monitored)
            stream = yk::YMonitorInputStream::streamWithStream(yk::YBufferedInputStream::streamWithStream(stream.get(), Block).get(), listener.get());
        size_t total = 0;
        while (uint32_t n = stream->readBytes(buffer.data(), Block))
            total += n;
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * TextSize));
}

void blocksRead(benchmark::State& state)
{
    std::vector<char> buffer(Block);
    for (auto _ : state) {
        int fd = open(mailText().c_str(), O_RDONLY);
        size_t total = 0;
        ssize_t n;
        while ((n = read(fd, buffer.data(), Block)) > 0)
            total += size_t(n);
        close(fd);
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * TextSize));
}

const std::string& randomBytes()
{
    static const std::string bytes = [] {
        std::string b(Base64Size, '\0');
        std::mt19937 random(2);
        for (auto& c : b)
            c = char(random());
        return b;
    }();
    return bytes;
}

void encodeYarkit(benchmark::State& state)
{
    const auto& bytes = randomBytes();
    for (auto _ : state) {
        auto sink = yk::YDataOutputStream::streamWithCapacity(uint32_t(Base64Size / 3 * 4 + Base64Size / 57 * 2 + 8));
        auto encoder = yk::YBase64EncoderStream::streamWithStream(sink.get(), 76);
        for (size_t at = 0; at < bytes.size(); at += Block)
            encoder->writeBytes(bytes.data() + at, Block);
        encoder->flush();
        benchmark::DoNotOptimize(sink->length());
    }
    state.SetBytesProcessed(int64_t(state.iterations() * Base64Size));
}

void encodeOpenSSL(benchmark::State& state)
{
    const auto& bytes = randomBytes();
    for (auto _ : state) {
        BIO* b64 = BIO_push(BIO_new(BIO_f_base64()), BIO_new(BIO_s_mem()));
        for (size_t at = 0; at < bytes.size(); at += Block)
            BIO_write(b64, bytes.data() + at, Block);
        (void)BIO_flush(b64);
        benchmark::DoNotOptimize(BIO_ctrl_pending(b64));
        BIO_free_all(b64);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * Base64Size));
}

// Each side decodes the text its own encoder writes: CR LF lines of 76, LF lines of 64.
std::string encodedText(bool yarkit)
{
    const auto& bytes = randomBytes();
    if (yarkit) {
        std::string text(Base64Size / 3 * 4 + Base64Size / 57 * 2 + 8, '\0');
        text.resize(size_t(yk_encode_base64(text.data(), reinterpret_cast<const uint8_t*>(bytes.data()), uint32_t(bytes.size()), 76)));
        return text;
    }
    BIO* b64 = BIO_push(BIO_new(BIO_f_base64()), BIO_new(BIO_s_mem()));
    BIO_write(b64, bytes.data(), int(bytes.size()));
    (void)BIO_flush(b64);
    char* data = nullptr;
    long length = BIO_get_mem_data(BIO_next(b64), &data);
    std::string text(data, size_t(length));
    BIO_free_all(b64);
    return text;
}

void decodeYarkit(benchmark::State& state)
{
    static const std::string text = encodedText(true);
    auto source = yk::Data::dataWithString(text);
    std::vector<char> buffer(Block);
    for (auto _ : state) {
        auto decoder = yk::YBase64DecoderStream::streamWithStream(yk::YDataInputStream::streamWithData(source.get()).get());
        auto sink = yk::YDataOutputStream::streamWithCapacity(uint32_t(Base64Size));
        while (uint32_t n = decoder->readBytes(buffer.data(), Block))
            sink->writeBytes(buffer.data(), n);
        benchmark::DoNotOptimize(sink->length());
    }
    state.SetBytesProcessed(int64_t(state.iterations() * Base64Size));
}

void decodeOpenSSL(benchmark::State& state)
{
    static const std::string text = encodedText(false);
    std::vector<char> buffer(Block);
    for (auto _ : state) {
        BIO* b64 = BIO_push(BIO_new(BIO_f_base64()), BIO_new_mem_buf(text.data(), int(text.size())));
        std::string out;
        out.reserve(Base64Size);
        int n;
        while ((n = BIO_read(b64, buffer.data(), Block)) > 0)
            out.append(buffer.data(), size_t(n));
        BIO_free_all(b64);
        benchmark::DoNotOptimize(out.size());
    }
    state.SetBytesProcessed(int64_t(state.iterations() * Base64Size));
}

} // namespace

YK_DEFINE_CLASS(Listener, [](yk::MethodListBuilder& c) { c.method("stream:didReadDataOfLength:", &Listener::streamDidReadDataOfLength); });

int main(int argc, char** argv)
{
    mailText();
    benchmark::RegisterBenchmark("lines_64k/yarkit", linesYarkit, 65536)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("lines_64k/getline", linesGetline)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("lines_64k/gio", linesGio)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("lines_2048/yarkit", linesYarkit, 2048)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("lines_2048/getline", linesGetline)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("byte_reads/yarkit", bytesYarkit)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("byte_reads/getc", bytesGetc)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("byte_reads/gio", bytesGio)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("reads_64k/yarkit", blocksYarkit, false)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("reads_64k/read", blocksRead)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("monitored_64k/yarkit", blocksYarkit, true)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("monitored_64k/read", blocksRead)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("base64_encode/yarkit", encodeYarkit)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("base64_encode/BIO_f_base64", encodeOpenSSL)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("base64_decode/yarkit", decodeYarkit)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("base64_decode/BIO_f_base64", decodeOpenSSL)->Unit(benchmark::kMillisecond);

    return yk::bench::runAndPrintRatios(argc, argv, { { "lines_64k", "getline" }, { "lines_64k", "gio" }, { "lines_2048", "getline" }, { "byte_reads", "getc" },
                             { "byte_reads", "gio" }, { "reads_64k", "read" }, { "monitored_64k", "read" }, { "base64_encode", "BIO_f_base64" },
                             { "base64_decode", "BIO_f_base64" } },
        { { "lines_64k", 0.8 }, { "lines_64k/gio", 3 }, { "byte_reads", 1 }, { "byte_reads/gio", 10 }, { "reads_64k", 0.95 }, { "monitored_64k", 0.7 },
            { "base64_encode", 1.5 }, { "base64_decode", 2 } });
}
