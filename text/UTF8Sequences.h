#pragma once

// The UTF-8 sequences accepted by the detector and the repair: the older, wider definition
// (leads 0xF5-0xF7 and five- and six-byte forms are valid, encoded surrogates pass); only
// overlong two-, three- and four-byte forms and values above U+10FFFF after 0xF4 are excluded.

#include <array>
#include <cstddef>
#include <cstdint>

namespace yk::detail {

struct UTF8LeadRule {
    uint8_t continuations; // 0: the byte cannot begin a sequence
    uint8_t firstLow;      // range of the first continuation byte; the rest are 0x80-0xBF
    uint8_t firstHigh;
};

inline constexpr std::array<UTF8LeadRule, 256> utf8LeadRules = [] {
    struct Leads {
        uint8_t first, last;
        UTF8LeadRule rule;
    };
    constexpr Leads leads[] = {
        { 0xC2, 0xDF, { 1, 0x80, 0xBF } },
        { 0xE0, 0xE0, { 2, 0xA0, 0xBF } },
        { 0xE1, 0xEF, { 2, 0x80, 0xBF } },
        { 0xF0, 0xF0, { 3, 0x90, 0xBF } },
        { 0xF1, 0xF3, { 3, 0x80, 0xBF } },
        { 0xF4, 0xF4, { 3, 0x80, 0x8F } },
        { 0xF5, 0xF7, { 3, 0x80, 0xBF } },
        { 0xF8, 0xFB, { 4, 0x80, 0xBF } },
        { 0xFC, 0xFD, { 5, 0x80, 0xBF } },
    };
    std::array<UTF8LeadRule, 256> table {};
    for (const auto& range : leads) {
        for (unsigned lead = range.first; lead <= range.last; ++lead)
            table[lead] = range.rule;
    }
    return table;
}();

// Length of the valid sequence whose lead byte (0x80 or above) is at `index`, or 0 when the
// sequence is malformed. Bytes past `length` read as 0x00, so a cut-off sequence is malformed.
inline size_t validUTF8SequenceLength(const uint8_t* bytes, size_t index, size_t length)
{
    const UTF8LeadRule& rule = utf8LeadRules[bytes[index]];
    if (!rule.continuations)
        return 0;
    size_t end = index + rule.continuations + 1;
    if (end > length)
        return 0;
    uint8_t first = bytes[index + 1];
    if (first < rule.firstLow || first > rule.firstHigh)
        return 0;
    for (size_t k = index + 2; k < end; ++k) {
        if ((bytes[k] & 0xC0) != 0x80)
            return 0;
    }
    return end - index;
}

// How many bytes a malformed sequence led by `lead` was meant to have: 1 for a byte that
// cannot begin a sequence.
inline size_t expectedUTF8SequenceLength(uint8_t lead)
{
    return utf8LeadRules[lead].continuations + 1u;
}

} // namespace yk::detail
