#pragma once

// Forward substring search behind y_memmem: the reference algorithm (memchr for the needle's
// first byte, memcmp to confirm), and the vector paths that the tests and the fuzz target hold
// to it.

#include <cstddef>
#include <cstdint>

namespace yk::detail {

// The first occurrence of the needle, or null. Requires 1 <= needleLength <= haystackLength.
// Picks the widest vector path the processor offers, the portable one where it has none.
const uint8_t* findFirst(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);

// The reference algorithm; runs on every processor. Quadratic on inputs that make most
// positions candidates, so the vector paths hand such inputs to a linear search.
const uint8_t* findFirstPortable(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);

#if defined(__x86_64__)
// The same with a fixed path: 16-byte SSE2 or 32-byte AVX2, each only where cpuFeatures() has
// it.
const uint8_t* findFirstSSE2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);
const uint8_t* findFirstAVX2(const uint8_t* haystack, size_t haystackLength, const uint8_t* needle, size_t needleLength);
#endif

} // namespace yk::detail
