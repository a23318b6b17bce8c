#pragma once

// The two workers behind the four exported base64 functions, their scalar and AVX2 paths, and
// the codec's tables.

#include <array>
#include <cstddef>
#include <cstdint>

namespace yk::detail {

// Alphabets of the codec; the first (and only) entry is the standard one.
extern const char* const base64_alphabets[];

// Sextet value of every character code below 128; 255 marks a non-alphabet character.
extern const std::array<uint8_t, 128> base64_val;

// `pad` is 1 for the padded form and 0 for the other; see Yarkit/Base64.h for the contracts.
// They take the AVX2 path when the processor has it.
int32_t encode_base64_with_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad);
int32_t decode_base64_with_pad(uint8_t* out, const char* chars, uint32_t length, int pad);

// The same with the path chosen by the caller (the tests run both); AVX2 only when
// base64CanUseAVX2() is true.
enum class Base64Path { Scalar, AVX2 };
int32_t encodeBase64Using(Base64Path, char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad);
int32_t decodeBase64Using(Base64Path, uint8_t* out, const char* chars, uint32_t length, int pad);
bool base64CanUseAVX2();

// The vector steps. encodeGroupsAVX2 encodes up to `groups` 3-byte groups, reading at most
// `available` bytes from `in`, and returns how many it did (0 for fewer than 8).
// decodeGroupsAVX2 decodes leading 4-character groups of alphabet characters, writing up to
// 32 bytes at a time within `outRoom`, and returns how many groups it completed.
uint32_t encodeGroupsAVX2(char* out, const uint8_t* in, uint32_t groups, size_t available);
uint32_t decodeGroupsAVX2(uint8_t* out, const uint8_t* in, uint32_t length, uint32_t outRoom);

} // namespace yk::detail
