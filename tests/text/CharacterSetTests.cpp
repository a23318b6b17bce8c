#include <Yarkit/CharacterSetAdditions.h>

#include <Yarkit/core/values/MutableCharacterSet.h>
#include <Yarkit/core/values/String.h>

#include "core/CoreTestSupport.h"

#include <gtest/gtest.h>
#include <unicode/uniset.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace yk;
using yk::test::describe;
using yk::test::str;

namespace {

std::vector<char32_t> membersOf(const CharacterSet* set)
{
    std::vector<char32_t> members;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (set->longCharacterIsMember(c))
            members.push_back(c);
    }
    return members;
}

using SetGetter = CharacterSet* (*)();
constexpr SetGetter sharedSets[] = {
    YK_ASCIICharacterSet, YK_nonASCIICharacterSet, yk_eastAsianCharacterSet, yk_nonEastAsianCharacterSet,
    YK_delimiterCharacterSet, YK_hyphenCharacterSet, YK_newlineCharacterSet, YK_nonNewlineCharacterSet,
    YK_nonWhitespaceAndNewlineCharacterSet, YK_nonWhitespaceCharacterSet,
};

} // namespace

TEST(CharacterSetAdditions, EastAsianRangesHoldTheirFirstAndLastCodePoints)
{
    // Each range's first and last code point, and whether the one after it is in the set too
    // (because another range starts there).
    const struct {
        char32_t first, last;
        bool nextIsMember;
    } ranges[] = {
        { 0x4E00, 0x9FFF, true }, { 0x3400, 0x4DBF, false }, { 0x20000, 0x2A6D6, false }, { 0x2A700, 0x2B734, false },
        { 0x2B740, 0x2B81F, false }, { 0xF900, 0xFAD7, false }, { 0x2F800, 0x2FA1D, false }, { 0xE0100, 0xE01EF, false },
        { 0x2F00, 0x2FD5, false }, { 0x2E80, 0x2EF2, false }, { 0x31C0, 0x31E3, false }, { 0x2FF0, 0x2FFB, false },
        { 0x1100, 0x11FF, false }, { 0xA960, 0xA97F, false }, { 0xD7B0, 0xD7FF, false }, { 0x3130, 0x318F, true },
        { 0xAC00, 0xD7AF, true }, { 0x3040, 0x309F, true }, { 0x30A0, 0x30FF, true }, { 0x31F0, 0x31FF, true },
        { 0x1B000, 0x1B0FF, false }, { 0xFF00, 0xFFEF, false }, { 0x3190, 0x319F, true }, { 0x3100, 0x312F, true },
        { 0x31A0, 0x31BF, true }, { 0xA4D0, 0xA4FF, false }, { 0x16F00, 0x16F9F, false }, { 0xA000, 0xA48F, true },
        { 0xA490, 0xA4CF, true }, { 0x3000, 0x303F, true }, { 0x3200, 0x32FD, false }, { 0x3300, 0x337F, false },
        { 0xFE30, 0xFE4F, false },
    };
    const CharacterSet* set = yk_eastAsianCharacterSet();
    const CharacterSet* inverse = yk_nonEastAsianCharacterSet();
    for (const auto& range : ranges) {
        EXPECT_TRUE(set->longCharacterIsMember(range.first)) << std::hex << uint32_t(range.first);
        EXPECT_TRUE(set->longCharacterIsMember(range.last)) << std::hex << uint32_t(range.last);
        EXPECT_EQ(set->longCharacterIsMember(range.last + 1), range.nextIsMember) << std::hex << uint32_t(range.last + 1);
        EXPECT_NE(inverse->longCharacterIsMember(range.last + 1), range.nextIsMember) << std::hex << uint32_t(range.last + 1);
    }
}

TEST(CharacterSetAdditions, FixedSetsHoldExactlyTheirMembers)
{
    EXPECT_EQ(membersOf(YK_hyphenCharacterSet()), (std::vector<char32_t> { 0x2D, 0xAD, 0x58A, 0x1806, 0x2010, 0x2011 }));
    EXPECT_EQ(membersOf(YK_newlineCharacterSet()), (std::vector<char32_t> { 0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029 }));
    EXPECT_EQ(membersOf(YK_ASCIICharacterSet()).size(), 128u);
    const struct {
        const CharacterSet* set;
        const char* members;
        const char* others;
    } cases[] = {
        { YK_delimiterCharacterSet(), "_@ \t\n.,!?\u3001\u3002\u00A0\u3000", "$+~a0^`|" },
        { YK_nonASCIICharacterSet(), "\u0080\u00FF\u3042", "\x7F" "a" },
        { YK_nonNewlineCharacterSet(), "a \t\u3000", "\n\r\u2028" },
        { YK_nonWhitespaceCharacterSet(), "a\n\r\u2028\u0085", " \t\u00A0\u3000" },
        { YK_nonWhitespaceAndNewlineCharacterSet(), "a\u200B", " \t\n\u0085\u2028\u3000" },
    };
    for (const auto& row : cases) {
        auto members = str(row.members), others = str(row.others);
        for (char16_t c : members->units())
            EXPECT_TRUE(row.set->characterIsMember(c)) << std::hex << unsigned(c);
        for (char16_t c : others->units())
            EXPECT_FALSE(row.set->characterIsMember(c)) << std::hex << unsigned(c);
    }
}

