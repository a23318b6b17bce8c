#pragma once

// The two workers behind the four exported base64 functions, their paths, and the codec's
// tables. The portable path is the reference algorithm, a character or a group at a time; the
// table and AVX2 paths are faster ways to the same answer, held to it by the tests and the
// fuzz target.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace yk::detail {

// Alphabets of the codec; the first (and only) entry is the standard one.
extern const char* const base64_alphabets[];

// Sextet value of every character code below 128; 255 marks a non-alphabet character.
extern const std::array<uint8_t, 128> base64_val;

// `pad` is 1 for the padded form and 0 for the other; see Yarkit/Base64.h for the contracts.
// They take the fastest path the processor has.
int32_t encode_base64_with_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad);
int32_t decode_base64_with_pad(uint8_t* out, const char* chars, uint32_t length, int pad);

// The same with the path chosen by the caller. `Tables` takes groups through lookup tables.
enum class Base64Path { Portable, Tables, AVX2 };
int32_t encodeBase64Using(Base64Path, char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad);
int32_t decodeBase64Using(Base64Path, uint8_t* out, const char* chars, uint32_t length, int pad);
// The faster paths this processor can run, fastest last.
std::vector<Base64Path> availableBase64Paths();

// The vector steps. encodeGroupsAVX2 encodes up to `groups` 3-byte groups, reading at most
// `available` bytes from `in`, and returns how many it did (0 for fewer than 8).
// decodeGroupsAVX2 decodes leading 4-character groups of alphabet characters, writing up to
// 32 bytes at a time within `outRoom`, and returns how many groups it completed.
uint32_t encodeGroupsAVX2(char* out, const uint8_t* in, uint32_t groups, size_t available);
uint32_t decodeGroupsAVX2(uint8_t* out, const uint8_t* in, uint32_t length, uint32_t outRoom);

} // namespace yk::detail
