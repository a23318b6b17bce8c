#include "CoreTestSupport.h"

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/MutableString.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace yk;
using yk::test::expectRaise;
using yk::test::str;

TEST(String, CompareUnderEachOption)
{
    // Default: canonical equivalence in code point order; literal: code units; caseless: full folding.
    constexpr StringCompareOptions Caseless = CaseInsensitiveSearch, Literal = LiteralSearch;
    struct Case {
        const char *a, *b;
        StringCompareOptions options;
        ComparisonResult expected;
    } cases[] = {
        { "", "a", 0, OrderedAscending }, { "ab", "abc", 0, OrderedAscending }, { "a", "A", 0, OrderedDescending },
        { "a", "A", Caseless, OrderedSame }, { "a", "A", Literal | Caseless, OrderedSame },
        { "é", "e\u0301", 0, OrderedSame }, { "é", "e\u0301", Literal, OrderedDescending },
        { "É", "e\u0301", Caseless, OrderedSame }, { "\u212B", "Å", 0, OrderedSame },
        { "q\u0307\u0323", "q\u0323\u0307", 0, OrderedSame }, { "q\u0307\u0323", "q\u0323\u0307", Literal, OrderedAscending },
        { "Straße", "STRASSE", Caseless, OrderedSame }, { "Straße", "STRASSE", Literal | Caseless, OrderedSame },
        { "ﬁ", "FI", Caseless, OrderedSame }, { "İ", "i\u0307", Caseless, OrderedSame },
        { "\U0001F600", "\uFFFD", 0, OrderedDescending }, { "\U0001F600", "\uFFFD", Literal, OrderedAscending },
    };
    for (const auto& c : cases)
        EXPECT_EQ(str(c.a)->compare(str(c.b).get(), c.options), c.expected) << c.a << " vs " << c.b << " options " << c.options;
}

TEST(String, NumericSearchComparesDigitRunsByValue)
{
    struct Case {
        const char *a, *b;
        ComparisonResult expected;
    } cases[] = {
        { "file9", "file10", OrderedAscending }, { "file10", "file9", OrderedDescending },
        { "file010", "file10", OrderedSame }, { "v1.2.10", "v1.2.9", OrderedDescending },
        { "a2b", "a2c", OrderedAscending }, { "99999999999999999999999", "100000000000000000000000", OrderedAscending },
        { "x", "x1", OrderedAscending }, { "FILE9", "file10", OrderedAscending },
    };
    for (const auto& c : cases)
        EXPECT_EQ(str(c.a)->compare(str(c.b).get(), NumericSearch | CaseInsensitiveSearch), c.expected) << c.a << " vs " << c.b;
    EXPECT_EQ(str("file9")->compare(str("file10").get()), OrderedDescending);
}

TEST(String, RangeOfStringUnderOptions)
{
    struct Case {
        const char *text, *pattern;
        StringCompareOptions options;
        Range expected;
    } cases[] = {
        { "hello world", "o", BackwardsSearch, { 7, 1 } }, { "hello world", "world", AnchoredSearch, { NotFound, 0 } },
        { "hello world", "world", AnchoredSearch | BackwardsSearch, { 6, 5 } }, { "hello world", "", 0, { NotFound, 0 } },
        { "hello world", "WORLD", CaseInsensitiveSearch, { 6, 5 } }, { "日本語のメール", "メール", 0, { 4, 3 } },
        { "a\U0001F600b\U0001F600", "\U0001F600", BackwardsSearch, { 4, 2 } },
        { "ABCabc", "abc", CaseInsensitiveSearch | BackwardsSearch, { 3, 3 } },
        { "xABC", "abc", CaseInsensitiveSearch | AnchoredSearch, { NotFound, 0 } },
        // Canonical equivalence: a decomposed é is found by a precomposed one, covering both units;
        // a base letter does not match inside a character with combining marks.
        { "cafe\u0301!", "café", 0, { 0, 5 } }, { "café", "e\u0301", 0, { 3, 1 } },
        { "café", "e\u0301", LiteralSearch, { NotFound, 0 } }, { "cafe\u0301", "e", 0, { NotFound, 0 } },
        { "cafe\u0301", "e", LiteralSearch, { 3, 1 } }, { "xq\u0323\u0307y", "q\u0307\u0323", 0, { 1, 3 } },
        { "a\u212Bb", "\u00C5", 0, { 1, 1 } }, { "e\u0301\u0323", "e\u0301", 0, { NotFound, 0 } },
        // Full case folding: "ß" matches "SS" and the match covers the one character.
        { "Straße", "SS", CaseInsensitiveSearch, { 4, 1 } }, { "Straße", "strasse", CaseInsensitiveSearch | LiteralSearch, { 0, 6 } },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(str(c.text)->rangeOfString(str(c.pattern).get(), c.options), c.expected)
            << "\"" << c.text << "\" / \"" << c.pattern << "\" options " << c.options;
    }
}

