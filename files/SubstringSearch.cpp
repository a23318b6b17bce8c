#include "files/SubstringSearch.h"

#include <cstring>

#include "core/system/CPUFeatures.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace yk::detail {

const uint8_t* findFirstPortable(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength)
{
    const uint8_t* end = haystack + haystackLength;
    for (const uint8_t* p = haystack; static_cast<size_t>(end - p) >= needleLength; ++p) {
        p = static_cast<const uint8_t*>(std::memchr(p, needle[0], static_cast<size_t>(end - p) - needleLength + 1));
        if (!p)
            return nullptr;
        if (std::memcmp(p, needle, needleLength) == 0)
            return p;
    }
    return nullptr;
}

#if defined(__x86_64__)

namespace {

// Candidates are the positions whose bytes match the needle's at two places, found a vector
// at a time; each is confirmed with memcmp. The two places are the first byte and the last
// byte that differs from it, so a needle such as "aaab" or "aabaa" is not a candidate at every
// position of a run of "a". Text that still makes most positions candidates could make that
// quadratic, so once the confirmations cost more than a few times the distance scanned, the
// rest goes to glibc's memmem, whose two-way search is linear.
constexpr size_t FixedBudget = 4096;
constexpr size_t BudgetPerByte = 4;

inline bool overBudget(size_t work, size_t scanned)
{
    return work > FixedBudget + BudgetPerByte * scanned;
}

const uint8_t* fallback(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength)
{
    return static_cast<const uint8_t*>(memmem(haystack, haystackLength, needle, needleLength));
}

// The offset of the second byte the candidates are filtered on (see above); needles of one
// byte are searched with memchr and never get here.
size_t secondProbe(const uint8_t* needle, size_t needleLength)
{
    for (size_t k = needleLength - 1; k > 0; --k) {
        if (needle[k] != needle[0])
            return k;
    }
    return needleLength - 1;
}

// Confirms every candidate bit of `mask` (bit j is position i + j), lowest first.
inline const uint8_t* confirm(uint32_t mask, const uint8_t* position, const uint8_t* needle, size_t needleLength, size_t& work)
{
    while (mask) {
        const uint8_t* candidate = position + __builtin_ctz(mask);
        if (std::memcmp(candidate + 1, needle + 1, needleLength - 1) == 0)
            return candidate;
        work += needleLength;
        mask &= mask - 1;
    }
    return nullptr;
}

} // namespace

const uint8_t* findFirstSSE2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength)
{
    if (needleLength == 1)
        return static_cast<const uint8_t*>(std::memchr(haystack, needle[0], haystackLength));
    const size_t probe = secondProbe(needle, needleLength);
    const size_t positions = haystackLength - needleLength + 1;
    const __m128i first = _mm_set1_epi8(static_cast<char>(needle[0]));
    const __m128i second = _mm_set1_epi8(static_cast<char>(needle[probe]));
    size_t work = 0;
    size_t i = 0;
    for (; i + 16 <= positions; i += 16) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(haystack + i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(haystack + i + probe));
        auto mask = static_cast<uint32_t>(_mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(a, first), _mm_cmpeq_epi8(b, second))));
        if (!mask)
            continue;
        if (const uint8_t* found = confirm(mask, haystack + i, needle, needleLength, work))
            return found;
        if (overBudget(work, i))
            return fallback(haystack + i + 16, haystackLength - i - 16, needle, needleLength);
    }
    if (i == positions)
        return nullptr;
    return findFirstPortable(haystack + i, haystackLength - i, needle, needleLength);
}

__attribute__((target("avx2")))
const uint8_t* findFirstAVX2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength)
{
    if (needleLength == 1)
        return static_cast<const uint8_t*>(std::memchr(haystack, needle[0], haystackLength));
    const size_t probe = secondProbe(needle, needleLength);
    const size_t positions = haystackLength - needleLength + 1;
    const __m256i first = _mm256_set1_epi8(static_cast<char>(needle[0]));
    const __m256i second = _mm256_set1_epi8(static_cast<char>(needle[probe]));
    size_t work = 0;
    size_t i = 0;
    for (; i + 32 <= positions; i += 32) {
        __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(haystack + i));
        __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(haystack + i + probe));
        auto mask = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_and_si256(_mm256_cmpeq_epi8(a, first), _mm256_cmpeq_epi8(b, second))));
        if (!mask)
            continue;
        if (const uint8_t* found = confirm(mask, haystack + i, needle, needleLength, work))
            return found;
        if (overBudget(work, i))
            return fallback(haystack + i + 32, haystackLength - i - 32, needle, needleLength);
    }
    if (i == positions)
        return nullptr;
    return findFirstSSE2(haystack + i, haystackLength - i, needle, needleLength);
}

#endif

const uint8_t* findFirst(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength)
{
#if defined(__x86_64__)
    if (cpuFeatures().avx2)
        return findFirstAVX2(haystack, haystackLength, needle, needleLength);
    if (cpuFeatures().sse2)
        return findFirstSSE2(haystack, haystackLength, needle, needleLength);
#endif
    return findFirstPortable(haystack, haystackLength, needle, needleLength);
}

} // namespace yk::detail
