#include "text/ByteScan.h"

#include "core/system/CPUFeatures.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace yk::detail {
namespace {

constexpr uint8_t escape = 0x1B;

size_t sse2FindHighByte(const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + from));
        if (int mask = _mm_movemask_epi8(block))
            return from + __builtin_ctz(static_cast<unsigned>(mask));
        from += 16;
    }
    return findHighByteTail(bytes, from, length);
}

size_t sse2FindHighByteOrEscape(const uint8_t* bytes, size_t from, size_t length)
{
    const __m128i escapes = _mm_set1_epi8(escape);
    while (length - from >= 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + from));
        __m128i hits = _mm_or_si128(block, _mm_cmpeq_epi8(block, escapes));
        if (int mask = _mm_movemask_epi8(hits))
            return from + __builtin_ctz(static_cast<unsigned>(mask));
        from += 16;
    }
    return findHighByteOrEscapeTail(bytes, from, length);
}

size_t sse2ASCIIPrefix(const uint8_t* bytes, size_t length)
{
    return sse2FindHighByte(bytes, 0, length);
}

__attribute__((target("avx2"))) size_t avx2FindHighByte(
    const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 64) {
        __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from + 32));
        if (!_mm256_movemask_epi8(_mm256_or_si256(first, second))) {
            from += 64;
            continue;
        }
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(first)))
            return from + __builtin_ctz(mask);
        return from + 32 + __builtin_ctz(static_cast<unsigned>(_mm256_movemask_epi8(second)));
    }
    while (length - from >= 32) {
        __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(block)))
            return from + __builtin_ctz(mask);
        from += 32;
    }
    return findHighByteTail(bytes, from, length);
}

__attribute__((target("avx2"))) size_t avx2FindHighByteOrEscape(
    const uint8_t* bytes, size_t from, size_t length)
{
    const __m256i escapes = _mm256_set1_epi8(escape);
    while (length - from >= 32) {
        __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        __m256i hits = _mm256_or_si256(block, _mm256_cmpeq_epi8(block, escapes));
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(hits)))
            return from + __builtin_ctz(mask);
        from += 32;
    }
    return findHighByteOrEscapeTail(bytes, from, length);
}

// The AVX2 prefix scans. UTF-8 follows the lookup method of Keiser and Lemire ("Validating
// UTF-8 in less than one instruction per byte"): three 16-entry tables classify each byte
// with the one before it, and a separate check demands the continuations of three- and
// four-byte sequences.

#define YK_AVX2 __attribute__((target("avx2")))

YK_AVX2 inline __m256i load256(const uint8_t* bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

YK_AVX2 inline __m256i repeat16(int8_t b0, int8_t b1, int8_t b2, int8_t b3, int8_t b4, int8_t b5,
    int8_t b6, int8_t b7, int8_t b8, int8_t b9, int8_t b10, int8_t b11, int8_t b12, int8_t b13,
    int8_t b14, int8_t b15)
{
    return _mm256_setr_epi8(b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15,
        b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15);
}

YK_AVX2 inline __m256i highNibbles(__m256i bytes)
{
    return _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(0x0F));
}

// The input shifted by N bytes towards the end, the last N bytes of `previous` shifted in.
template<int N>
YK_AVX2 inline __m256i shiftedIn(__m256i input, __m256i previous)
{
    return _mm256_alignr_epi8(input, _mm256_permute2x128_si256(previous, input, 0x21), 16 - N);
}

constexpr int8_t tooShort = 1 << 0;     // 11______ 0_______ or 11______ 11______
constexpr int8_t tooLong = 1 << 1;      // 0_______ 10______
constexpr int8_t overlong3 = 1 << 2;    // 11100000 100_____
constexpr int8_t tooLarge = 1 << 3;     // 11110100 1001____, 11110100 101_____, 11110101+ 1___
constexpr int8_t surrogate = 1 << 4;    // 11101101 101_____
constexpr int8_t overlong2 = 1 << 5;    // 1100000_ 10______
constexpr int8_t tooLarge1000 = 1 << 6; // 11110101+ 1000____
constexpr int8_t overlong4 = 1 << 6;    // 11110000 1000____
constexpr int8_t twoConts = static_cast<int8_t>(1 << 7); // 10______ 10______
constexpr int8_t carry = tooShort | tooLong | twoConts;

