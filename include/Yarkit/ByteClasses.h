#pragma once

// Byte classes for the searches and trimming of byte text. A byte belongs to a class when the
// class function returns exactly 1 for it; these return 1 or 0.

#ifdef __cplusplus
extern "C" {
#endif

typedef int (*YByteClassFunction)(int byte);

// Tab (9) and space (32).
int is_whitespace(int byte);

// LF (10) and CR (13).
int is_crlf(int byte);

// Tab, LF, CR and space.
int is_whitespace_crlf(int byte);

#ifdef __cplusplus
}
#endif
