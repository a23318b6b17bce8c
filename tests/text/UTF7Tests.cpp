#include <Yarkit/StringUTF7.h>

#include <Yarkit/Base64Units.h>

#include "streams/Base64Codec.h"
#include "text/UTF7Paths.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace yk;
using namespace std::literals;

TEST(StringUTF7, EncodesBothForms)
{
    const struct {
        std::u16string text;
        const char* utf7;
        const char* modified;
    } cases[] = {
        { u"", "", "" }, { u"a&b", "a+ACY-b", "a&-b" }, { u"日本", "+ZeVnLA", "&ZeVnLA-" }, { u"\u00FF\u00FF", "+AP8A/w", "&AP8A,w-" },
        { u"A+B", "A+ACs-B", "A+B" }, { u"+ ", "+ACs ", "+ " }, { u"Ł", "+AUE", "&AUE-" }, { u"~/Mail", "+AH4-/Mail", "~/Mail" },
        { u"Hi Mom -☺-!", "Hi Mom -+Jjo--+ACE", "Hi Mom -&Jjo--!" }, { u"Inbox/送信済み", "Inbox/+kAFP4W4IMH8", "Inbox/&kAFP4W4IMH8-" },
        { u"\u0141A", "+AUE-A", "&AUE-A" }, { u"日 本", "+ZeU +Zyw", "&ZeU- &Zyw-" }, { u"\xD800", "+2AA", "&2AA-" }, // a lone surrogate is kept
    };
    for (const auto& row : cases) {
        auto string = make<String>(row.text);
        EXPECT_EQ(UTF7Data(string.get())->stringView(), row.utf7) << row.utf7;
        EXPECT_EQ(modifiedUTF7String(string.get()), row.modified) << row.modified;
        EXPECT_TRUE(stringWithUTF7String(row.utf7)->isEqualToString(row.text)) << row.utf7;
        EXPECT_TRUE(stringWithModifiedUTF7String(row.modified)->isEqualToString(row.text)) << row.modified;
    }
    EXPECT_EQ(UTF7Data(nullptr), nullptr);
    EXPECT_EQ(UTF7String(nullptr), "");
}

TEST(StringUTF7, MalformedShiftsStayLiteral)
{
    const struct {
        const char* bytes;
        std::u16string utf7;
        std::u16string modified;
    } cases[] = {
        { "+-", u"+", u"+-" }, { "+!", u"+!", u"+!" }, { "+", u"+", u"+" }, { "&-", u"&-", u"&" }, { "&", u"&", u"&" },
        { "+AGEx", u"+AGEx", u"+AGEx" }, { "+AGE--", u"a-", u"+AGE--" }, { "&A-", u"&A-", u"&A-" }, { "&ZeVnLA", u"&ZeVnLA", u"&ZeVnLA" },
        { "&AGEAYg==-", u"&AGEAYg==-", u"&AGEAYg==-" }, { "&AGEA YQ-", u"&AGEA YQ-", u"aa" }, { "&AGE&AGE-", u"&AGE&AGE-", u"&AGEa" },
        { "\xE9\xFF", u"\u00E9\u00FF", u"\u00E9\u00FF" }, { "a+AGE+AGE-b", u"a+AGEab", u"a+AGE+AGE-b" },
        { "&AP8A/w-", u"&AP8A/w-", u"\u00FF\u00FF" }, { "+AG-", u"+AG-", u"+AG-" }, { "&AGEAY-", u"&AGEAY-", u"&AGEAY-" },
        { "+AGEAYQB.", u"+AGEAYQB.", u"+AGEAYQB." }, { "+AGEAYQBiA", u"aab", u"+AGEAYQBiA" }, { "&AGEAYQBi-", u"&AGEAYQBi-", u"aab" },
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(stringWithUTF7String(row.bytes)->isEqualToString(row.utf7)) << row.bytes << " -> " << stringWithUTF7String(row.bytes)->utf8();
        EXPECT_TRUE(stringWithModifiedUTF7String(row.bytes)->isEqualToString(row.modified)) << row.bytes << " -> " << stringWithModifiedUTF7String(row.bytes)->utf8();
    }
    EXPECT_EQ(stringWithUTF7String(nullptr)->length(), 0u);
    EXPECT_EQ(stringWithModifiedUTF7Bytes("&-", 0)->length(), 0u);
}

// The vector encoders write what the portable ones write, wherever runs meet a block's edges,
// for shifted runs longer than a piece and output longer than the stack buffer.
TEST(StringUTF7, VectorPathWritesAsThePortablePath)
{
    // Each class's edges, and units that narrow to the same byte as a literal would.
    const std::u16string_view kinds = u"\t\n\x08\x0B\r\x1F ?'()*+,-./09:;@AZ[`az{~&\x7F\u0080\u00FF\u0100\u0141\u65E5\u7FFF\u8000\xD800\uFFFF\0"sv;
    const uint32_t lengths[] = { 15, 16, 17, 40, 200, 5000, 40000 };
    for (uint32_t round = 0, seed = 1; round < 140; ++round) {
        std::u16string units;
        for (seed = seed * 1103515245 + 12345; units.size() < lengths[round % 7]; seed = seed * 1103515245 + 12345)
            units.append((seed >> 16) % (round % 5 ? 12 : 4000) + 1, kinds[(seed >> 8) % kinds.size()]);
        auto string = make<String>(units);
        for (auto encode : { detail::encodeUTF7Using, detail::encodeModifiedUTF7Using })
            EXPECT_EQ(encode(detail::UTF7Path::Vector, string.get())->stringView(), encode(detail::UTF7Path::Portable, string.get())->stringView()) << round;
    }
}

// The codec's entry for unit runs writes what its portable path writes for the big-endian
// bytes, in both alphabets at every run length, and reads it back (any text: the decode fuzzer).
TEST(Base64Units, AnswerAsThePortableCodec)
{
    std::u16string units;
    std::string bytes;
    for (char16_t i = 0; i < 40; ++i) {
        units += static_cast<char16_t>(0xFFFF - i * 0x1357);
        bytes += { static_cast<char>(units[i] >> 8), static_cast<char>(units[i]) };
    }
    for (uint32_t count = 0; count <= units.size(); ++count) {
        for (auto alphabet : { Base64UnitAlphabet::Standard, Base64UnitAlphabet::MailboxName }) {
            std::string expected(4 * count + 4, '\0'), text(8 * (count / 3 + 1), '\0');
            expected.resize(static_cast<size_t>(detail::encodeBase64Using(detail::Base64Path::Portable, expected.data(), reinterpret_cast<const uint8_t*>(bytes.data()), 2 * count, -1, 0)));
            if (alphabet == Base64UnitAlphabet::MailboxName)
                std::replace(expected.begin(), expected.end(), '/', ',');
            text.resize(static_cast<size_t>(encodeBase64Units(text.data(), units.data(), count, alphabet)));
            EXPECT_EQ(text, expected) << count << " units";
            std::u16string decoded(text.size(), u'\0');
            decoded.resize(static_cast<size_t>(std::max(decodeBase64Units(decoded.data(), text.data(), static_cast<uint32_t>(text.size()), alphabet), 0)));
            EXPECT_EQ(decoded, units.substr(0, count)) << count << " units";
        }
    }
}
