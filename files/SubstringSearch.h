#pragma once

// Forward substring search behind y_memmem, with its vector paths exposed so the tests can
// check each of them against a plain memchr + memcmp scan.

#include <cstddef>
#include <cstdint>

namespace yk::detail {

// The first occurrence of the needle, or null. Requires 1 <= needleLength <= haystackLength.
// Picks the widest vector path the processor offers (checked once).
const uint8_t* findFirst(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);

// The same with a fixed path: 16-byte SSE2 (every x86-64 processor) or 32-byte AVX2; the
// AVX2 path may only be called when substringSearchCanUseAVX2() is true.
const uint8_t* findFirstSSE2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);
const uint8_t* findFirstAVX2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);
bool substringSearchCanUseAVX2();

} // namespace yk::detail
