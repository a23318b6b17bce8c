#include <Yarkit/StringIDN.h>

#include "core/CoreTestSupport.h"

#include <gtest/gtest.h>
#include <unicode/uidna.h>

using namespace yk;
using yk::test::describe;

namespace {

// Names of `length` units made of labels of `label` letters.
std::u16string nameOfLength(size_t length, size_t label = 9)
{
    std::u16string name;
    while (name.size() < length)
        name += std::u16string(label, u'a') + u".";
    name.resize(length);
    return name;
}

} // namespace

TEST(StringIDN, IDNA2003Answers)
{
    const struct {
        bool toASCII;
        std::u16string name;
        int32_t options;
        const char* expected; // null when the conversion fails, empty when the name is kept
    } cases[] = {
        { true, u"faß.de", 0, "fass.de" }, { true, u"😀.com", 0, nullptr },
        { true, u"😀.com", 1, "xn--e28h.com" }, { true, u"😀.com", 2, nullptr },
        { true, u"abc_def.com", 0, "abc_def.com" }, { true, u"abc_def.com", 1, "abc_def.com" },
        { true, u"abc_def.com", 2, nullptr }, { true, u"WWW.Example.COM", 0, "WWW.Example.COM" },
        { true, u"日本語.jp", 0, "xn--wgv71a119e.jp" }, { true, std::u16string(63, u'a') + u".com", 0, "" },
        { true, std::u16string(64, u'a') + u".com", 0, nullptr }, { true, nameOfLength(255), 0, "" },
        { true, nameOfLength(256), 0, nullptr }, { false, u"xn--wgv71a119e.jp", 0, "日本語.jp" },
        { false, u"xn--e28h.com", 0, "xn--e28h.com" }, { false, u"xn--e28h.com", 1, "😀.com" },
        { false, u"faß.de", 0, "faß.de" }, { false, u"xn--zz.com", 0, "xn--zz.com" },
    };
    for (const auto& row : cases) {
        auto name = make<String>(row.name);
        auto convert = row.toASCII ? YK_IDNToASCIIWithOptions : YK_IDNToUnicodeWithOptions;
        auto result = convert(name.get(), row.options);
        const std::string shown = (row.toASCII ? "to ASCII " : "to Unicode ") + name->utf8() + " options " + std::to_string(row.options);
        const std::string expected = !row.expected ? "(null)" : *row.expected ? row.expected : name->utf8();
        EXPECT_EQ(describe(result.get()), expected) << shown;
    }
}

TEST(StringIDN, UTS46AnswersAndErrorBits)
{
    const struct {
        bool toASCII;
        const char* name;
        const char* expected;
        uint32_t errors;
    } cases[] = {
        { true, "faß.de", "xn--fa-hia.de", 0 }, { true, "😀.com", "xn--e28h.com", 0 },
        { true, "WWW.Example.COM", "www.example.com", 0 }, { true, "a\xE2\x80\x8D" "b.com", nullptr, UIDNA_ERROR_CONTEXTJ },
        { true, "a\xD7\x90.com", nullptr, UIDNA_ERROR_BIDI }, { false, "xn--fa-hia.de", "faß.de", 0 },
        { false, "xn--zz.com", nullptr, UIDNA_ERROR_PUNYCODE },
    };
    for (const auto& row : cases) {
        uint32_t errors = 12345;
        auto name = String::withUTF8(row.name);
        auto result = row.toASCII ? YK_UTS46ToASCII(name.get(), &errors) : YK_UTS46ToUnicode(name.get(), &errors);
        EXPECT_EQ(describe(result.get()), row.expected ? row.expected : "(null)") << row.name;
        EXPECT_EQ(errors & row.errors, row.errors) << row.name;
        EXPECT_EQ(errors == 0, row.errors == 0) << row.name << ": " << errors;
    }
}

TEST(StringIDN, EmptyAndTooLongNames)
{
    auto empty = make<String>();
    EXPECT_EQ(YK_UTS46ToUnicode(empty.get()).get(), empty.get());
    EXPECT_EQ(YK_IDNToASCIIWithOptions(nullptr, 0), nullptr);
    // ICU converts names of 2048 and 2049 units to Unicode alike; only the bound tells them apart.
    auto longest = make<String>(nameOfLength(2048, 1));
    auto tooLong = make<String>(nameOfLength(2049, 1));
    EXPECT_NE(YK_UTS46ToUnicode(longest.get()), nullptr);
    EXPECT_EQ(YK_UTS46ToUnicode(tooLong.get()), nullptr);
}
