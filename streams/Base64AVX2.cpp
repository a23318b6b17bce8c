#include "streams/Base64Codec.h"

#include <immintrin.h>

// The vector halves of the codec: 24 bytes to 32 characters and back per step, after Muła and
// Lemire's AVX2 base64 algorithms. The callers finish what these leave with the scalar code.

namespace yk::detail {

namespace {

__attribute__((target("avx2"))) inline void encodeBlock(char* out, const uint8_t* in)
{
    // Bytes 0..11 into the low lane and 12..23 into the high one (each load reads 16 bytes).
    __m256i v = _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 12)),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in)));
    // Each 32-bit element gets the bytes b1 b0 b2 b1 of its group.
    v = _mm256_shuffle_epi8(v, _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,
                                   1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    // Move the four sextets of each group into the low six bits of its four bytes.
    __m256i t0 = _mm256_and_si256(v, _mm256_set1_epi32(0x0FC0FC00));
    __m256i t1 = _mm256_mulhi_epu16(t0, _mm256_set1_epi32(0x04000040));
    __m256i t2 = _mm256_and_si256(v, _mm256_set1_epi32(0x003F03F0));
    __m256i t3 = _mm256_mullo_epi16(t2, _mm256_set1_epi32(0x01000010));
    __m256i sextets = _mm256_or_si256(t1, t3);
    // Sextet to character: an offset chosen by range (A-Z, a-z, 0-9, +, /).
    __m256i range = _mm256_subs_epu8(sextets, _mm256_set1_epi8(51));
    __m256i upper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), sextets);
    range = _mm256_or_si256(range, _mm256_and_si256(upper, _mm256_set1_epi8(13)));
    const __m256i offsets = _mm256_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
        '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0, 'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
        '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    __m256i chars = _mm256_add_epi8(_mm256_shuffle_epi8(offsets, range), sextets);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), chars);
}

} // namespace

__attribute__((target("avx2"))) uint32_t encodeGroupsAVX2(char* out, const uint8_t* in, uint32_t groups, size_t available)
{
    // A block reads 28 bytes for the 24 it encodes.
    auto readable = [available](size_t group) { return 3 * group + 28 <= available; };
    if (groups < 8)
        return 0;
    uint32_t done = 0;
    for (; done + 8 <= groups; done += 8) {
        if (!readable(done))
            return done;
        encodeBlock(out + 4 * done, in + 3 * done);
    }
    // The last few groups: one more block that overlaps groups already written.
    if (done < groups && readable(groups - 8)) {
        encodeBlock(out + 4 * (groups - 8), in + 3 * (groups - 8));
        done = groups;
    }
    return done;
}

__attribute__((target("avx2"))) uint32_t decodeGroupsAVX2(uint8_t* out, const uint8_t* in, uint32_t length, uint32_t outRoom)
{
    // A character is invalid when the bit of its high nibble's class is set in its low
    // nibble's entry: classes 0x01 (2x: + /), 0x02 (3x: digits), 0x04 (4x, 6x: letters from 1),
    // 0x08 (5x, 7x: letters up to A), 0x10 (every other high nibble, and bytes from 0x80).
    const __m256i lowTable = _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B,
        0x1B, 0x1A, 0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    const __m256i highTable = _mm256_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,
        0x10, 0x10, 0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    // Character to sextet: an offset by high nibble, with "/" (high nibble 2 minus one) apart.
    const __m256i rollTable = _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16, 19, 4, -65, -65,
        -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i nibble = _mm256_set1_epi8(0x0F);

    uint32_t groups = 0;
    while (length - 4 * groups >= 32 && outRoom - 3 * groups >= 32) {
        __m256i chars = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 4 * groups));
        __m256i high = _mm256_and_si256(_mm256_srli_epi32(chars, 4), nibble);
        __m256i low = _mm256_and_si256(chars, nibble);
        __m256i invalid = _mm256_and_si256(_mm256_shuffle_epi8(lowTable, low), _mm256_shuffle_epi8(highTable, high));
        auto invalidMask = ~static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(invalid, _mm256_setzero_si256())));

        __m256i slash = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('/'));
        __m256i sextets = _mm256_add_epi8(chars, _mm256_shuffle_epi8(rollTable, _mm256_add_epi8(slash, high)));
        // Join the sextets of each group into 24 bits, then pack the three bytes of every group.
        __m256i pairs = _mm256_maddubs_epi16(sextets, _mm256_set1_epi32(0x01400140));
        __m256i words = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        __m256i bytes = _mm256_shuffle_epi8(words, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1,
                                                       0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
        bytes = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
        // 32 bytes of room are checked, so the store may run past the groups it completes.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 3 * groups), bytes);
        if (invalidMask) {
            groups += static_cast<uint32_t>(__builtin_ctz(invalidMask)) / 4;
            break;
        }
        groups += 8;
    }
    return groups;
}

} // namespace yk::detail
