#pragma once

// Fast forward scans over byte buffers, in a portable form and in SIMD forms chosen at run time
// by the processor's features. Every form gives the same answers; tests run each of them.

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
};

// Eight bytes at a time in ordinary integer registers; runs everywhere.
const ByteScanner& portableByteScanner();

// Every scanner this processor can run, the portable one first.
std::vector<const ByteScanner*> availableByteScanners();

// The fastest scanner this processor can run, chosen once.
const ByteScanner& activeByteScanner();

} // namespace yk::detail
