#include <Yarkit/MemoryFunctions.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/system/CPUFeatures.h"
#include "files/SubstringSearch.h"

namespace {

// Offset of a search result from the haystack, -1 for null.
long offsetOf(const void* result, const std::string& haystack)
{
    return result ? static_cast<const char*>(result) - haystack.data() : -1;
}

// The null and zero arguments and the byte conversion; the fuzz target compares ordinary
// searches across every path.
TEST(MemoryFunctions, NullOrEmptyArgumentsFindNothing)
{
    const std::string text = "abcab\xff";
    EXPECT_EQ(offsetOf(y_memrchr(text.data(), 'a', text.size()), text), 3);
    EXPECT_EQ(offsetOf(y_memrchr(text.data(), 0x1ff, text.size()), text), 5); // converted to unsigned char
    EXPECT_EQ(offsetOf(y_memmem(text.data(), 3, "abca", 4), text), -1);
    EXPECT_EQ(offsetOf(y_memrmem(text.data(), 4, "ab", 2), text), 0); // wholly inside the haystack
    for (auto [haystack, length, needle, needleLength] : { std::tuple<const char*, size_t, const char*, size_t> { text.data(), 0, "a", 1 },
             { text.data(), text.size(), "a", 0 }, { nullptr, 5, "a", 1 }, { text.data(), text.size(), nullptr, 1 } }) {
        EXPECT_EQ(y_memmem(haystack, length, needle, needleLength), nullptr);
        EXPECT_EQ(y_memrmem(haystack, length, needle, needleLength), nullptr);
    }
    EXPECT_EQ(y_memrchr(text.data(), 'a', 0), nullptr);
    EXPECT_EQ(y_memrchr(nullptr, 'a', 5), nullptr);
}

using Finder = const uint8_t* (*)(const uint8_t*, size_t, const uint8_t*, size_t);

// The vector paths this processor runs (the portable one has no linear fallback: quadratic on
// the input below).
std::vector<std::pair<const char*, Finder>> vectorPaths()
{
    std::vector<std::pair<const char*, Finder>> paths;
#if defined(__x86_64__)
    if (yk::detail::cpuFeatures().sse2)
        paths.push_back({ "SSE2", yk::detail::findFirstSSE2 });
    if (yk::detail::cpuFeatures().avx2)
        paths.push_back({ "AVX2", yk::detail::findFirstAVX2 });
#endif
    return paths;
}

TEST(MemoryFunctions, MemmemStaysCorrectOnInputsThatDefeatCandidateFiltering)
{
    // In "abab...", every even position passes the two-byte filter of "(ab)^250 bb" (its first
    // byte and its last) and fails only after 500 bytes: the linear fallback must take over and
    // still report the one real occurrence near the end.
    std::string haystack, needle;
    for (int i = 0; i < (1 << 19); ++i)
        haystack += "ab";
    for (int i = 0; i < 250; ++i)
        needle += "ab";
    needle += "bb";
    const size_t planted = haystack.size() - 2000;
    haystack.replace(planted, needle.size(), needle);
    auto* h = reinterpret_cast<const uint8_t*>(haystack.data());
    auto* n = reinterpret_cast<const uint8_t*>(needle.data());
    for (auto [name, find] : vectorPaths())
        EXPECT_EQ(find(h, haystack.size(), n, needle.size()), h + planted) << name;
    EXPECT_EQ(y_memmem(h, haystack.size(), n, needle.size()), h + planted);
}

// The decisions glibc does not share and the limits (the fuzz target compares the rest with
// glibc). Text, base, value, offset of *endPointer, errno afterwards (0 when untouched).
TEST(MemoryFunctions, StrtollParsesLikeTheBSDLibrary)
{
    const std::tuple<const char*, int, long long, long, int> cases[] = {
        { "0x1A", 0, 26, 4, 0 },
        { "xyz", 10, 0, 0, EINVAL },
        { "", 10, 0, 0, EINVAL },
        { "  \t\n\v\f\r-42abc", 10, -42, 10, 0 },
        { "- 7", 10, 0, 0, EINVAL },
        { "0x", 16, 0, 1, 0 },
        { "0xg", 0, 0, 1, 0 },
        { "08", 0, 0, 1, 0 },
        { "Zz", 36, 35 * 36 + 35, 2, 0 },
        { "9223372036854775807", 10, LLONG_MAX, 19, 0 },
        { "9223372036854775808", 10, LLONG_MAX, 19, ERANGE },
        { "-9223372036854775808", 10, LLONG_MIN, 20, 0 },
        { "-9223372036854775809", 10, LLONG_MIN, 20, ERANGE },
        { "99999999999999999999999x", 10, LLONG_MAX, 23, ERANGE },
        { "0x8000000000000000", 16, LLONG_MAX, 18, ERANGE },
        { "-0x8000000000000000", 0, LLONG_MIN, 19, 0 },
        { "12", 1, 0, 0, EINVAL },
        { "12", 37, 0, 0, EINVAL },
        { "12", -2, 0, 0, EINVAL },
    };
    for (auto [text, base, value, endOffset, error] : cases) {
        SCOPED_TRACE(std::string("\"") + text + "\" base " + std::to_string(base));
        char* end = nullptr;
        errno = 0;
        EXPECT_EQ(y_strtoll(text, &end, base), value);
        EXPECT_EQ(end - text, endOffset);
        EXPECT_EQ(errno, error);
        EXPECT_EQ(y_strtoll(text, nullptr, base), value);
    }
}

} // namespace
