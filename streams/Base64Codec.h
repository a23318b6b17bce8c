#pragma once

// The two workers behind the four exported base64 functions, and the codec's tables.

#include <array>
#include <cstdint>

namespace yk::detail {

// Alphabets of the codec; the first (and only) entry is the standard one.
extern const char* const base64_alphabets[];

// Sextet value of every character code below 128; 255 marks a non-alphabet character.
extern const std::array<uint8_t, 128> base64_val;

// `pad` is 1 for the padded form and 0 for the other; see Yarkit/Base64.h for the contracts.
int32_t encode_base64_with_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad);
int32_t decode_base64_with_pad(uint8_t* out, const char* chars, uint32_t length, int pad);

} // namespace yk::detail
