#include <Yarkit/ByteSearch.h>

#include <string>

#include <gtest/gtest.h>

#include <Yarkit/ByteClasses.h>
#include <Yarkit/core/runtime/Range.h>

namespace {

constexpr uint32_t NF = yk::NotFound;

int twoForDigits(int byte)
{
    return byte >= '0' && byte <= '9' ? 2 : 0;
}

// The data additions' searches run through these; here are the edges they never reach: null
// buffers, class functions answering other values than 0 and 1, empty and longer patterns.
TEST(ByteSearch, EdgesOfTheCSearches)
{
    const std::string text = "xxaxxa";
    EXPECT_EQ(YIndexOfCharacter(text.data(), 6, 'x', 0, true), 2u);
    EXPECT_EQ(YIndexOfCharacter(text.data(), 6, 'a', 0, false), 4u);
    EXPECT_EQ(YIndexOfCharacter(text.data(), 2, 'a', 1, true), NF);
    EXPECT_EQ(YIndexOfCharacter(text.data(), 6, 'x', 2, true), NF); // (byte == c) is never 2
    EXPECT_EQ(YIndexOfCharacter(nullptr, 6, 'x', 1, true), NF);

    const std::string classes = " \tab\r\n 1";
    EXPECT_EQ(YIndexOfCharacterUsingFunction(classes.data(), 7, is_whitespace_crlf, 0, false), 3u);
    EXPECT_EQ(YIndexOfCharacterUsingFunction(classes.data(), 4, is_crlf, 1, true), NF);
    EXPECT_EQ(YIndexOfCharacterUsingFunction(classes.data(), 8, twoForDigits, 1, true), NF); // exactly the wanted value
    EXPECT_EQ(YIndexOfCharacterUsingFunction(classes.data(), 8, twoForDigits, 2, true), 7u);
    EXPECT_EQ(YIndexOfCharacterUsingFunction(classes.data(), 8, nullptr, 1, true), NF);
    EXPECT_EQ(YIndexOfCharacterUsingFunction(nullptr, 8, is_crlf, 1, true), NF);

    struct Case { const char* bytes; uint32_t length; const char* pattern; uint32_t patternLength; bool atStart; bool expected; } cases[] = {
        { "From: x", 7, "From:", 5, false, false }, { "line\r\n", 6, "\r\n", 2, false, true }, { "abc", 3, "abc", 3, true, true },
        { "abc", 3, "abcd", 4, true, false }, { "abc", 3, "", 0, true, false }, { nullptr, 3, "a", 1, true, false },
        { "abc", 3, nullptr, 1, true, false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(YStartsWithBytes(c.bytes, c.length, c.pattern, c.patternLength, c.atStart), c.expected) << "row " << &c - cases;
}

} // namespace
