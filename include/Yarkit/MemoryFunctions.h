#pragma once

// Byte search and number parsing over caller memory. Pure functions: no state, callable from
// any thread.

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// The last occurrence of `byte` (converted to unsigned char) in the `length` bytes at
// `buffer`, or null; a null buffer or a length of 0 gives null.
void* y_memrchr(const void* buffer, int byte, size_t length);

// The first occurrence of the needle in the haystack, or null. Any null pointer or zero length
// gives null, as does a needle longer than the haystack. Linear time on every input.
void* y_memmem(const void* haystack, size_t haystackLength, const void* needle, size_t needleLength);

// The last occurrence of the needle lying wholly within the haystack, or null; null pointers
// and zero lengths give null.
void* y_memrmem(const void* haystack, size_t haystackLength, const void* needle, size_t needleLength);

// The BSD C library's strtoll, independent of the locale: leading white space (space, \t, \n,
// \v, \f, \r), an optional sign, a "0x" or "0X" prefix when `base` is 16 or 0 and a hex digit
// follows it, then digits and ASCII letters below `base` (2 to 36; 0 picks 16 after "0x", 8
// after a leading "0", else 10). Overflow gives LLONG_MAX or LLONG_MIN with errno ERANGE and
// still consumes every digit. No digits, or a base outside 0 and 2..36, gives 0 with errno
// EINVAL and *endPointer = string. errno is otherwise left untouched. `endPointer` may be null.
long long y_strtoll(const char* string, char** endPointer, int base);

#ifdef __cplusplus
}
#endif
