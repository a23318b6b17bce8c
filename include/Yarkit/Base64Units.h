#pragma once

// The base64 codec's entry for runs of UTF-16 code units. UTF-7 and the modified UTF-7 of
// mailbox names write such a run as the unpadded base64 of the units' big-endian bytes, and a
// run there is often a few units long, so these take and give units in host order, inline on
// the codec's own tables, and cost little beyond their characters. They answer as
// yk_encode_base64_no_pad and yk_decode_base64_no_pad (Yarkit/Base64.h) do on the big-endian
// bytes.

#include <cstdint>
#include <cstring>

namespace yk {

enum class Base64UnitAlphabet {
    // "A-Z", "a-z", "0-9", "+" and "/".
    Standard,
    // Mailbox names: "," in place of "/" when encoding; decoding reads "," as "/" and "/" as
    // itself, as a decoder that first turns every "," into "/" does.
    MailboxName,
};

namespace detail {

// The codec's tables for unit runs, defined beside the codec, indexed by alphabet: the two
// characters of every 12-bit value, and the sextet of every byte (InvalidBase64Sextet for a
// byte outside the alphabet).
extern const char* const base64UnitPairs[2];
extern const uint8_t* const base64UnitSextets[2];
inline constexpr uint8_t InvalidBase64Sextet = 0x40;

// Three units, big-endian, are 48 bits: eight characters from four pair lookups.
inline void encodeBase64UnitGroup(char* out, const char* pairs, uint64_t bits)
{
    std::memcpy(out, pairs + 2 * (bits >> 36), 2);
    std::memcpy(out + 2, pairs + 2 * ((bits >> 24) & 0xFFF), 2);
    std::memcpy(out + 4, pairs + 2 * ((bits >> 12) & 0xFFF), 2);
    std::memcpy(out + 6, pairs + 2 * (bits & 0xFFF), 2);
}

// The sextets of `count` characters, first character highest, with InvalidBase64Sextet or'ed
// into `invalid` for any outside the alphabet.
inline uint64_t base64Sextets(const uint8_t* table, const char* chars, uint32_t count, uint8_t& invalid)
{
    uint64_t bits = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t sextet = table[static_cast<uint8_t>(chars[i])];
        invalid |= sextet;
        bits = bits << 6 | sextet;
    }
    return bits;
}

} // namespace detail

// Writes the base64 text of `count` units, without padding or line breaks, and returns its
// length, ceil(16 * count / 6). The last group of three units is written whole, so `out` needs
// room for 8 * ceil(count / 3) characters.
inline int32_t encodeBase64Units(char* out, const char16_t* units, uint32_t count, Base64UnitAlphabet alphabet)
{
    const char* pairs = detail::base64UnitPairs[alphabet == Base64UnitAlphabet::MailboxName];
    uint32_t i = 0;
    for (; count - i >= 3; i += 3, out += 8)
        detail::encodeBase64UnitGroup(out, pairs, uint64_t { units[i] } << 32 | uint64_t { units[i + 1] } << 16 | units[i + 2]);
    // The last one or two units with zero bits after them, as padding-free base64 ends.
    if (count - i == 2)
        detail::encodeBase64UnitGroup(out, pairs, uint64_t { units[i] } << 32 | uint64_t { units[i + 1] } << 16);
    else if (count - i == 1)
        detail::encodeBase64UnitGroup(out, pairs, uint64_t { units[i] } << 32);
    return static_cast<int32_t>((uint64_t { count } * 16 + 5) / 6);
}

// Decodes `length` characters into units at `out` and returns how many: 0 when they do not make
// a positive whole number of units (an odd number of bytes), -1 when a character is outside the
// alphabet, which only yk_decode_base64_no_pad's rules for stray characters can answer. `out`
// needs room for 3 * length / 8 units.
inline int32_t decodeBase64Units(char16_t* out, const char* chars, uint32_t length, Base64UnitAlphabet alphabet)
{
    const uint8_t* table = detail::base64UnitSextets[alphabet == Base64UnitAlphabet::MailboxName];
    uint8_t invalid = 0;
    uint32_t i = 0;
    char16_t* const start = out;
    // Eight characters are 48 bits: three units.
    for (; length - i >= 8; i += 8, out += 3) {
        const uint64_t bits = detail::base64Sextets(table, chars + i, 8, invalid);
        out[0] = static_cast<char16_t>(bits >> 32);
        out[1] = static_cast<char16_t>(bits >> 16);
        out[2] = static_cast<char16_t>(bits);
    }
    // The rest hold whole bytes only for 0, 1, 3 or 6 characters (0, 0, 2 and 4 bytes); any
    // other count leaves an odd byte, which is no whole number of units.
    const uint32_t rest = length - i;
    const uint64_t bits = detail::base64Sextets(table, chars + i, rest, invalid);
    if (invalid & detail::InvalidBase64Sextet)
        return -1;
    if (rest == 3) {
        *out++ = static_cast<char16_t>(bits >> 2);
    } else if (rest == 6) {
        *out++ = static_cast<char16_t>(bits >> 20);
        *out++ = static_cast<char16_t>(bits >> 4);
    } else if (rest != 0 && rest != 1) {
        return 0;
    }
    return static_cast<int32_t>(out - start);
}

} // namespace yk
