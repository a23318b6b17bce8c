#include <Yarkit/StringUTF7.h>

#include <gtest/gtest.h>

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
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(stringWithUTF7String(row.bytes)->isEqualToString(row.utf7)) << row.bytes << " -> " << stringWithUTF7String(row.bytes)->utf8();
        EXPECT_TRUE(stringWithModifiedUTF7String(row.bytes)->isEqualToString(row.modified)) << row.bytes << " -> " << stringWithModifiedUTF7String(row.bytes)->utf8();
    }
    EXPECT_EQ(stringWithUTF7String(nullptr)->length(), 0u);
    EXPECT_EQ(stringWithModifiedUTF7Bytes("&-", 0)->length(), 0u);
}
