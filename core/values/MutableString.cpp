#include <Yarkit/core/values/MutableString.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstdarg>

namespace yk {

YK_DEFINE_CLASS(MutableString);

Ref<MutableString> MutableString::stringWithCapacity(uint32_t capacity)
{
    auto string = make<MutableString>();
    string->_units.reserve(capacity);
    return string;
}

Ref<MutableString> MutableString::stringWithString(const String* string)
{
    if (!string)
        detail::raiseInvalidArgument("*** +[MutableString stringWithString:]: nil string (or other) argument");
    return make<MutableString>(string->units());
}

void MutableString::appendString(const String* string)
{
    if (!string)
        detail::raiseNilArgument(this, "appendString:");
    _units += string->units();
}

void MutableString::appendUTF8(std::string_view utf8)
{
    _units += withUTF8(utf8)->units();
}

void MutableString::appendFormat(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> text = formatv(format, arguments);
    va_end(arguments);
    _units += text->units();
}

void MutableString::insertString(const String* string, uint32_t index)
{
    if (!string)
        detail::raiseNilArgument(this, "insertString:atIndex:");
    if (index > _units.size())
        detail::raiseOutOfBounds(this, "insertString:atIndex:");
    _units.insert(index, string->units());
}

void MutableString::deleteCharactersInRange(Range range)
{
    if (range.location > _units.size() || range.length > _units.size() - range.location)
        detail::raiseOutOfBounds(this, "deleteCharactersInRange:");
    _units.erase(range.location, range.length);
}

void MutableString::replaceCharactersInRange(Range range, const String* string)
{
    if (!string)
        detail::raiseNilArgument(this, "replaceCharactersInRange:withString:");
    if (range.location > _units.size() || range.length > _units.size() - range.location)
        detail::raiseOutOfBounds(this, "replaceCharactersInRange:withString:");
    // Copy first: the argument may be this string.
    std::u16string replacement = string->units();
    _units.replace(range.location, range.length, replacement);
}

void MutableString::setString(const String* string)
{
    if (!string)
        detail::raiseNilArgument(this, "setString:");
    if (string != this)
        _units = string->units();
}

} // namespace yk
