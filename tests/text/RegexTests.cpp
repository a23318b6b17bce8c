#include <Yarkit/StringRegex.h>

#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Value.h>

#include "core/CoreTestSupport.h"
#include "core/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace yk;
using yk::test::expectRaise;
using yk::test::str;

namespace {

// The matches of a search as "{3,1} {2,1}" ("none" when there is none), or the exception's name
// and reason: every match, or (all false) the single search's. Without a range, the whole subject.
std::string matches(bool all, const char* subject, const char* pattern, StringCompareOptions options = 0, std::optional<Range> range = {})
{
    auto string = str(subject);
    const Range searched = range.value_or(Range { 0, string->length() });
    try {
        std::string text;
        auto add = [&text](Range match) { text += (text.empty() ? "{" : " {") + std::to_string(match.location) + "," + std::to_string(match.length) + "}"; };
        if (!all) {
            if (const Range match = rangeOfPatternString(string.get(), str(pattern).get(), options, searched); match.location != NotFound)
                add(match);
        } else if (auto values = rangeValuesOfPatternString(string.get(), str(pattern).get(), options, searched)) {
            for (uint32_t i = 0; i < values->count(); ++i)
                add(static_cast<Value*>(values->objectAtIndex(i).get())->rangeValue());
        }
        return text.empty() ? "none" : text;
    } catch (const Exception& e) {
        return e.name()->utf8() + ": " + e.what();
    }
}

// Standard defaults of their own, in a temporary configuration folder.
class StringRegex : public ::testing::Test {
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", _folder.path().c_str(), 1);
        UserDefaults::resetStandardUserDefaults();
    }
    void TearDown() override
    {
        unsetenv("XDG_CONFIG_HOME");
        UserDefaults::resetStandardUserDefaults();
    }
    test::TemporaryFolder _folder;
};

} // namespace

TEST_F(StringRegex, EachSyntaxValueSelectsItsTable)
{
    // Per syntax: the first match of each pattern in the subject ("E": does not compile).
    const char* const subject = "aa+b|(a){2}1 a{2}aab\\";
    const char* const patterns[] = { "a(*FAIL)|b", "a\\+", "\\w+", "\\d", "\\`a", "\\x{61}", "(a)", "\\h" };
    const struct {
        int64_t value;
        const char* answers;
    } cases[] = {
        { 0, "{3,1} {1,2} {0,2} {9,1} none {0,1} {0,1} {0,1}" },
        { 1, "none {1,2} none none none none {5,3} none" },
        { 2, "E {1,2} none none none none {0,1} none" },
        { 3, "none {1,2} none none {0,1} none {5,3} none" },
        { 4, "none {0,2} {1,2} none none none {5,3} none" },
        { 5, "E {1,2} {0,2} {9,1} none none {0,1} none" },
        { 6, "E {1,2} {0,2} {9,1} none E {0,1} none" },
        { 7, "{3,1} {1,2} {0,2} {9,1} none {0,1} {0,1} none" },
        { 8, "E {1,2} {0,2} {9,1} none {0,1} {0,1} {0,1}" },
        { 42, "{3,1} {1,2} {0,2} {9,1} none {0,1} {0,1} {0,1}" },
        { -1, "{3,1} {1,2} {0,2} {9,1} none {0,1} {0,1} {0,1}" },
    };
    // Changed between calls, the default takes effect at the next compile.
    for (const auto& row : cases) {
        UserDefaults::standardUserDefaults()->setInteger(row.value, "YKRegexPatternSyntax");
        std::string answers;
        for (const char* pattern : patterns) {
            const std::string answer = matches(false, subject, pattern);
            answers += (answers.empty() ? "" : " ") + (answer.starts_with(YKRegexException) ? "E" : answer);
        }
        EXPECT_EQ(answers, row.answers) << "YKRegexPatternSyntax " << row.value;
    }
}

