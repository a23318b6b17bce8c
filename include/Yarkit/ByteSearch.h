#pragma once

// Searches and prefix tests over caller bytes, the helpers behind the byte-data additions.
// Indices count from `bytes`; a failed search gives 0x7FFFFFFF (yk::NotFound). Pure functions.

#include <Yarkit/ByteClasses.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The first (forward) or last (backward) index whose byte tests (byte == c) == wanted, so
// wanted 1 finds c and wanted 0 finds any other byte; any other wanted value never matches.
// Null bytes or a length of 0 give 0x7FFFFFFF.
uint32_t YIndexOfCharacter(const void* bytes, uint32_t length, unsigned char c, int wanted, bool forward);

// As YIndexOfCharacter with the test function(byte) == wanted; a null function also gives
// 0x7FFFFFFF.
uint32_t YIndexOfCharacterUsingFunction(const void* bytes, uint32_t length, YByteClassFunction function,
    int wanted, bool forward);

// Whether the bytes begin (atStart true) or end (atStart false) with the pattern. False when
// a pointer is null, a length is 0 or the pattern is longer than the bytes.
bool YStartsWithBytes(const void* bytes, uint32_t length, const void* pattern, uint32_t patternLength, bool atStart);

#ifdef __cplusplus
}
#endif
