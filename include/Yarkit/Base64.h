#pragma once

// The framework's one base64 codec: standard alphabet (RFC 4648), "=" padding, CR LF line
// breaks. The output buffers belong to the caller and are not checked for size:
//   encoding n bytes needs 4 * ceil(n / 3) characters (fewer unpadded) plus 2 per full line;
//   decoding n characters needs at most floor(3n / 4) bytes, and the decoders may use all of
//   that room as scratch space beyond the bytes they report.

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Encodes `length` bytes into `out` and returns the number of characters written.
// After every group of 4 characters that brings the current line to exactly `lineLength`
// characters a CR LF follows, including after the last group. A line length that is 0,
// negative or not a multiple of 4 never matches and gives one unbroken line. The last
// partial group is padded with "=".
int32_t yk_encode_base64(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength);

// As yk_encode_base64, without "=" padding after the last partial group.
int32_t yk_encode_base64_no_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength);

// Decodes `length` characters into `out`; returns the bytes written, or -1 for invalid text.
// CR and LF runs are skipped, with one space or tab after them (folded lines); "!" directly
// before CR or LF is dropped. Any other stray character is an error before the first output
// or inside a group, and ignored between complete groups. "=" ends the data with its group;
// a trailing partial group is dropped.
int32_t yk_decode_base64(uint8_t* out, const char* chars, uint32_t length);

// As yk_decode_base64, but "=" is an ordinary stray character and a trailing partial group of
// 2 or 3 characters gives 1 or 2 more bytes.
int32_t yk_decode_base64_no_pad(uint8_t* out, const char* chars, uint32_t length);

#ifdef __cplusplus
}
#endif
