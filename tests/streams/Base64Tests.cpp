#include <Yarkit/Base64.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "streams/Base64Codec.h"

namespace {

std::vector<uint8_t> bytesOf(const std::string& text)
{
    return { text.begin(), text.end() };
}

using yk::detail::Base64Path;

// The faster paths this processor runs, each held to the portable one.
std::vector<Base64Path> paths()
{
    return yk::detail::availableBase64Paths();
}

const char* nameOf(Base64Path path)
{
    return path == Base64Path::AVX2 ? "AVX2" : path == Base64Path::Tables ? "tables" : "portable";
}

// The decoded bytes, or `valid` false for the result -1.
struct Decoding {
    bool valid { true };
    std::vector<uint8_t> bytes;
};

// Encodes through the exported functions, or through one path when `path` is given, into
// exactly the room the contract asks callers to allow.
std::string encode(const std::vector<uint8_t>& in, int lineLength, bool pad, std::optional<Base64Path> path = std::nullopt)
{
    size_t groups = (in.size() + 2) / 3;
    size_t lines = lineLength > 0 ? in.size() / 3 * 4 / static_cast<size_t>(lineLength) : 0;
    std::string out(4 * groups + 2 * lines, '\0');
    auto length = static_cast<uint32_t>(in.size());
    int32_t n = path ? yk::detail::encodeBase64Using(*path, out.data(), in.data(), length, lineLength, pad)
        : pad        ? yk_encode_base64(out.data(), in.data(), length, lineLength)
                     : yk_encode_base64_no_pad(out.data(), in.data(), length, lineLength);
    EXPECT_GE(n, 0);
    EXPECT_LE(static_cast<size_t>(n), out.size());
    out.resize(static_cast<size_t>(n));
    return out;
}

// The decoded bytes, or `valid` false for -1. The output buffer is exactly floor(3n/4) bytes
// on the heap so a sanitizer build catches any write past it.
Decoding decode(const std::string& text, bool pad, std::optional<Base64Path> path = std::nullopt)
{
    std::vector<uint8_t> out(text.size() * 3 / 4);
    auto length = static_cast<uint32_t>(text.size());
    int32_t n = path ? yk::detail::decodeBase64Using(*path, out.data(), text.data(), length, pad)
        : pad        ? yk_decode_base64(out.data(), text.data(), length)
                     : yk_decode_base64_no_pad(out.data(), text.data(), length);
    if (n < 0) {
        EXPECT_EQ(n, -1);
        return { false, {} };
    }
    EXPECT_LE(static_cast<size_t>(n), out.size());
    out.resize(static_cast<size_t>(n));
    return { true, out };
}

std::string show(const Decoding& d)
{
    if (!d.valid)
        return "-1";
    return "\"" + std::string(d.bytes.begin(), d.bytes.end()) + "\"";
}

std::vector<uint8_t> randomBytes(std::mt19937& rng, size_t length)
{
    std::vector<uint8_t> bytes(length);
    for (auto& b : bytes)
        b = static_cast<uint8_t>(rng());
    return bytes;
}

TEST(Base64, EncodesGroupsPaddingAndLineBreaks)
{
    const std::string fiftySeven(57, 'x');
    const std::string sixtyOneChars = encode(bytesOf(fiftySeven), 0, true);
    struct Case {
        std::string input;
        int lineLength;
        bool pad;
        std::string expected;
    } cases[] = {
        { "", 76, true, "" },
        { "A", 76, true, "QQ==" },
        { "A", 76, false, "QQ" },
        { "AB", 76, true, "QUI=" },
        { "AB", 76, false, "QUI" },
        { "ABC", 76, true, "QUJD" },
        { "\xff\xfe\xfd", 76, true, "//79" },
        // A break follows a group that fills the line, even the last one.
        { "ABCABC", 4, true, "QUJD\r\nQUJD\r\n" },
        { "ABCA", 4, true, "QUJD\r\nQQ==" },
        { "ABCABCA", 8, false, "QUJDQUJD\r\nQQ" },
        // 0, -1 and lengths that are not multiples of 4 never match the column.
        { "ABCABCABC", 0, true, "QUJDQUJDQUJD" },
        { "ABCABCABC", -1, true, "QUJDQUJDQUJD" },
        { "ABCABCABC", 6, true, "QUJDQUJDQUJD" },
        { "ABCABCABC", 10, true, "QUJDQUJDQUJD" },
        { fiftySeven, 76, true, sixtyOneChars + "\r\n" },
        { fiftySeven + "x", 76, true, sixtyOneChars + "\r\neA==" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("input \"" + c.input + "\", line length " + std::to_string(c.lineLength) + (c.pad ? ", padded" : ", unpadded"));
        EXPECT_EQ(encode(bytesOf(c.input), c.lineLength, c.pad), c.expected);
        EXPECT_EQ(encode(bytesOf(c.input), c.lineLength, c.pad, Base64Path::Portable), c.expected);
    }
    EXPECT_EQ(sixtyOneChars.size(), 76u);
}

TEST(Base64, DecodesPaddedAndUnpaddedForms)
{
    const Decoding invalid { false, {} };
    auto bytes = [](const std::string& s) { return Decoding { true, bytesOf(s) }; };
    struct Case {
        std::string input;
        Decoding padded;
        Decoding unpadded;
    } cases[] = {
        { "", bytes(""), bytes("") },
        { "QQ==", bytes("A"), invalid },
        { "QQ=", bytes(""), invalid },
        { "QQ", bytes(""), bytes("A") },
        { "QUI", bytes(""), bytes("AB") },
        { "Q", bytes(""), bytes("") },
        { "QUJD", bytes("ABC"), bytes("ABC") },
        { "QUJDQQ==", bytes("ABCA"), invalid },
        // "=" ends the data with its group; anything after it is ignored.
        { "QQ==QUJD", bytes("A"), invalid },
        { "QUI=garbage!", bytes("AB"), invalid },
        { "QQ=A", bytes("A"), invalid },
        // A pad early in a group enters the arithmetic as 127 and still ends the data.
        { "=QUJ", bytes("\xfd\x05\x09"), invalid },
        { "Q=UJ", bytes("C\xf5\x09"), invalid },
        { "====", bytes("\xff"), invalid },
        // Line breaks anywhere, runs of them, one following space or tab, and "!" before one.
        { "QU\r\nJD", bytes("ABC"), bytes("ABC") },
        { "QU\r\n JD", bytes("ABC"), bytes("ABC") },
        { "QU\n\r\n\r\tJD", bytes("ABC"), bytes("ABC") },
        { "QU\r\n  JD", invalid, invalid },
        { "QU!\r\nJD", bytes("ABC"), bytes("ABC") },
        { "QUJD!\n", bytes("ABC"), bytes("ABC") },
        { "\r\nQUJD", bytes("ABC"), bytes("ABC") },
        // A stray character: fatal first or inside a group, ignored between groups after output.
        { " QUJD", invalid, invalid },
        { "!QUJD", invalid, invalid },
        { "QU JD", invalid, invalid },
        { "QU!JD", invalid, invalid },
        { "QUJD QUJD", bytes("ABCABC"), bytes("ABCABC") },
        { "QUJD!QUJD", bytes("ABCABC"), bytes("ABCABC") },
        { "QUJD\xc3\xa9QUJD", bytes("ABCABC"), bytes("ABCABC") },
        { "QUJD=QUJ", bytes("ABC\xfd\x05\x09"), bytes("ABCAB") },
        { "QUJD.", bytes("ABC"), bytes("ABC") },
        { "QUJD.Q", bytes("ABC"), bytes("ABC") },
        { "QUJD.QU", bytes("ABC"), bytes("ABCA") },
        { "QUJD.QU.", invalid, invalid },
        { "QUJD!", bytes("ABC"), bytes("ABC") },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("input \"" + c.input + "\"");
        EXPECT_EQ(show(decode(c.input, true)), show(c.padded));
        EXPECT_EQ(show(decode(c.input, false)), show(c.unpadded));
        EXPECT_EQ(show(decode(c.input, true, Base64Path::Portable)), show(c.padded));
        EXPECT_EQ(show(decode(c.input, false, Base64Path::Portable)), show(c.unpadded));
    }
}

// The fast group paths agree with the portable one around their boundaries: groups cut by line
// breaks, stray bytes and pads at every offset.
TEST(Base64, FastPathsDecodeLikeThePortableOneOnGeneratedText)
{
    std::mt19937 rng(20261121);
    const std::string pieces[] = { "A", "z", "0", "+", "/", "=", "\r", "\n", "\r\n", "\r\n ", "\n\t",
        "!\r\n", "!", " ", "\t", ".", "\x80", "\xff", "@", "`", "{", ":", "QUJD", "QUJDQUJDQUJDQUJD", "QQ==", "QUI=",
        "AZaz09+/QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJD", "QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJD", "-_" };
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        size_t count = rng() % 24;
        for (size_t i = 0; i < count; ++i)
            text += pieces[rng() % std::size(pieces)];
        for (bool pad : { true, false }) {
            auto expected = decode(text, pad, Base64Path::Portable);
            for (Base64Path path : paths())
                ASSERT_EQ(show(decode(text, pad, path)), show(expected)) << nameOf(path) << ": text of " << text.size() << " bytes, pad " << pad;
        }
    }
}

// Every byte value in every position of a vector block: the AVX2 validation must reject
// exactly the characters outside the alphabet.
TEST(Base64, EveryCharacterAtEveryOffsetOfABlock)
{
    std::string base(64, 'A');
    for (int c = 0; c < 256; ++c) {
        for (size_t offset = 0; offset < 40; ++offset) {
            std::string text = base;
            text[offset] = static_cast<char>(c);
            for (bool pad : { true, false }) {
                auto expected = decode(text, pad, Base64Path::Portable);
                for (Base64Path path : paths())
                    ASSERT_EQ(show(decode(text, pad, path)), show(expected)) << nameOf(path) << ": byte " << c << " at " << offset;
            }
        }
    }
}

TEST(Base64, FastPathsEncodeLikeThePortableOneAtEveryLength)
{
    std::mt19937 rng(7);
    for (size_t length = 0; length < 400; ++length) {
        auto data = randomBytes(rng, length);
        for (int lineLength : { 76, 64, 4, 8, 32, 36, 0, -1, 75, 2 }) {
            for (bool pad : { true, false }) {
                SCOPED_TRACE(std::to_string(length) + " bytes, line length " + std::to_string(lineLength));
                std::string text = encode(data, lineLength, pad, Base64Path::Portable);
                ASSERT_EQ(encode(data, lineLength, pad), text);
                for (Base64Path path : paths()) {
                    ASSERT_EQ(encode(data, lineLength, pad, path), text) << nameOf(path);
                    ASSERT_EQ(decode(text, pad, path).bytes, data) << nameOf(path);
                }
                auto back = decode(text, pad, Base64Path::Portable);
                ASSERT_TRUE(back.valid);
                ASSERT_EQ(back.bytes, data);
            }
        }
    }
}

// Python's base64 module is an independent codec: our CR LF text of 76-character lines must
// be what it writes, and we must decode it.
TEST(Base64, AgreesWithPython)
{
    const std::string script = "import base64, random\n"
                               "for n in (0, 1, 2, 3, 56, 57, 58, 114, 1000, 4099):\n"
                               "    d = random.Random(n).randbytes(n)\n"
                               "    t = base64.encodebytes(d).decode().replace('\\n', '_')\n"
                               "    print(d.hex() or '.', (t if n % 57 == 0 else t[:-1]) or '.')\n";
    FILE* pipe = popen(("python3 -c \"" + script + "\" 2>/dev/null").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    char* line = nullptr;
    size_t capacity = 0;
    int rows = 0;
    for (; getline(&line, &capacity, pipe) > 0; ++rows) {
        std::istringstream fields(line);
        std::string hex, text;
        fields >> hex >> text;
        std::vector<uint8_t> data;
        for (size_t i = 0; hex != "." && i < hex.size(); i += 2)
            data.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
        text = text == "." ? "" : text;
        for (size_t at; (at = text.find('_')) != std::string::npos;)
            text.replace(at, 1, "\r\n");
        EXPECT_EQ(encode(data, 76, true), text) << data.size() << " bytes";
        EXPECT_EQ(decode(text, true).bytes, data) << data.size() << " bytes";
    }
    std::free(line);
    if (pclose(pipe) != 0 || rows == 0)
        GTEST_SKIP() << "python3 is not available";
    EXPECT_EQ(rows, 10);
}

} // namespace
