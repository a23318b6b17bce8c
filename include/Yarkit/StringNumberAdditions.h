#pragma once

// NSString(YarkitNumbers): reading integers from strings in any base. A free function that takes
// the string first.

#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// YK_longLongValueWithBase: the leading integer of the text, read as strtoll reads it (white
// space, a sign, "0x" for base 16 or 0; base 0 picks 16 after "0x", 8 after "0", else 10),
// independent of the locale; saturates at the limits; 0 when there is none or for null.
int64_t YK_longLongValueWithBase(const String* string, int base);

} // namespace yk
