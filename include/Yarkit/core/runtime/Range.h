#pragma once

#include <cstdint>

namespace yk {

// The index that means "not found".
inline constexpr uint32_t NotFound = 0x7FFFFFFF;

// A (location, length) pair over indices.
struct Range {
    uint32_t location { 0 };
    uint32_t length { 0 };

    constexpr uint32_t end() const { return location + length; }
    constexpr bool contains(uint32_t index) const { return index >= location && index - location < length; }
    friend constexpr bool operator==(Range, Range) = default;
};

} // namespace yk
