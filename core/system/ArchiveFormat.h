#pragma once

// The constants of the archive format shared by Archiver and Unarchiver
// (docs/archive-format.md), and the generalized UTF-8 of its strings.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace yk::detail::archive {

inline constexpr uint8_t magic[4] = { 'Y', 'K', 'A', 'R' };
inline constexpr uint8_t version = 1;

enum Tag : uint8_t {
    TagNil = 0x00,
    TagNull = 0x01,
    TagNumber = 0x02,
    TagString = 0x03,
    TagMutableString = 0x04,
    TagData = 0x05,
    TagMutableData = 0x06,
    TagDate = 0x07,
    TagArray = 0x08,
    TagMutableArray = 0x09,
    TagDictionary = 0x0A,
    TagMutableDictionary = 0x0B,
    TagObject = 0x0C,
    TagReference = 0x0D,
    // Plain values among an object's fields.
    TagFieldBool = 0x10,
    TagFieldInt = 0x11,
    TagFieldDouble = 0x12,
    TagFieldBytes = 0x13,
    TagEndOfObject = 0x7F,
};

// UTF-16 as UTF-8, except that a surrogate without its partner is written as the three bytes
// its code point would take, so every String survives the round trip.
std::string utf8FromUTF16(std::u16string_view units);
// The reverse; nullopt for bytes that are not such text (overlong forms, code points beyond
// U+10FFFF, truncated sequences, or a surrogate pair written as two halves).
std::optional<std::u16string> utf16FromUTF8(std::span<const uint8_t> bytes);

} // namespace yk::detail::archive
