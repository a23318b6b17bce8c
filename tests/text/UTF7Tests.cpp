#include <Yarkit/StringUTF7.h>

#include "TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>

using namespace yk;

namespace {

struct EncodingCase {
    std::u16string text;
    const char* utf7;
    const char* modified;
};

std::string bytesOf(const Data* data)
{
    return std::string(data->stringView());
}

// Random text of ASCII stretches, Latin-1, kana and kanji, surrogate pairs and, when asked,
// lone surrogates.
std::u16string randomText(std::mt19937& random, bool loneSurrogates)
{
    std::uniform_int_distribution<int> kind(0, loneSurrogates ? 5 : 4), length(0, 40);
    std::u16string text;
    for (int n = length(random); n > 0; --n) {
        switch (kind(random)) {
        case 0: // long enough, now and then, for the vector scans
            for (int k = 1 + random() % 20; k > 0; --k)
                text += static_cast<char16_t>(0x20 + random() % 0x5F);
            break;
        case 1: text += static_cast<char16_t>(random() % 0x100); break;
        case 2: text += static_cast<char16_t>(0x3041 + random() % 0xB0); break;
        case 3: text += static_cast<char16_t>(0x4E00 + random() % 0x5000); break;
        case 4: text += u"\U0001F600"; break;
        default: text += static_cast<char16_t>(0xD800 + random() % 0x800); break;
        }
    }
    return text;
}

} // namespace

TEST(StringUTF7, EncodesBothForms)
{
    const EncodingCase cases[] = {
        { u"", "", "" }, { u"a&b", "a+ACY-b", "a&-b" },
        { u"日本", "+ZeVnLA", "&ZeVnLA-" }, { u"\u00FF\u00FF", "+AP8A/w", "&AP8A,w-" },
        { u"A+B", "A+ACs-B", "A+B" }, { u"+ ", "+ACs ", "+ " },
        { u"Ł", "+AUE", "&AUE-" }, { u"~/Mail", "+AH4-/Mail", "~/Mail" },
        { u"Hi Mom -☺-!", "Hi Mom -+Jjo--+ACE", "Hi Mom -&Jjo--!" }, { u"Inbox/送信済み", "Inbox/+kAFP4W4IMH8", "Inbox/&kAFP4W4IMH8-" },
        { u"\u0141A", "+AUE-A", "&AUE-A" }, { u"日 本", "+ZeU +Zyw", "&ZeU- &Zyw-" },
    };
    for (const auto& row : cases) {
        auto string = make<String>(row.text);
        EXPECT_EQ(bytesOf(UTF7Data(string.get()).get()), row.utf7) << row.utf7;
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
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(stringWithUTF7String(row.bytes)->isEqualToString(row.utf7)) << row.bytes << " -> " << stringWithUTF7String(row.bytes)->utf8();
        EXPECT_TRUE(stringWithModifiedUTF7String(row.bytes)->isEqualToString(row.modified)) << row.bytes << " -> " << stringWithModifiedUTF7String(row.bytes)->utf8();
    }
    EXPECT_EQ(stringWithUTF7String(nullptr)->length(), 0u);
    EXPECT_EQ(stringWithModifiedUTF7Bytes("&-", 0)->length(), 0u);
}

TEST(StringUTF7, AgreesWithICUAndKeepsLoneSurrogates)
{
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        const bool lone = i % 2;
        const std::u16string text = randomText(random, lone);
        auto string = make<String>(text);
        const std::string utf7 = UTF7String(string.get());
        const std::string modified = modifiedUTF7String(string.get());
        EXPECT_TRUE(stringWithUTF7String(utf7.c_str())->isEqualToString(text)) << utf7;
        EXPECT_TRUE(stringWithModifiedUTF7String(modified.c_str())->isEqualToString(text)) << modified;
        if (lone)
            continue;
        texttest::Bytes icu;
        ASSERT_TRUE(texttest::icuEncode("IMAP-mailbox-name", text, icu));
        EXPECT_EQ(modified, icu);
        ASSERT_TRUE(texttest::icuEncode("UTF-7", text, icu));
        EXPECT_TRUE(stringWithUTF7Bytes(icu.data(), static_cast<uint32_t>(icu.size()))->isEqualToString(text)) << icu;
    }
}