TEST(String, RangesAreCheckedAgainstTheLength)
{
    auto text = str("abcabcabc");
    EXPECT_EQ(text->compare(str("ABC").get(), CaseInsensitiveSearch, { 3, 3 }), OrderedSame);
    EXPECT_EQ(text->compare(nullptr), OrderedDescending);
    expectRaise([&] { (void)text->compare(str("a").get(), 0, { 8, 3 }); }, NSRangeException,
        "*** -[String compare:options:range:]: Range or index out of bounds");
    EXPECT_EQ(text->rangeOfString(str("abc").get(), 0, { 1, 8 }), (Range { 3, 3 }));
    EXPECT_EQ(text->rangeOfString(str("abc").get(), BackwardsSearch, { 0, 8 }), (Range { 3, 3 }));
    EXPECT_EQ(text->rangeOfString(str("ABC").get(), CaseInsensitiveSearch | AnchoredSearch, { 3, 3 }), (Range { 3, 3 }));
    expectRaise([&] { (void)text->rangeOfString(nullptr); }, NSInvalidArgumentException,
        "*** -[String rangeOfString:options:range:]: nil string (or other) argument");
    expectRaise([&] { (void)text->rangeOfString(str("a").get(), 0, { 9, 1 }); }, NSRangeException,
        "*** -[String rangeOfString:options:range:]: Range or index out of bounds");

    auto japanese = str("日本語");
    EXPECT_EQ(japanese->substringWithRange({ 1, 2 })->utf8() + japanese->substringWithRange({ 3, 0 })->utf8(), "本語");
    expectRaise([&] { (void)japanese->characterAtIndex(3); }, NSRangeException,
        "*** -[String characterAtIndex:]: Range or index out of bounds");
    // location + length wrapping around 32 bits is still out of bounds.
    expectRaise([&] { (void)japanese->substringWithRange({ 1, 0xFFFFFFFFu }); }, NSRangeException,
        "*** -[String substringWithRange:]: Range or index out of bounds");
}