YK_AVX2 inline __m256i utf8SpecialCases(__m256i input, __m256i previous1)
{
    const __m256i byte1High = repeat16(tooLong, tooLong, tooLong, tooLong, tooLong, tooLong,
        tooLong, tooLong, twoConts, twoConts, twoConts, twoConts, tooShort | overlong2, tooShort,
        tooShort | overlong3 | surrogate, tooShort | tooLarge | tooLarge1000 | overlong4);
    const __m256i byte1Low = repeat16(carry | overlong3 | overlong2 | overlong4,
        carry | overlong2, carry, carry, carry | tooLarge, carry | tooLarge | tooLarge1000,
        carry | tooLarge | tooLarge1000, carry | tooLarge | tooLarge1000,
        carry | tooLarge | tooLarge1000, carry | tooLarge | tooLarge1000,
        carry | tooLarge | tooLarge1000, carry | tooLarge | tooLarge1000,
        carry | tooLarge | tooLarge1000, carry | tooLarge | tooLarge1000 | surrogate,
        carry | tooLarge | tooLarge1000, carry | tooLarge | tooLarge1000);
    const __m256i byte2High = repeat16(tooShort, tooShort, tooShort, tooShort, tooShort, tooShort,
        tooShort, tooShort,
        tooLong | overlong2 | twoConts | overlong3 | tooLarge1000 | overlong4,
        tooLong | overlong2 | twoConts | overlong3 | tooLarge,
        tooLong | overlong2 | twoConts | surrogate | tooLarge,
        tooLong | overlong2 | twoConts | surrogate | tooLarge, tooShort, tooShort, tooShort,
        tooShort);
    __m256i high1 = _mm256_shuffle_epi8(byte1High, highNibbles(previous1));
    __m256i low1 = _mm256_shuffle_epi8(byte1Low, _mm256_and_si256(previous1, _mm256_set1_epi8(0x0F)));
    __m256i high2 = _mm256_shuffle_epi8(byte2High, highNibbles(input));
    return _mm256_and_si256(_mm256_and_si256(high1, low1), high2);
}

YK_AVX2 inline __m256i utf8BlockErrors(__m256i input, __m256i previous)
{
    __m256i special = utf8SpecialCases(input, shiftedIn<1>(input, previous));
    __m256i third = _mm256_subs_epu8(shiftedIn<2>(input, previous), _mm256_set1_epi8(0x60));
    __m256i fourth = _mm256_subs_epu8(shiftedIn<3>(input, previous), _mm256_set1_epi8(0x70));
    __m256i mustBeContinuation = _mm256_and_si256(_mm256_or_si256(third, fourth),
        _mm256_set1_epi8(static_cast<char>(0x80)));
    return _mm256_xor_si256(mustBeContinuation, special);
}

// Nonzero when the block ends inside a sequence.
YK_AVX2 inline __m256i utf8Incomplete(__m256i input)
{
    const __m256i maximum = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
        -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, static_cast<char>(0xEF),
        static_cast<char>(0xDF), static_cast<char>(0xBF));
    return _mm256_subs_epu8(input, maximum);
}

// The last sequence start in the four bytes before `end`, when everything before `end` was
// checked: a sequence that started before it is complete.
size_t utf8BoundaryBefore(const uint8_t* bytes, size_t end)
{
    for (size_t k = end; k > 0 && end - k < 4; --k) {
        if ((bytes[k - 1] & 0xC0) != 0x80)
            return k - 1;
    }
    return 0;
}

