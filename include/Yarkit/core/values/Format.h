#pragma once

// The one printf-style formatter of the core. It understands the C conversions
// (d i u x X o c s p f F e E g G a A n% with flags "-+ #0", widths, precisions, the length
// modifiers hh h l ll q j z t L, and "*" widths) and three more:
//   %@  an Object* (pass ref.get()); the object's description, "(null)" for null
//   %C  a UTF-16 code unit (passed as int)
//   %S  a null-terminated const char16_t* string
// %s takes UTF-8 text. Arguments may be numbered ("%2$@ %1$d"), as translated formats need;
// a format either numbers all of its arguments or none. %n writes nothing. A malformed
// conversion is copied to the result as it stands.

#include <Yarkit/core/runtime/Ref.h>

#include <cstdarg>

namespace yk {

class String;

[[nodiscard]] Ref<String> format(const char* format, ...);
[[nodiscard]] Ref<String> formatv(const char* format, va_list arguments);

} // namespace yk
