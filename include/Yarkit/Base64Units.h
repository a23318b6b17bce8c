#pragma once

// The base64 codec's entry for runs of UTF-16 code units. UTF-7 and the modified UTF-7 of
// mailbox names write such a run as the unpadded base64 of the units' big-endian bytes, and a
// run there is often a few units long, so these take and give units in host order and cost
// little beyond their characters. They answer as yk_encode_base64_no_pad and
// yk_decode_base64_no_pad (Yarkit/Base64.h) do on the big-endian bytes.

#include <cstdint>

namespace yk {

enum class Base64UnitAlphabet {
    // "A-Z", "a-z", "0-9", "+" and "/".
    Standard,
    // Mailbox names: "," in place of "/" when encoding; decoding reads "," as "/" and "/" as
    // itself, as a decoder that first turns every "," into "/" does.
    MailboxName,
};

// Writes the base64 text of `count` units, without padding or line breaks, and returns its
// length, ceil(16 * count / 6). The last group of three units is written whole, so `out` needs
// room for 8 * ceil(count / 3) characters.
int32_t encodeBase64Units(char* out, const char16_t* units, uint32_t count, Base64UnitAlphabet alphabet);

// Decodes `length` characters into units at `out` and returns how many: 0 when they do not make
// a positive whole number of units (an odd number of bytes), -1 when a character is outside the
// alphabet, which only yk_decode_base64_no_pad's rules for stray characters can answer. `out`
// needs room for 3 * length / 8 units.
int32_t decodeBase64Units(char16_t* out, const char* chars, uint32_t length, Base64UnitAlphabet alphabet);

} // namespace yk