TEST(String, PrefixSuffixAndEqualityAreLiteral)
{
    auto text = str("e\u0301tude");
    EXPECT_TRUE(text->hasPrefix("e"));
    EXPECT_FALSE(text->hasPrefix("é"));
    EXPECT_FALSE(text->hasSuffix(static_cast<const String*>(nullptr)));
    EXPECT_FALSE(text->isEqualToString(static_cast<const String*>(nullptr)));
    EXPECT_FALSE(text->isEqual(str("étude").get()));

    // Equality to UTF-8 text, compared without converting either side.
    struct Case {
        const char *string, *utf8;
        bool equal;
    } cases[] = {
        { "abc", "abd", false }, { "ab", "abc", false }, { "abc", "ab", false }, { "日本", "日本", true },
        { "Ã©", "Ã©", true }, { "ab", "Ã©", false }, { "", "", true }, { "e\u0301tude", "étude", false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(str(c.string)->isEqualToString(std::string_view(c.utf8)), c.equal) << c.string << " vs " << c.utf8;
}

TEST(String, PathOperations)
{
    struct Case {
        const char *path, *last, *extension, *deletingLast, *deletingExtension;
        const char* components; // joined with "|"
    } cases[] = {
        { "/tmp/scratch.tiff", "scratch.tiff", "tiff", "/tmp", "/tmp/scratch", "/|tmp|scratch.tiff" },
        { "/tmp/", "tmp", "", "/", "/tmp", "/|tmp|/" },
        { "scratch///", "scratch", "", "", "scratch", "scratch|/" },
        { "/", "/", "", "/", "/", "/" },
        { "", "", "", "", "", "" },
        { "/scratch..tiff", "scratch..tiff", "tiff", "/", "/scratch.", "/|scratch..tiff" },
        { ".profile", ".profile", "", "", ".profile", ".profile" },
        { "a.b/c", "c", "", "a.b", "a.b/c", "a.b|c" },
        { "~/メール.txt", "メール.txt", "txt", "~", "~/メール", "~|メール.txt" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        auto path = str(c.path);
        EXPECT_EQ(path->lastPathComponent()->utf8(), c.last);
        EXPECT_EQ(path->pathExtension()->utf8(), c.extension);
        EXPECT_EQ(path->stringByDeletingLastPathComponent()->utf8(), c.deletingLast);
        EXPECT_EQ(path->stringByDeletingPathExtension()->utf8(), c.deletingExtension);
        auto components = path->pathComponents();
        EXPECT_EQ(components->componentsJoinedByString(str("|").get())->utf8(), c.components);
    }
    auto withTrailing = Array::arrayWithObjects({ str("/"), str("tmp"), str("") });
    EXPECT_EQ(String::pathWithComponents(withTrailing.get())->utf8(), "/tmp/");
    EXPECT_TRUE(str("~/x")->isAbsolutePath());
    EXPECT_FALSE(str("tmp/x")->isAbsolutePath());
}

TEST(String, AppendingPathComponentsAndExtensions)
{
    struct Case {
        const char *path, *component, *appended;
    } components[] = {
        { "/tmp/", "x", "/tmp/x" }, { "", "x", "x" }, { "/tmp", "", "/tmp" }, { "/tmp//", "/a//b/", "/tmp/a/b" }, { "", "/", "/" },
    };
    for (const auto& c : components)
        EXPECT_EQ(str(c.path)->stringByAppendingPathComponent(str(c.component).get())->utf8(), c.appended) << c.path << " + " << c.component;

    struct ExtensionCase {
        const char *path, *extension;
        const char* appended; // "(null)": refused
    } extensions[] = {
        { "/tmp/scratch.", "tiff", "/tmp/scratch..tiff" }, { "/tmp/", "tiff", "/tmp.tiff" },
        { "", "tiff", "(null)" }, { "/", "tiff", "(null)" }, { "a", "b/c", "(null)" },
    };
    for (const auto& c : extensions)
        EXPECT_EQ(yk::test::describe(str(c.path)->stringByAppendingPathExtension(str(c.extension).get()).get()), c.appended) << c.path;
    expectRaise([] { (void)str("/tmp")->stringByAppendingPathComponent(nullptr); }, NSInvalidArgumentException,
        "*** -[String stringByAppendingPathComponent:]: nil string (or other) argument");
}

TEST(String, NumericAndBooleanValues)
{
    struct Case {
        const char* text;
        int32_t intValue;
        int64_t longLongValue;
        double doubleValue;
    } cases[] = {
        { "  \t\n-17abc", -17, -17, -17 }, { "3.75e2x", 3, 3, 375 }, { ".5", 0, 0, 0.5 }, { "1e", 1, 1, 1 },
        { "- 5", 0, 0, 0 }, { "0x1A", 0, 0, 0 },
        { "2147483648", INT32_MAX, 2147483648LL, 2147483648.0 }, { "-2147483649", INT32_MIN, -2147483649LL, -2147483649.0 },
        { "99999999999999999999", INT32_MAX, INT64_MAX, 1e20 }, { "-9223372036854775808", INT32_MIN, INT64_MIN, -9223372036854775808.0 },
        { "\u3000 12", 12, 12, 12 }, { "１２", 0, 0, 0 }, { "1e400", 1, 1, HUGE_VAL }, // ideographic space; full-width digits
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        auto text = str(c.text);
        EXPECT_EQ(text->intValue(), c.intValue);
        EXPECT_EQ(text->longLongValue(), c.longLongValue);
        EXPECT_DOUBLE_EQ(text->doubleValue(), c.doubleValue);
    }

    const struct {
        const char* text;
        bool expected;
    } booleans[] = {
        { "yes", true }, { "T", true }, { "  +007", true }, { "-5", true }, { "9abc", true },
        { "NO", false }, { "000", false }, { "  ", false }, { "0.5", false }, { "on", false }, { "x1", false },
    };
    for (const auto& c : booleans) {
        EXPECT_EQ(str(c.text)->boolValue(), c.expected) << c.text;
        EXPECT_EQ(str(c.text)->YK_boolValue(), c.expected) << c.text;
    }
}

TEST(String, CaseMappingIsFullInTheRootLocaleAndSplittingKeepsEmptyComponents)
{
    EXPECT_EQ(str("Straße ﬁ")->uppercaseString()->utf8(), "STRASSE FI");
    EXPECT_EQ(str("ÀÉÎ ＡＢＣ Mail I")->lowercaseString()->utf8(), "àéî ａｂｃ mail i"); // no Turkish dotless i
    auto parts = str("a,b,,c")->componentsSeparatedByString(str(",").get());
    EXPECT_EQ(parts->componentsJoinedByString(str("+").get())->utf8(), "a+b++c");
    EXPECT_EQ(str("")->componentsSeparatedByString(str(",").get())->count(), 1u);
    EXPECT_EQ(str("aXbX")->stringByReplacingOccurrencesOfString(str("X").get(), str("--").get())->utf8(), "a--b--");
}

TEST(String, UTF8ConstructionIsStrictOnlyWhenAsked)
{
    EXPECT_FALSE(String::stringWithUTF8String("\xC3\x28"));
    EXPECT_FALSE(String::stringWithUTF8String("\xED\xA0\x80")); // an encoded surrogate
    EXPECT_FALSE(String::stringWithUTF8String("\xC0\xAF")); // overlong
    EXPECT_EQ(String::stringWithUTF8String("メール")->length(), 3u);
    EXPECT_EQ(String::withUTF8("\xC3\x28")->units(), u"\uFFFD(");
    expectRaise([] { (void)String::stringWithUTF8String(nullptr); }, NSInvalidArgumentException,
        "*** +[String stringWithUTF8String:]: NULL cString");
}

TEST(MutableString, EditsInPlaceEvenWithItselfAsTheArgumentCopiesDoNotFollowAndBadArgumentsChangeNothing)
{
    auto text = MutableString::stringWithString(str("mail").get());
    Ref<String> frozen = text->copy();
    Ref<String> described = text->description();
    text->insertString(str("日本 ").get(), 0);
    text->deleteCharactersInRange({ 0, 3 });
    text->appendString(str(" box").get());
    text->replaceCharactersInRange({ 5, 3 }, str("folder").get());
    EXPECT_EQ(text->utf8(), "mail folder");
    text->replaceCharactersInRange({ 0, 4 }, text.get());
    text->appendFormat(" %d%@", 2, str("!").get());
    EXPECT_EQ(text->utf8(), "mail folder folder 2!");
    EXPECT_EQ(frozen->utf8() + described->utf8(), "mailmail");
    EXPECT_FALSE(frozen->isKindOfClass(MutableString::staticClass()));
    EXPECT_EQ(frozen->hash(), str("mail")->hash());

    text = MutableString::stringWithString(str("abc").get());
    expectRaise([&] { text->appendString(nullptr); }, NSInvalidArgumentException,
        "*** -[MutableString appendString:]: nil string (or other) argument");
    expectRaise([&] { text->insertString(str("x").get(), 4); }, NSRangeException,
        "*** -[MutableString insertString:atIndex:]: Range or index out of bounds");
    expectRaise([&] { text->deleteCharactersInRange({ 2, 2 }); }, NSRangeException,
        "*** -[MutableString deleteCharactersInRange:]: Range or index out of bounds");
    EXPECT_EQ(text->utf8(), "abc");
}
