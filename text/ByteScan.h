#pragma once

// Fast forward scans over byte buffers, in SIMD forms chosen at run time by the processor's
// features. The validators and repairs use them only to skip stretches that their exact byte
// loops would accept unchanged, so every form gives the same final answers. The portable
// scanner skips nothing: with it each validator and repair is its plain byte loop, the
// reference algorithm that tests and fuzzers hold the SIMD forms to.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace yk::detail {

struct ByteScanner {
    const char* name;
    // Index of the first byte in [from, length) that is 0x80 or above, or `length` when none.
    size_t (*findHighByte)(const uint8_t* bytes, size_t from, size_t length);
    // Index of the first byte in [from, length) that is 0x80 or above or ESC (0x1B), or
    // `length` when none.
    size_t (*findHighByteOrEscape)(const uint8_t* bytes, size_t from, size_t length);

    // The "prefix" scans return a length p such that bytes[0, p) is a whole number of units of
    // the named kind, so p is where the next unit begins. They may stop early (at worst at 0):
    // the caller goes on with its exact loop from p.

    // Modern UTF-8: no surrogates, nothing above U+10FFFF, no overlong forms.
    size_t (*utf8Prefix)(const uint8_t* bytes, size_t length);
    // EUC-JP: ASCII, and pairs of 0x8E or 0xA1-0xFE followed by 0xA1-0xFE.
    size_t (*eucJPPrefix)(const uint8_t* bytes, size_t length);
    // The Shift_JIS every vendor reads as plain JIS X 0208: ASCII, half-width katakana
    // 0xA1-0xDF, and pairs led by 0x81-0x84, 0x88-0x9F or 0xE0-0xEA with a trail in 0x40-0x7E
    // or 0x80-0xFC, narrowed after 0x84 (to 0xBE), 0x88 (from 0x9F), 0x98 (not 0x73-0x9E) and
    // 0xEA (to 0xA4).
    size_t (*shiftJISPrefix)(const uint8_t* bytes, size_t length);
};

// One byte at a time; its prefix scans skip nothing. Runs where the processor has no SIMD
// form.
const ByteScanner& portableByteScanner();

// Every SIMD scanner this processor can run, slowest first (empty where there is none).
std::vector<const ByteScanner*> availableByteScanners();

// The fastest scanner this processor can run, chosen once; the portable one when there is no
// SIMD form.
const ByteScanner& activeByteScanner();

#if defined(__x86_64__)
// The SSE2 and AVX2 scanners (ByteScanX86.cpp), or null when the processor lacks the
// instructions.
const ByteScanner* sse2ByteScanner();
const ByteScanner* avx2ByteScanner();
#endif

// The findHighByte scans one byte at a time: the portable scanner's, and the ends that a
// vector does not cover.
inline size_t findHighByteTail(const uint8_t* bytes, size_t from, size_t length)
{
    while (from < length && bytes[from] < 0x80)
        ++from;
    return from;
}

inline size_t findHighByteOrEscapeTail(const uint8_t* bytes, size_t from, size_t length)
{
    while (from < length && bytes[from] < 0x80 && bytes[from] != 0x1B)
        ++from;
    return from;
}

} // namespace yk::detail
