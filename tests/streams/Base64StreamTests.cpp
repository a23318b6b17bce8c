#include "StreamTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/CommandOutput.h"
#include "core/TemporaryFolder.h"

#include <Yarkit/Base64.h>
#include <Yarkit/DataBase64.h>
#include <Yarkit/YBase64DecoderStream.h>
#include <Yarkit/YBase64EncoderStream.h>
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YDataOutputStream.h>
#include <Yarkit/core/values/Exception.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <random>

using namespace yk;
using yk::test::ChunkedSource;
using yk::test::expectRaise;
using yk::test::text;

namespace {

std::string randomBytes(std::mt19937& random, size_t length)
{
    std::string bytes(length, '\0');
    for (auto& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string encodeWithCodec(const std::string& bytes, int32_t lineLength)
{
    std::string out(bytes.size() * 2 + 8, '\0');
    int32_t n = yk_encode_base64(out.data(), reinterpret_cast<const uint8_t*>(bytes.data()), uint32_t(bytes.size()), lineLength);
    out.resize(size_t(n));
    return out;
}

// Reads the decoder stream with requests of the given sizes, in turn; nothing when it raises.
std::optional<std::string> decodeByStream(Ref<YStream> source, const std::vector<uint32_t>& sizes)
{
    auto decoder = YBase64DecoderStream::streamWithStream(source.get());
    std::string out;
    std::vector<char> buffer(*std::max_element(sizes.begin(), sizes.end()));
    try {
        for (size_t i = 0, zeros = 0; zeros < 3; ++i) {
            uint32_t n = decoder->readBytes(buffer.data(), sizes[i % sizes.size()]);
            out.append(buffer.data(), n);
            zeros = n ? 0 : zeros + 1;
        }
    } catch (const Exception&) {
        return std::nullopt;
    }
    return out;
}

} // namespace

TEST(YBase64EncoderStream, EqualsTheWholeDataEncodingForEveryLineLength)
{
    std::mt19937 random(11);
    for (uint32_t lineLength = 4; lineLength <= 200; ++lineLength) {
        std::string bytes = randomBytes(random, random() % 3000);
        auto sink = YDataOutputStream::streamWithCapacity(32);
        auto encoder = YBase64EncoderStream::streamWithStream(sink.get(), lineLength);
        for (size_t at = 0; at < bytes.size();) {
            size_t n = std::min<size_t>(bytes.size() - at, random() % 200);
            encoder->writeBytes(bytes.data() + at, uint32_t(n));
            at += n;
        }
        encoder->close();
        std::string expected = text(base64DataWithLineLength(Data::dataWithString(bytes).get(), lineLength));
        ASSERT_EQ(text(sink->data()), expected) << "line length " << lineLength;
        ASSERT_EQ(encodeWithCodec(bytes, int32_t(lineLength)), expected) << "line length " << lineLength;
    }
}

TEST(YBase64EncoderStream, FlushMidDataPadsMidStreamAndBadLineLengthsRaise)
{
    auto sink = YDataOutputStream::streamWithCapacity(32);
    auto encoder = YBase64EncoderStream::streamWithStream(sink.get(), 76);
    encoder->writeBytes("A", 1);
    encoder->flush();
    encoder->writeBytes("AB", 2);
    encoder->close();
    EXPECT_EQ(text(sink->data()), "QQ==QUI=");

    for (int64_t lineLength : { int64_t(0), int64_t(3), int64_t(-4), int64_t(INT32_MAX) - 1, int64_t(UINT32_MAX) })
        expectRaise([&] { (void)YBase64EncoderStream::streamWithStream(sink.get(), lineLength); }, NSInvalidArgumentException,
            "*** -[YBase64EncoderStream initWithStream:lineLength:]: invalid line length " + std::to_string(lineLength));
    expectRaise([&] { (void)base64DataWithLineLength(Data::dataWithString("x").get(), 0); }, NSInvalidArgumentException,
        "*** -[NSData base64DataWithLineLength:]: line length is 0");
}

TEST(YBase64DecoderStream, WhereItDivergesFromTheCodec)
{
    struct Case {
        const char* text;
        std::optional<std::string> stream;
        std::optional<std::string> codec;
    } cases[] = {
        { "QUJD\r\nREVG", "ABCDEF", "ABCDEF" },
        { "QQ==QUI=", "AAB", "A" },
        { "QU\r\nJD", "", "ABC" }, // a group split by a line break ends the read
        { "QUJD\r\n REVG", std::nullopt, "ABCDEF" }, // a fold between groups
        { "QUJD!\r\nREVG", "ABC", "ABCDEF" },
        { " QUJD", std::nullopt, std::nullopt },
        { "QUJ", "", "" },
    };
    for (const auto& c : cases) {
        Ref<Data> decoded = dataWithBase64Data(Data::dataWithString(c.text).get());
        EXPECT_EQ(decoded ? std::optional(text(decoded)) : std::nullopt, c.codec) << c.text;
        for (uint32_t chunk : { 1u, 64u }) {
            auto source = YBufferedInputStream::streamWithStream(make<ChunkedSource>(c.text, chunk).get());
            EXPECT_EQ(decodeByStream(source, { 64 }), c.stream) << c.text;
        }
    }

    // The second read resumes in the middle of the split group.
    auto decoder = YBase64DecoderStream::streamWithStream(YDataInputStream::streamWithData(Data::dataWithString("QU\r\nJDQUJD").get()).get());
    char buffer[16];
    EXPECT_EQ(decoder->readBytes(buffer, 16), 0u);
    EXPECT_EQ(decoder->readBytes(buffer, 16), 3u);
}

// In-place decoding of a data or buffered stream against group-by-group reads behind a plain
// filter, with random requests, chunked sources and stray characters.
TEST(YBase64DecoderStream, InPlaceDecodingMatchesGroupByGroupReads)
{
    std::mt19937 random(5);
    const char noise[] = "\r\n =!QUJD";
    for (int round = 0; round < 300; ++round) {
        std::string textToDecode = encodeWithCodec(randomBytes(random, random() % 400), int32_t(4 * (random() % 30)));
        for (int i = random() % 3; i > 0 && !textToDecode.empty(); --i)
            textToDecode[random() % textToDecode.size()] = noise[random() % (sizeof noise - 1)];
        std::vector<uint32_t> sizes { 1 + uint32_t(random() % 64), 1 + uint32_t(random() % 7) };
        uint32_t chunk = 1 + random() % 100;
        uint32_t bufferSize = random() % 100;
        auto source = [&] { return YBufferedInputStream::streamWithStream(make<ChunkedSource>(textToDecode, chunk).get(), bufferSize); };
        auto fast = decodeByStream(source(), sizes);
        auto oracle = decodeByStream(YFilterStream::streamWithStream(source().get()), sizes);
        ASSERT_EQ(fast, oracle) << textToDecode;
        ASSERT_EQ(decodeByStream(YDataInputStream::streamWithData(Data::dataWithString(textToDecode).get()), sizes), oracle) << textToDecode;
    }
}

// Python's base64 module is an independent codec: our CR LF text of 76-character lines must be
// what it writes (with a final partial group, and ending exactly at a line's end), and we must
// decode it.
TEST(DataBase64, AgreesWithPython)
{
    std::mt19937 random(3);
    test::TemporaryFolder folder;
    std::string in = (folder.path() / "in").string();
    for (size_t length : { 4999, 57 * 88 }) {
        std::string bytes = randomBytes(random, length);
        std::ofstream(in, std::ios::binary) << bytes;
        std::string command = "python3 -c \"import base64,sys; d=open(sys.argv[1],'rb').read(); e=base64.b64encode(d); "
                              "sys.stdout.buffer.write(b''.join(e[i:i+76]+b'\\r\\n'*(i+76<=len(e)) for i in range(0,len(e),76)))\" "
            + in;
        const auto [python, status] = yk::test::runCommand(command);
        ASSERT_EQ(status, 0);
        Ref<Data> encoded = base64DataWithLineLength(Data::dataWithString(bytes).get(), 76);
        EXPECT_EQ(text(encoded), python) << length;
        EXPECT_EQ(text(dataWithBase64Data(encoded.get())), bytes) << length;
        EXPECT_EQ(decodeByStream(YDataInputStream::streamWithData(Data::dataWithString(python).get()), { 1000 }), bytes) << length;
    }
}