// Each test runs in a process of its own, so here eight threads race to make every set first.
TEST(CharacterSetAdditions, ThreadsRacingTheFirstUseGetOneSetEach)
{
    std::vector<std::vector<CharacterSet*>> seen(8);
    std::atomic<int> ready { 0 };
    std::vector<std::thread> threads;
    for (auto& sets : seen) {
        threads.emplace_back([&sets, &ready] {
            ++ready;
            while (ready < 8) { }
            for (SetGetter getter : sharedSets)
                sets.push_back(getter());
            for (CharacterSet* set : sets)
                (void)set->longCharacterIsMember(0x3042);
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (const auto& sets : seen)
        EXPECT_EQ(sets, seen[0]);
}

// The bit table of the BMP answers as ICU does, for the shared sets and for a mutable set
// between changes.
TEST(CharacterSetAdditions, BitTablesAnswerAsICU)
{
    auto building = make<MutableCharacterSet>();
    building->addCharactersInRange({ 0x3041, 0x100 });
    building->removeCharactersInRange({ 0x3050, 0x3F });
    building->invert();
    std::vector<const CharacterSet*> sets { building.get() };
    for (SetGetter getter : sharedSets)
        sets.push_back(getter());
    for (const CharacterSet* set : sets) {
        uint32_t mismatches = 0;
        for (char32_t c = 0; c < 0x10000; ++c)
            mismatches += set->characterIsMember(static_cast<char16_t>(c)) != set->unicodeSet().contains(static_cast<UChar32>(c));
        EXPECT_EQ(mismatches, 0u) << describe(set);
    }
}

TEST(CharacterSet, MutableCopiesAndEquality)
{
    auto set = CharacterSet::characterSetWithCharactersInString(str("ab😀").get());
    auto building = set->mutableCopy();
    EXPECT_TRUE(building->isEqual(set.get()));
    EXPECT_EQ(building->hash(), set->hash());
    EXPECT_EQ(set->copy().get(), set.get());
    building->addCharactersInRange({ 'x', 3 });
    building->formUnionWithCharacterSet(CharacterSet::characterSetWithRange({ 0x10FFFE, 10 }).get());
    auto frozen = building->copy();
    EXPECT_NE(frozen.get(), static_cast<CharacterSet*>(building.get()));
    building->removeCharactersInRange({ 'a', 1 });
    EXPECT_TRUE(frozen->characterIsMember('a'));
    EXPECT_FALSE(building->characterIsMember('a'));
    for (char32_t c : { U'a', U'b', U'x', U'z', U'😀', U'\U0010FFFF' })
        EXPECT_TRUE(frozen->longCharacterIsMember(c)) << std::hex << uint32_t(c);
    EXPECT_FALSE(frozen->characterIsMember(0xD83D)) << "a pair is one code point";
    EXPECT_FALSE(frozen->invertedSet()->longCharacterIsMember(U'😀'));
    EXPECT_TRUE(frozen->invertedSet()->characterIsMember(0xD83D));
}

TEST(CharacterSet, StringSearchesAndTrimsByCodePoint)
{
    auto pairSet = CharacterSet::characterSetWithCharactersInString(str("😀").get());
    const struct {
        const char* text;
        const CharacterSet* set;
        StringCompareOptions options;
        Range expected;
    } searches[] = {
        { "ab😀c😀", pairSet.get(), 0, { 2, 2 } },
        { "ab😀c😀", pairSet.get(), BackwardsSearch, { 5, 2 } },
        { "ab😀c😀", pairSet.get(), AnchoredSearch, { NotFound, 0 } },
        { "ab😀c😀", pairSet.get(), AnchoredSearch | BackwardsSearch, { 5, 2 } },
        { "日本 語", CharacterSet::whitespaceCharacterSet(), 0, { 2, 1 } },
        { "abc", YK_nonASCIICharacterSet(), 0, { NotFound, 0 } },
    };
    for (const auto& row : searches)
        EXPECT_EQ(str(row.text)->rangeOfCharacterFromSet(row.set, row.options), row.expected) << row.text << " " << row.options;
    // Only a pair wholly inside the range is one code point.
    EXPECT_EQ(str("a😀")->rangeOfCharacterFromSet(YK_nonASCIICharacterSet(), 0, { 0, 2 }), (Range { 1, 1 }));
    const struct {
        const char* text;
        const CharacterSet* set;
        const char* trimmed;
    } trims[] = {
        { " \t日本語\u3000\n", CharacterSet::whitespaceAndNewlineCharacterSet(), "日本語" },
        { "😀a😀", pairSet.get(), "a" },
        { "😀😀", pairSet.get(), "" },
        { "「件名」", YK_delimiterCharacterSet(), "件名" },
        { "abc", YK_nonASCIICharacterSet(), "abc" },
    };
    for (const auto& row : trims)
        EXPECT_EQ(str(row.text)->stringByTrimmingCharactersInSet(row.set)->utf8(), row.trimmed) << row.text;
    test::expectRaise([] { (void)str("a")->stringByTrimmingCharactersInSet(nullptr); }, "NSInvalidArgumentException",
        "*** -[String stringByTrimmingCharactersInSet:]: nil string (or other) argument");
    test::expectRaise([] { (void)str("a")->rangeOfCharacterFromSet(YK_ASCIICharacterSet(), 0, { 1, 1 }); }, "NSRangeException",
        "*** -[String rangeOfCharacterFromSet:options:range:]: Range or index out of bounds");
}
