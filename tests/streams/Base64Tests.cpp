#include <Yarkit/Base64.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "streams/Base64Codec.h"

namespace {

using yk::detail::Base64Path;

const char* nameOf(Base64Path path)
{
    return path == Base64Path::AVX2 ? "AVX2" : path == Base64Path::Tables ? "tables" : "portable";
}

// Encodes through the exported functions, or through one path when `path` is given, into
// exactly the room the contract asks callers to allow.
std::string encode(const std::string& bytes, int lineLength, bool pad, std::optional<Base64Path> path = std::nullopt)
{
    size_t groups = (bytes.size() + 2) / 3;
    size_t lines = lineLength > 0 ? bytes.size() / 3 * 4 / static_cast<size_t>(lineLength) : 0;
    std::string out(4 * groups + 2 * lines, '\0');
    auto* in = reinterpret_cast<const uint8_t*>(bytes.data());
    auto length = static_cast<uint32_t>(bytes.size());
    int32_t n = path ? yk::detail::encodeBase64Using(*path, out.data(), in, length, lineLength, pad)
        : pad        ? yk_encode_base64(out.data(), in, length, lineLength)
                     : yk_encode_base64_no_pad(out.data(), in, length, lineLength);
    EXPECT_GE(n, 0);
    EXPECT_LE(static_cast<size_t>(n), out.size());
    out.resize(static_cast<size_t>(n));
    return out;
}

// The decoded bytes, or nothing for the result -1. The output buffer is exactly floor(3n/4)
// bytes on the heap so a sanitizer build catches any write past it.
std::optional<std::string> decode(const std::string& text, bool pad, std::optional<Base64Path> path = std::nullopt)
{
    std::vector<uint8_t> out(text.size() * 3 / 4);
    auto length = static_cast<uint32_t>(text.size());
    int32_t n = path ? yk::detail::decodeBase64Using(*path, out.data(), text.data(), length, pad)
        : pad        ? yk_decode_base64(out.data(), text.data(), length)
                     : yk_decode_base64_no_pad(out.data(), text.data(), length);
    EXPECT_GE(n, -1);
    EXPECT_LE(n, static_cast<int32_t>(out.size()));
    if (n < 0)
        return std::nullopt;
    return std::string(out.begin(), out.begin() + n);
}

// Every faster path decodes `text` as the portable one does, padded or not.
void expectFastPathsDecodeLikeThePortableOne(const std::string& text, const std::string& what)
{
    for (bool pad : { true, false }) {
        const auto expected = decode(text, pad, Base64Path::Portable);
        for (Base64Path path : yk::detail::availableBase64Paths())
            EXPECT_EQ(decode(text, pad, path), expected) << nameOf(path) << ", pad " << pad << ": " << what;
    }
}

TEST(Base64, EncodesGroupsPaddingAndLineBreaks)
{
    const std::string fiftySeven(57, 'x');
    const std::string fullLine = encode(fiftySeven, 0, true);
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
        { fiftySeven, 76, true, fullLine + "\r\n" },
        { fiftySeven + "x", 76, true, fullLine + "\r\neA==" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(encode(c.input, c.lineLength, c.pad, Base64Path::Portable), c.expected) << "row " << &c - cases;
    EXPECT_EQ(fullLine.size(), 76u);
}

TEST(Base64, DecodesPaddedAndUnpaddedForms)
{
    const auto invalid = std::nullopt;
    struct Case {
        std::string input;
        std::optional<std::string> padded;
        std::optional<std::string> unpadded;
    } cases[] = {
        { "", "", "" },
        { "QQ==", "A", invalid },
        { "QQ=", "", invalid },
        { "QQ", "", "A" },
        { "QUI", "", "AB" },
        { "Q", "", "" },
        { "QUJD", "ABC", "ABC" },
        { "QUJDQQ==", "ABCA", invalid },
        // "=" ends the data with its group; anything after it is ignored.
        { "QQ==QUJD", "A", invalid },
        { "QUI=garbage!", "AB", invalid },
        { "QQ=A", "A", invalid },
        // A pad early in a group enters the arithmetic as 127 and still ends the data.
        { "=QUJ", "\xfd\x05\x09", invalid },
        { "Q=UJ", "C\xf5\x09", invalid },
        { "====", "\xff", invalid },
        // Line breaks anywhere, runs of them, one following space or tab, and "!" before one.
        { "QU\r\nJD", "ABC", "ABC" },
        { "QU\r\n JD", "ABC", "ABC" },
        { "QU\n\r\n\r\tJD", "ABC", "ABC" },
        { "QU\r\n  JD", invalid, invalid },
        { "QU!\r\nJD", "ABC", "ABC" },
        { "QUJD!\n", "ABC", "ABC" },
        { "\r\nQUJD", "ABC", "ABC" },
        // A stray character: fatal first or inside a group, ignored between groups after output.
        { " QUJD", invalid, invalid },
        { "!QUJD", invalid, invalid },
        { "QU JD", invalid, invalid },
        { "QU!JD", invalid, invalid },
        { "QUJD QUJD", "ABCABC", "ABCABC" },
        { "QUJD!QUJD", "ABCABC", "ABCABC" },
        { "QUJD\xc3\xa9QUJD", "ABCABC", "ABCABC" },
        { "QUJD=QUJ", "ABC\xfd\x05\x09", "ABCAB" },
        { "QUJD.", "ABC", "ABC" },
        { "QUJD.Q", "ABC", "ABC" },
        { "QUJD.QU", "ABC", "ABCA" },
        { "QUJD.QU.", invalid, invalid },
        { "QUJD!", "ABC", "ABC" },
    };
    for (const auto& c : cases) {
        for (auto path : { std::optional<Base64Path>(), std::optional(Base64Path::Portable) }) {
            EXPECT_EQ(decode(c.input, true, path), c.padded) << "input \"" << c.input << "\"";
            EXPECT_EQ(decode(c.input, false, path), c.unpadded) << "input \"" << c.input << "\"";
        }
    }
}

// The fast group paths decode like the portable one around their boundaries: every byte value
// at every position of a vector block (the AVX2 validation must reject exactly the characters
// outside the alphabet), and groups cut by line breaks, stray bytes and pads at every offset.
TEST(Base64, FastPathsDecodeLikeThePortableOne)
{
    for (int c = 0; c < 256 && !HasFailure(); ++c) {
        for (size_t offset = 0; offset < 40; ++offset) {
            std::string text(64, 'A');
            text[offset] = static_cast<char>(c);
            expectFastPathsDecodeLikeThePortableOne(text, "byte " + std::to_string(c) + " at " + std::to_string(offset));
        }
    }
    std::mt19937 rng(20261121);
    const std::string pieces[] = { "A", "z", "0", "+", "/", "=", "\r", "\n", "\r\n", "\r\n ", "\n\t",
        "!\r\n", "!", " ", "\t", ".", "\x80", "\xff", "@", "`", "{", ":", "QUJD", "QUJDQUJDQUJDQUJD", "QQ==", "QUI=",
        "AZaz09+/QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJD", "QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJD", "-_" };
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        std::string text;
        for (size_t count = rng() % 24; count > 0; --count)
            text += pieces[rng() % std::size(pieces)];
        expectFastPathsDecodeLikeThePortableOne(text, "text \"" + text + "\"");
    }
}

TEST(Base64, FastPathsEncodeLikeThePortableOneAtEveryLength)
{
    std::mt19937 rng(7);
    std::string data;
    for (size_t length = 0; length < 400; ++length, data += static_cast<char>(rng())) {
        for (int lineLength : { 76, 64, 4, 8, 32, 36, 0, -1, 75, 2 }) {
            for (bool pad : { true, false }) {
                SCOPED_TRACE(std::to_string(length) + " bytes, line length " + std::to_string(lineLength));
                std::string text = encode(data, lineLength, pad, Base64Path::Portable);
                ASSERT_EQ(encode(data, lineLength, pad), text);
                ASSERT_EQ(decode(text, pad, Base64Path::Portable), data);
                for (Base64Path path : yk::detail::availableBase64Paths()) {
                    ASSERT_EQ(encode(data, lineLength, pad, path), text) << nameOf(path);
                    ASSERT_EQ(decode(text, pad, path), data) << nameOf(path);
                }
            }
        }
    }
}

} // namespace
