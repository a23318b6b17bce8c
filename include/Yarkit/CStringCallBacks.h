#pragma once

// Callback tables for the C collections that hold C strings, in the platform's member order:
// hash, isEqual, retain, release, describe (and, for map keys, the not-a-key marker). The hash
// is h = h * 31 + byte over the bytes up to the terminating zero, bytes read as unsigned, in
// unsigned 32-bit arithmetic; 0 for a null pointer. Equality: the same pointer, else strcmp.

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct YCStringHashCallBacks {
    size_t (*hash)(void* table, const void* string);
    bool (*isEqual)(void* table, const void* string1, const void* string2);
    void (*retain)(void* table, const void* string);
    void (*release)(void* table, void* string);
    // A description of the string, from malloc, for the caller to free.
    char* (*describe)(void* table, const void* string);
} YCStringHashCallBacks;

typedef struct YCStringMapKeyCallBacks {
    size_t (*hash)(void* table, const void* string);
    bool (*isEqual)(void* table, const void* string1, const void* string2);
    void (*retain)(void* table, const void* string);
    void (*release)(void* table, void* string);
    char* (*describe)(void* table, const void* string);
    const void* notAKeyMarker;
} YCStringMapKeyCallBacks;

// Strings the table owns: retain does nothing, release frees the string with free() (so the
// strings must come from malloc).
extern const YCStringHashCallBacks YOwnedCStringHashCallBacks;
// Keys the table does not own: neither retained nor released; the marker is null.
extern const YCStringMapKeyCallBacks YNonOwnedCStringMapKeyCallBacks;

#ifdef __cplusplus
}
#endif