YK_AVX2 size_t avx2UTF8Prefix(const uint8_t* bytes, size_t length)
{
    __m256i previous = _mm256_setzero_si256();
    __m256i previousIncomplete = _mm256_setzero_si256();
    size_t i = 0;
    for (; length - i >= 32; i += 32) {
        __m256i input = load256(bytes + i);
        // A sequence cut by the block's end is an error only if no continuation follows; in a
        // block with high bytes the length check sees that.
        __m256i errors = _mm256_movemask_epi8(input) ? utf8BlockErrors(input, previous)
                                                     : previousIncomplete;
        if (!_mm256_testz_si256(errors, errors))
            return utf8BoundaryBefore(bytes, i);
        previousIncomplete = utf8Incomplete(input);
        previous = input;
    }
    if (!_mm256_testz_si256(previousIncomplete, previousIncomplete))
        return utf8BoundaryBefore(bytes, i);
    return i;
}

// Bit masks of 64 bytes, bit k for byte k.
YK_AVX2 inline uint64_t bitMask(__m256i first, __m256i second)
{
    return static_cast<uint32_t>(_mm256_movemask_epi8(first))
        | static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(second))) << 32;
}

YK_AVX2 inline __m256i inRange(__m256i bytes, uint8_t low, uint8_t high)
{
    __m256i clamped = _mm256_min_epu8(_mm256_max_epu8(bytes, _mm256_set1_epi8(static_cast<char>(low))),
        _mm256_set1_epi8(static_cast<char>(high)));
    return _mm256_cmpeq_epi8(clamped, bytes);
}

// Of the bytes marked in `candidates`, those that lead a pair when every run of candidates
// is read as pairs from its first byte: each candidate at an even offset in its run.
inline uint64_t pairLeads(uint64_t candidates)
{
    constexpr uint64_t evenBits = 0x5555555555555555ull;
    uint64_t starts = candidates & ~(candidates << 1);
    uint64_t runsFromEvenBits = ((candidates + (starts & evenBits)) ^ candidates) & candidates;
    uint64_t runsFromOddBits = candidates & ~runsFromEvenBits;
    return (runsFromEvenBits & evenBits) | (runsFromOddBits & ~evenBits);
}

// The prefix scans of the double-byte encodings: per 64-byte block, the candidate leads, and
// whether the leads, the trails after them and the other high bytes are acceptable. A lead
// in a block's last byte carries its trail into the next block.
struct PairClasses {
    uint64_t high;       // bytes 0x80 and above
    uint64_t candidates; // bytes that lead a pair when they stand where a unit begins
    uint64_t goodLeads;
    uint64_t goodTrails; // acceptable after the byte before them, should that be a lead
    uint64_t goodSingles; // high bytes that may stand alone
};

// `classify(first, second, before)` classifies the block first:second; `before` holds the 32
// bytes before it (zero at the start).
template<typename Classify>
YK_AVX2 inline size_t avx2PairPrefix(const uint8_t* bytes, size_t length, Classify classify)
{
    uint64_t trailFirst = 0; // 1: the block's first byte is the trail of the previous lead
    __m256i before = _mm256_setzero_si256();
    size_t i = 0;
    for (; length - i >= 64; i += 64) {
        __m256i first = load256(bytes + i);
        __m256i second = load256(bytes + i + 32);
        if (!trailFirst && !_mm256_movemask_epi8(_mm256_or_si256(first, second))) {
            before = second;
            continue;
        }
        PairClasses classes = classify(first, second, before);
        uint64_t leads = pairLeads(classes.candidates & ~trailFirst);
        uint64_t trails = leads << 1 | trailFirst;
        uint64_t singles = classes.high & ~trails & ~leads;
        uint64_t bad = (leads & ~classes.goodLeads) | (trails & ~classes.goodTrails)
            | (singles & ~classes.goodSingles);
        if (bad)
            return i - trailFirst;
        trailFirst = leads >> 63;
        before = second;
    }
    return i - trailFirst;
}

