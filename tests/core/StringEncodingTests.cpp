#include "CoreTestSupport.h"

#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/StringConverter.h>

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

using namespace yk;
using yk::test::describe;
using yk::test::str;

namespace {

// The bytes in lowercase hex, or "(null)".
std::string hex(const Data* data)
{
    static const char digits[] = "0123456789abcdef";
    if (!data)
        return "(null)";
    std::string text;
    for (uint8_t byte : data->span()) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace

// Expected bytes are Python's codecs (shift_jis, cp932, euc_jp, iso2022_jp, latin-1,
// mac_roman, cp1252, utf-16-be, utf-16-le, utf-16), an implementation independent of ICU.
TEST(StringEncoding, ConversionsAgreeWithPythonCodecs)
{
    struct Case {
        CFStringEncoding encoding;
        const char *text, *bytes;
    } cases[] = {
        { kCFStringEncodingShiftJIS, "日本語のメール、テスト。ABC", "93fa967b8cea82cc8381815b838b81418365835883678142414243" },
        { kCFStringEncodingDOSJapanese, "日本語のメール、テスト。ABC ①Ⅱ", "93fa967b8cea82cc8381815b838b814183658358836781424142432087408755" },
        { kCFStringEncodingEUC_JP, "日本語のメール、テスト。ABC", "c6fccbdcb8eca4cea5e1a1bca5eba1a2a5c6a5b9a5c8a1a3414243" },
        { kCFStringEncodingISO_2022_JP, "日本語のメール、テスト。ABC", "1b2442467c4b5c386c244e2561213c256b212225462539254821231b2842414243" },
        { kCFStringEncodingISOLatin1, "Grüße", "4772fcdf65" },
        { kCFStringEncodingMacRoman, "Grüße", "47729fa765" },
        { kCFStringEncodingWindowsLatin1, "Grüße €", "4772fcdf652080" },
        { kCFStringEncodingUTF16BE, "日本 ①", "65e5672c00202460" },
        { kCFStringEncodingUTF16LE, "日本 ①", "e5652c6720006024" },
        { kCFStringEncodingUnicode, "a", "fffe6100" }, // a mark in the host's order (little-endian here)
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(stringEncodingName(c.encoding));
        Ref<Data> data = str(c.text)->dataUsingEncoding(c.encoding);
        EXPECT_EQ(hex(data.get()), c.bytes);
        // Once the bytes match, decoding them back must give the text.
        if (data) {
            EXPECT_EQ(describe(String::stringWithData(data.get(), c.encoding).get()), c.text);
        }
    }
}

TEST(StringEncoding, DecodingIsStrictAndReadsByteOrderMarks)
{
    const struct {
        CFStringEncoding encoding;
        std::string bytes;
        std::u16string text; // u"(null)": refused
    } cases[] = {
        { kCFStringEncodingUTF8, "ab\xC3", u"(null)" }, // truncated
        { kCFStringEncodingASCII, "caf\xE9", u"(null)" },
        { kCFStringEncodingShiftJIS, "\x93", u"(null)" }, // a lead byte alone
        { kCFStringEncodingShiftJIS, "\x81\x20", u"(null)" }, // a lead byte with an invalid trail byte
        { kCFStringEncodingEUC_JP, "\xA4\x41", u"(null)" },
        { kCFStringEncodingISO_2022_JP, "\x1B$B\x7F\x7F\x1B(B", u"(null)" },
        { kCFStringEncodingUTF16BE, std::string("\x00", 1), u"(null)" }, // odd length
        { kCFStringEncodingUTF16BE, std::string("\xD8\x00\x00\x41", 4), u"(null)" }, // unpaired surrogate
        { kCFStringEncodingMacJapanese, "a", u"(null)" }, // no converter
        { kCFStringEncodingInvalidId, "a", u"(null)" },
        { kCFStringEncodingShiftJIS, "", u"" },
        { kCFStringEncodingUnicode, std::string("\xFE\xFF\x00\x61", 4), u"a" },
        { kCFStringEncodingUnicode, std::string("\xFF\xFE\x61\x00", 4), u"a" },
        { kCFStringEncodingUnicode, std::string("\x00\x61", 2), u"a" }, // big-endian without a mark
        { kCFStringEncodingUTF8, "\xEF\xBB\xBF" "a", u"\uFEFFa" }, // the mark is kept
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        Ref<String> text = String::stringWithBytes(c.bytes.data(), c.bytes.size(), c.encoding);
        EXPECT_EQ(text ? text->units() : u"(null)", c.text) << stringEncodingName(c.encoding) << ", row " << i;
    }
}

TEST(StringEncoding, UnrepresentableCharactersFailUnlessLossy)
{
    struct Case {
        CFStringEncoding encoding;
        const char *text, *lossyBytes;
    } cases[] = {
        { kCFStringEncodingASCII, "café", "6361663f" },
        { kCFStringEncodingISOLatin1, "日a", "3f61" },
        { kCFStringEncodingEUC_JP, "a😀", "613f" },
        { kCFStringEncodingShiftJIS, "😀", "3f" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " in " + stringEncodingName(c.encoding));
        auto text = str(c.text);
        EXPECT_FALSE(text->dataUsingEncoding(c.encoding));
        EXPECT_FALSE(text->canBeConvertedToEncoding(c.encoding));
        EXPECT_EQ(hex(text->dataUsingEncoding(c.encoding, true).get()), c.lossyBytes);
    }
    // A lone surrogate cannot be written as UTF-8.
    auto broken = make<String>(std::u16string(1, u'\xD800'));
    EXPECT_FALSE(broken->dataUsingEncoding(kCFStringEncodingUTF8));
    EXPECT_TRUE(str("mail")->canBeConvertedToEncoding(kCFStringEncodingISO_2022_JP));
}

// The conversion to UTF-8 hands its output over in pieces; where they break must change
// neither the text (a character cut between two pieces) nor the replacements' offsets.
TEST(StringConverter, ConvertToUTF8GivesTheSameTextAndOffsetsInAnyPieces)
{
    struct Case {
        CFStringEncoding encoding;
        std::string bytes, utf8;
        std::vector<uint64_t> replaced;
    } cases[] = {
        { kCFStringEncodingShiftJIS, "a\x82\xa0\x82\xa2z", "a\xe3\x81\x82\xe3\x81\x84z", {} },
        { kCFStringEncodingEUC_JP, "\xa4\xa2\xff" "b\x8f\xa4\x40", "\xe3\x81\x82\xef\xbf\xbd" "b\xef\xbf\xbd\xef\xbf\xbd\x40", { 2, 4, 5 } },
        { kCFStringEncodingISO_2022_JP, "x\x1b$B$\"\x1b(By\x1b.#", "x\xe3\x81\x82y\xef\xbf\xbd.#", { 10 } },
        { kCFStringEncodingUTF8, "ab\xed\xa0\x80" "c\xc3", "ab\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd" "c\xef\xbf\xbd", { 2, 3, 4, 6 } },
        { kCFStringEncodingUTF8, "", "", {} },
    };
    for (const auto& c : cases) {
        for (size_t pieceSize : { 1, 2, 3, 5, 64 * 1024 }) {
            SCOPED_TRACE(::testing::Message() << stringEncodingName(c.encoding) << ", pieces of " << pieceSize);
            StringConverter converter(c.encoding);
            ASSERT_TRUE(converter.isValid());
            std::string utf8;
            std::vector<uint64_t> replaced;
            auto write = [&](std::string_view piece) {
                EXPECT_LE(piece.size(), pieceSize);
                utf8 += piece;
                return true;
            };
            std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(c.bytes.data()), c.bytes.size());
            ASSERT_TRUE(converter.convertToUTF8(bytes, write, replaced, pieceSize));
            EXPECT_EQ(utf8, c.utf8);
            EXPECT_EQ(replaced, c.replaced);
        }
    }
}
