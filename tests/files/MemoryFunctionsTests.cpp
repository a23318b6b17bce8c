#include <Yarkit/MemoryFunctions.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "core/system/CPUFeatures.h"
#include "files/StrtollComparison.h"
#include "files/SubstringSearch.h"
#include "foundation/LineBounds.h"

namespace {

// Offset of a search result from the haystack, -1 for null.
long offsetOf(const void* result, const std::string& haystack)
{
    return result ? static_cast<const char*>(result) - haystack.data() : -1;
}

// The null and zero arguments; ordinary searches are compared with glibc below.
TEST(MemoryFunctions, NullOrEmptyArgumentsFindNothing)
{
    const std::string text = "abcab\xff";
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

std::string randomText(std::mt19937& rng, size_t length, int alphabetSize)
{
    std::string text(length, '\0');
    for (auto& c : text)
        c = static_cast<char>('a' + rng() % static_cast<unsigned>(alphabetSize));
    return text;
}

using Finder = const uint8_t* (*)(const uint8_t*, size_t, const uint8_t*, size_t);

// The reference search first, then the vector paths this processor runs.
std::vector<std::pair<const char*, Finder>> searchPaths()
{
    std::vector<std::pair<const char*, Finder>> paths { { "portable", yk::detail::findFirstPortable } };
#if defined(__x86_64__)
    if (yk::detail::cpuFeatures().sse2)
        paths.push_back({ "SSE2", yk::detail::findFirstSSE2 });
    if (yk::detail::cpuFeatures().avx2)
        paths.push_back({ "AVX2", yk::detail::findFirstAVX2 });
#endif
    return paths;
}

// Small alphabets make many candidates, so the confirmation, the tails of the vector loops
// and the switch to the linear fallback are all exercised. glibc's memmem is independent of
// ours; y_memrmem's answer must be an occurrence with none after it.
TEST(MemoryFunctions, EveryMemmemPathAgreesWithThePortableOneAndGlibc)
{
    std::mt19937 rng(99);
    const auto paths = searchPaths();
    for (int round = 0; round < 30000; ++round) {
        int alphabet = 1 + static_cast<int>(rng() % 4);
        std::string haystack = randomText(rng, 1 + rng() % 300, alphabet);
        std::string needle = randomText(rng, 1 + rng() % 12, alphabet);
        if (rng() % 3 == 0 && needle.size() <= haystack.size()) // plant an occurrence
            haystack.replace(rng() % (haystack.size() - needle.size() + 1), needle.size(), needle);
        const std::string what = "needle " + needle + " in " + haystack;
        auto* h = reinterpret_cast<const uint8_t*>(haystack.data());
        auto* n = reinterpret_cast<const uint8_t*>(needle.data());
        const void* expected = memmem(h, haystack.size(), n, needle.size());
        ASSERT_EQ(y_memmem(h, haystack.size(), n, needle.size()), expected) << what;
        if (needle.size() <= haystack.size()) { // the paths require the needle to fit
            for (auto [name, find] : paths)
                ASSERT_EQ(static_cast<const void*>(find(h, haystack.size(), n, needle.size())), expected) << name << ": " << what;
        }
        ASSERT_EQ(offsetOf(y_memrchr(h, needle[0], haystack.size()), haystack), long(haystack.rfind(needle[0]))) << what;
        auto* last = static_cast<const uint8_t*>(y_memrmem(h, haystack.size(), n, needle.size()));
        ASSERT_EQ(last != nullptr, expected != nullptr) << what;
        if (last) {
            size_t after = static_cast<size_t>(last - h) + 1;
            ASSERT_EQ(std::memcmp(last, n, needle.size()), 0) << what;
            ASSERT_EQ(memmem(h + after, haystack.size() - after, n, needle.size()), nullptr) << what;
        }
    }
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
    for (auto [name, find] : searchPaths()) {
        if (find == yk::detail::findFirstPortable) // no linear fallback: quadratic here
            continue;
        EXPECT_EQ(find(h, haystack.size(), n, needle.size()), h + planted) << name;
    }
    EXPECT_EQ(y_memmem(h, haystack.size(), n, needle.size()), h + planted);
}

// Texts of "a", CR and LF make every kind of terminator, runs of lone CRs before an LF (the
// remembered LF) and a last line without one.
TEST(MemoryFunctions, LineScannerAgreesWithThePortableLineSplit)
{
    std::mt19937 rng(17);
    for (int round = 0; round < 20000; ++round) {
        std::string text = randomText(rng, rng() % 40, 3);
        for (char& c : text)
            c = c == 'b' ? '\r' : c == 'c' ? '\n' : c;
        auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
        const auto length = static_cast<uint32_t>(text.size());
        yk::detail::LineScanner scanner(bytes, length);
        for (uint32_t start = 0; start < length;) {
            auto fast = scanner.next(start);
            auto portable = yk::detail::nextLine(bytes, length, start);
            ASSERT_EQ(fast.end, portable.end) << "at " << start << " of " << testing::PrintToString(text);
            ASSERT_EQ(fast.terminatorLength, portable.terminatorLength) << "at " << start << " of " << testing::PrintToString(text);
            start = fast.end;
        }
    }
}

struct StrtollCase {
    const char* text;
    int base;
    long long value;
    long end; // offset of *endPointer
    int error; // errno afterwards, 0 when untouched
};

// The decisions glibc does not share, the limits, and what the comparison below draws rarely.
TEST(MemoryFunctions, StrtollParsesLikeTheBSDLibrary)
{
    const StrtollCase cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("\"") + c.text + "\" base " + std::to_string(c.base));
        char* end = nullptr;
        errno = 0;
        EXPECT_EQ(y_strtoll(c.text, &end, c.base), c.value);
        EXPECT_EQ(end - c.text, c.end);
        EXPECT_EQ(errno, c.error);
        EXPECT_EQ(y_strtoll(c.text, nullptr, c.base), c.value);
    }
}

// glibc's strtoll differs only where no digits are found (it leaves errno alone); elsewhere
// value, end and ERANGE must match.
TEST(MemoryFunctions, StrtollAgreesWithGlibcWhereTheContractsAgree)
{
    std::mt19937 rng(5);
    const char pieces[] = " \t-+0x019aAfFzZ7X.";
    for (int round = 0; round < 100000; ++round) {
        std::string text;
        for (size_t length = rng() % 24; length > 0; --length)
            text += pieces[rng() % (sizeof pieces - 1)];
        int base = static_cast<int>(rng() % 37);
        base = base == 1 ? 0 : base;
        const StrtollOutcome ours = runStrtoll(y_strtoll, text, base);
        const StrtollOutcome glibc = runStrtoll(std::strtoll, text, base);
        ASSERT_EQ(ours.value, glibc.value) << "\"" << text << "\" base " << base;
        ASSERT_EQ(ours.end, glibc.end) << "\"" << text << "\" base " << base;
        ASSERT_EQ(ours.error == ERANGE, glibc.error == ERANGE) << "\"" << text << "\" base " << base;
        if (ours.error == EINVAL) {
            ASSERT_EQ(glibc.end, text.c_str());
        }
    }
}

} // namespace