YK_AVX2 size_t avx2EUCJPPrefix(const uint8_t* bytes, size_t length)
{
    return avx2PairPrefix(bytes, length, [](__m256i first, __m256i second, __m256i) YK_AVX2 {
        const __m256i singleShift2 = _mm256_set1_epi8(static_cast<char>(0x8E));
        __m256i trail1 = inRange(first, 0xA1, 0xFE), trail2 = inRange(second, 0xA1, 0xFE);
        PairClasses classes;
        classes.high = bitMask(first, second);
        classes.candidates = classes.high;
        classes.goodTrails = bitMask(trail1, trail2);
        classes.goodLeads = classes.goodTrails
            | bitMask(_mm256_cmpeq_epi8(first, singleShift2), _mm256_cmpeq_epi8(second, singleShift2));
        classes.goodSingles = 0;
        return classes;
    });
}

YK_AVX2 inline __m256i equal(__m256i bytes, uint8_t value)
{
    return _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(static_cast<char>(value)));
}

YK_AVX2 inline __m256i shiftJISCandidates(__m256i bytes)
{
    return _mm256_or_si256(inRange(bytes, 0x81, 0x9F), inRange(bytes, 0xE0, 0xFC));
}

YK_AVX2 inline __m256i shiftJISCommonLeads(__m256i bytes)
{
    return _mm256_or_si256(_mm256_or_si256(inRange(bytes, 0x81, 0x84), inRange(bytes, 0x88, 0x9F)),
        inRange(bytes, 0xE0, 0xEA));
}

// Trails every vendor accepts after `lead`: 0x40-0x7E and 0x80-0xFC, narrowed after 0x84 (to
// 0xBE), 0x88 (from 0x9F), 0x98 (not 0x73-0x9E) and 0xEA (to 0xA4).
YK_AVX2 inline __m256i shiftJISCommonTrails(__m256i trail, __m256i lead)
{
    __m256i valid = _mm256_or_si256(inRange(trail, 0x40, 0x7E), inRange(trail, 0x80, 0xFC));
    __m256i narrowed = _mm256_or_si256(
        _mm256_or_si256(_mm256_andnot_si256(inRange(trail, 0x00, 0xBE), equal(lead, 0x84)),
            _mm256_andnot_si256(inRange(trail, 0x9F, 0xFF), equal(lead, 0x88))),
        _mm256_or_si256(_mm256_and_si256(inRange(trail, 0x73, 0x9E), equal(lead, 0x98)),
            _mm256_andnot_si256(inRange(trail, 0x00, 0xA4), equal(lead, 0xEA))));
    return _mm256_andnot_si256(narrowed, valid);
}

YK_AVX2 size_t avx2ShiftJISPrefix(const uint8_t* bytes, size_t length)
{
    return avx2PairPrefix(bytes, length, [](__m256i first, __m256i second, __m256i before) YK_AVX2 {
        PairClasses classes;
        classes.high = bitMask(first, second);
        classes.candidates = bitMask(shiftJISCandidates(first), shiftJISCandidates(second));
        classes.goodLeads = bitMask(shiftJISCommonLeads(first), shiftJISCommonLeads(second));
        classes.goodTrails = bitMask(shiftJISCommonTrails(first, shiftedIn<1>(first, before)),
            shiftJISCommonTrails(second, shiftedIn<1>(second, first)));
        classes.goodSingles = bitMask(inRange(first, 0xA1, 0xDF), inRange(second, 0xA1, 0xDF));
        return classes;
    });
}

#undef YK_AVX2

constexpr ByteScanner sse2Scanner { "sse2", sse2FindHighByte, sse2FindHighByteOrEscape,
    sse2ASCIIPrefix, sse2ASCIIPrefix, sse2ASCIIPrefix };
constexpr ByteScanner avx2Scanner { "avx2", avx2FindHighByte, avx2FindHighByteOrEscape,
    avx2UTF8Prefix, avx2EUCJPPrefix, avx2ShiftJISPrefix };

} // namespace

const ByteScanner* sse2ByteScanner()
{
    return cpuFeatures().sse2 ? &sse2Scanner : nullptr;
}

const ByteScanner* avx2ByteScanner()
{
    return cpuFeatures().avx2 ? &avx2Scanner : nullptr;
}

} // namespace yk::detail

#endif
