#pragma once

// NSArray(Yarkit): lookup of a string under comparison options. Free functions that take the
// array first; a null array behaves as an empty one.

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// YK_indexOfString:options: the index of the first element that is a String comparing equal
// (String::compare with the options) to the string; NotFound when none does or the string is
// null.
uint32_t YK_indexOfString(const Array* array, const String* string, StringCompareOptions options);

} // namespace yk
