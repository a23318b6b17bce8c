#include <Yarkit/ByteSearch.h>

#include <string>

#include <gtest/gtest.h>

#include <Yarkit/ByteClasses.h>
#include <Yarkit/core/runtime/Range.h>

namespace {

constexpr uint32_t NF = yk::NotFound;

TEST(ByteSearch, IndexOfCharacter)
{
    const std::string text = "xxaxxa";
    struct Case {
        const char* bytes;
        uint32_t length;
        unsigned char c;
        int wanted;
        bool forward;
        uint32_t expected;
    } cases[] = {
        { text.data(), 6, 'a', 1, true, 2 },
        { text.data(), 6, 'a', 1, false, 5 },
        { text.data(), 6, 'x', 0, true, 2 },
        { text.data(), 6, 'a', 0, false, 4 },
        { text.data(), 2, 'a', 1, true, NF },
        { text.data(), 6, 'b', 1, true, NF },
        { text.data(), 6, 'x', 2, true, NF }, // (byte == c) is never 2
        { nullptr, 6, 'x', 1, true, NF },
    };
    for (const auto& c : cases)
        EXPECT_EQ(YIndexOfCharacter(c.bytes, c.length, c.c, c.wanted, c.forward), c.expected) << "row " << &c - cases;
}

int twoForDigits(int byte)
{
    return byte >= '0' && byte <= '9' ? 2 : 0;
}

TEST(ByteSearch, IndexOfCharacterUsingFunction)
{
    const std::string text = " \tab\r\n 1";
    struct Case {
        YByteClassFunction function;
        int wanted;
        bool forward;
        uint32_t length;
        uint32_t expected;
    } cases[] = {
        { is_whitespace, 0, true, 8, 2 },
        { is_whitespace, 1, false, 8, 6 },
        { is_whitespace_crlf, 0, false, 7, 3 },
        { is_crlf, 1, true, 8, 4 },
        { is_crlf, 1, true, 4, NF },
        { twoForDigits, 1, true, 8, NF }, // membership means exactly the wanted value
        { twoForDigits, 2, true, 8, 7 },
        { nullptr, 1, true, 8, NF },
    };
    for (const auto& c : cases)
        EXPECT_EQ(YIndexOfCharacterUsingFunction(text.data(), c.length, c.function, c.wanted, c.forward), c.expected) << "row " << &c - cases;
    EXPECT_EQ(YIndexOfCharacterUsingFunction(nullptr, 8, is_crlf, 1, true), NF);
}

TEST(ByteSearch, StartsWithBytes)
{
    struct Case {
        const char* bytes;
        uint32_t length;
        const char* pattern;
        uint32_t patternLength;
        bool atStart;
        bool expected;
    } cases[] = {
        { "From: x", 7, "From:", 5, true, true },
        { "From: x", 7, "From:", 5, false, false },
        { "line\r\n", 6, "\r\n", 2, false, true },
        { "abc", 3, "abc", 3, true, true },
        { "abc", 3, "abcd", 4, true, false },
        { "abc", 3, "", 0, true, false },
        { nullptr, 3, "a", 1, true, false },
        { "abc", 3, nullptr, 1, true, false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(YStartsWithBytes(c.bytes, c.length, c.pattern, c.patternLength, c.atStart), c.expected) << "row " << &c - cases;
}

} // namespace
