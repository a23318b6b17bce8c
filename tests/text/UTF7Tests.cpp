#include <Yarkit/StringUTF7.h>

#include <Yarkit/Base64Units.h>

#include "streams/Base64Codec.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace yk;

TEST(StringUTF7, EncodesBothForms)
{
    const struct {
        std::u16string text;
        const char* utf7;
        const char* modified;
    } cases[] = {
        { u"", "", "" }, { u"a&b", "a+ACY-b", "a&-b" },
        { u"日本", "+ZeVnLA", "&ZeVnLA-" }, { u"\u00FF\u00FF", "+AP8A/w", "&AP8A,w-" },
        { u"A+B", "A+ACs-B", "A+B" }, { u"+ ", "+ACs ", "+ " },
        { u"Ł", "+AUE", "&AUE-" }, { u"~/Mail", "+AH4-/Mail", "~/Mail" },
        { u"Hi Mom -☺-!", "Hi Mom -+Jjo--+ACE", "Hi Mom -&Jjo--!" }, { u"Inbox/送信済み", "Inbox/+kAFP4W4IMH8", "Inbox/&kAFP4W4IMH8-" },
        { u"\u0141A", "+AUE-A", "&AUE-A" }, { u"日 本", "+ZeU +Zyw", "&ZeU- &Zyw-" },
        { u"\xD800", "+2AA", "&2AA-" }, // a lone surrogate is kept
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
        { "+-", u"+", u"+-" }, { "+!", u"+!", u"+!" }, { "+", u"+", u"+" },
        { "+AGEx", u"+AGEx", u"+AGEx" }, { "+AGE--", u"a-", u"+AGE--" }, { "&-", u"&-", u"&" },
        { "&", u"&", u"&" }, { "&A-", u"&A-", u"&A-" }, { "&ZeVnLA", u"&ZeVnLA", u"&ZeVnLA" },
        { "&AGEAYg==-", u"&AGEAYg==-", u"&AGEAYg==-" }, { "&AGEA YQ-", u"&AGEA YQ-", u"aa" }, { "&AGE&AGE-", u"&AGE&AGE-", u"&AGEa" },
        { "\xE9\xFF", u"\u00E9\u00FF", u"\u00E9\u00FF" }, { "a+AGE+AGE-b", u"a+AGEab", u"a+AGE+AGE-b" },
        { "&AP8A/w-", u"&AP8A/w-", u"\u00FF\u00FF" },
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(stringWithUTF7String(row.bytes)->isEqualToString(row.utf7)) << row.bytes << " -> " << stringWithUTF7String(row.bytes)->utf8();
        EXPECT_TRUE(stringWithModifiedUTF7String(row.bytes)->isEqualToString(row.modified)) << row.bytes << " -> " << stringWithModifiedUTF7String(row.bytes)->utf8();
    }
    EXPECT_EQ(stringWithUTF7String(nullptr)->length(), 0u);
    EXPECT_EQ(stringWithModifiedUTF7Bytes("&-", 0)->length(), 0u);
}

// The codec's entry for unit runs answers as its portable path on the big-endian bytes, in both
// alphabets, for every run length; decoding reads the text back, and the text cut short as the
// portable path does (an odd byte count gives no units).
TEST(Base64Units, AnswerAsThePortableCodec)
{
    std::u16string units;
    std::string bytes;
    for (char16_t i = 0; i < 40; ++i) {
        units += static_cast<char16_t>(0xFFFF - i * 0x1357);
        bytes += { static_cast<char>(units[i] >> 8), static_cast<char>(units[i]) };
    }
    for (uint32_t count = 0; count <= units.size(); ++count) {
        std::string expected(4 * count + 4, '\0'), text(8 * (count / 3 + 1), '\0'), mailbox = text, decoded = expected;
        expected.resize(static_cast<size_t>(detail::encodeBase64Using(detail::Base64Path::Portable, expected.data(), reinterpret_cast<const uint8_t*>(bytes.data()), 2 * count, -1, 0)));
        text.resize(static_cast<size_t>(encodeBase64Units(text.data(), units.data(), count, Base64UnitAlphabet::Standard)));
        mailbox.resize(static_cast<size_t>(encodeBase64Units(mailbox.data(), units.data(), count, Base64UnitAlphabet::MailboxName)));
        EXPECT_EQ(text, expected) << count;
        std::replace(expected.begin(), expected.end(), '/', ',');
        EXPECT_EQ(mailbox, expected) << count;
        // The whole text in the standard alphabet, one or two characters less in the mailbox one.
        const auto size = static_cast<uint32_t>(text.size());
        for (uint32_t length : { size, std::max(size, 1u) - 1, std::max(size, 2u) - 2 }) {
            const int32_t byteCount = detail::decodeBase64Using(detail::Base64Path::Portable, reinterpret_cast<uint8_t*>(decoded.data()), text.data(), length, 0);
            const bool whole = length == text.size();
            std::u16string out(length, u'\0');
            out.resize(static_cast<size_t>(decodeBase64Units(out.data(), (whole ? text : mailbox).data(), length, whole ? Base64UnitAlphabet::Standard : Base64UnitAlphabet::MailboxName)));
            EXPECT_EQ(out, byteCount > 0 && byteCount % 2 == 0 ? units.substr(0, static_cast<size_t>(byteCount) / 2) : u"") << length;
        }
    }
}