TEST_F(StringRegex, MatchesAsTheEngineAnswers)
{
    const struct {
        const char* subject;
        const char* pattern;
        StringCompareOptions options;
        Range range;
        const char* matches;
    } cases[] = {
        // Units of Japanese text and a surrogate pair, in host order.
        { "日本😀語", ".", 0, { 0, 5 }, "{0,1} {1,1} {2,2} {4,1}" },
        { "日本😀語", ".", BackwardsSearch, { 0, 5 }, "{4,1} {3,1} {2,2} {1,1} {0,1}" },
        { "かな漢字😀x", "\\p{Han}+", 0, { 0, 7 }, "{2,2}" },
        { "かな漢字😀x", "[\\x{1F600}]", 0, { 0, 7 }, "{4,2}" },
        { "straße", "SS", CaseInsensitiveSearch, { 0, 6 }, "{4,1}" },
        { "straße", "SS", 0, { 0, 6 }, "none" },
        // Locations count from the start of the receiver; the range bounds the search.
        { "abcabc", "b", 0, { 2, 4 }, "{4,1}" },
        { "abcabc", "b", BackwardsSearch, { 0, 4 }, "{1,1}" },
        // A forward match ends at the limit; a backward one no later than its start's unit.
        // A search that starts at the limit itself is not bounded by it.
        { "aaaa", "a+", 0, { 0, 2 }, "{0,2} {2,1}" },
        { "aaaa", "a+", 0, { 2, 0 }, "{2,1}" },
        { "aaaa", "a(?=a)", 0, { 1, 1 }, "none" },
        { "baaa", "a+", BackwardsSearch, { 0, 4 }, "{3,1} {2,1} {1,1}" },
        // Look-ahead stops at those ends; anchors and look-behind see the whole receiver.
        { "ab", "a(?=b)", 0, { 0, 1 }, "none" },
        { "ab", "^b", 0, { 1, 1 }, "none" },
        { "ab", "a$", 0, { 0, 1 }, "none" },
        { "ab", "(?<=a)b", 0, { 1, 1 }, "{1,1}" },
        { "ab", "(?<=a)b", BackwardsSearch, { 1, 1 }, "{1,1}" },
        // Empty matches: n + 1 forward, n backward, none in an empty range backward.
        { "abc", "x*", 0, { 0, 3 }, "{0,0} {1,0} {2,0} {3,0}" },
        { "abc", "x*", BackwardsSearch, { 0, 3 }, "{2,0} {1,0} {0,0}" },
        { "abc", "x*", 0, { 3, 0 }, "{3,0}" },
        { "abc", "x*", BackwardsSearch, { 1, 0 }, "none" },
        { "abc", "", 0, { 0, 3 }, "none" },
        // Callouts are registered for the UTF-16 encodings.
        { "ab", "a(*FAIL)|b", 0, { 0, 2 }, "{1,1}" },
    };
    for (const auto& row : cases) {
        const std::string shown = std::string(row.subject) + " / " + row.pattern + " options " + std::to_string(row.options);
        EXPECT_EQ(matches(true, row.subject, row.pattern, row.options, row.range), row.matches) << shown;
        // The single search answers the loop's first match.
        const std::string all = row.matches;
        EXPECT_EQ(matches(false, row.subject, row.pattern, row.options, row.range), all.substr(0, all.find(' '))) << shown;
    }
}

TEST_F(StringRegex, RaisesWithExactReasons)
{
    auto string = str("abc");
    auto mutableString = MutableString::stringWithString(string.get());
    expectRaise([&] { (void)rangeOfPatternString(string.get(), nullptr, 0, { 0, 3 }); }, "NSInvalidArgumentException",
        "*** -[String rangeOfPatternString:options:range:]: nil string (or other) argument");
    expectRaise([&] { (void)rangeValuesOfPatternString(mutableString.get(), nullptr, 0, { 9, 0 }); }, "NSInvalidArgumentException",
        "*** -[MutableString rangeValuesOfPatternString:options:range:]: nil string (or other) argument");
    // A bad range is found before an empty pattern gives up, without overflowing.
    for (Range range : { Range { 4, 0 }, Range { 1, 3 }, Range { 2, 0xFFFFFFFF } }) {
        expectRaise([&] { (void)rangeOfPatternString(string.get(), str("").get(), 0, range); }, "NSRangeException",
            "*** -[String rangeOfPatternString:options:range:]: Range or index out of bounds");
    }
    expectRaise([&] { (void)rangeValuesOfPatternString(mutableString.get(), str("a").get(), 0, { 3, 1 }); }, "NSRangeException",
        "*** -[MutableString rangeValuesOfPatternString:options:range:]: Range or index out of bounds");
    EXPECT_EQ(matches(true, "x", "(a"), "YKRegexException: end pattern with unmatched parenthesis");
    EXPECT_EQ(matches(true, "x", "\\k<foo>"), "YKRegexException: undefined name <foo> reference");
    EXPECT_EQ(matches(true, "x", "[b-a]", BackwardsSearch), "YKRegexException: empty range in char class");
    const std::string runaway = std::string(40, 'a') + "!";
    EXPECT_EQ(matches(true, runaway.c_str(), "(a|aa)+$"), "YKRegexException: retry-limit-in-match over");
    EXPECT_EQ(matches(false, runaway.c_str(), "(a|aa)+$"), "YKRegexException: retry-limit-in-match over");
}

// Compiles and searches run on many threads at once; only compiling and freeing share a lock.
TEST_F(StringRegex, ThreadsCompileSearchAndFailAtOnce)
{
    auto subject = str("送信済み 12:30 と 9:05、受信 23:59");
    std::atomic<int> wrong { 0 };
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 300; ++i) {
                try {
                    auto times = rangeValuesOfPatternString(subject.get(), str("\\d+:\\d\\d").get(), 0, { 0, subject->length() });
                    wrong += times->count() != 3;
                    wrong += rangeOfPatternString(subject.get(), str("\\p{Han}+").get(), BackwardsSearch, { 0, subject->length() }) != Range { 19, 1 };
                    (void)rangeOfPatternString(subject.get(), str(t % 2 ? "(a" : "[b-a]").get(), 0, { 0, 1 });
                    ++wrong;
                } catch (const Exception& e) {
                    wrong += e.name()->utf8() != YKRegexException;
                }
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
