#include <Yarkit/core/String.h>

#include <Yarkit/core/Class.h>

#include <unicode/unistr.h>

namespace yk {

YK_DEFINE_CLASS(String);

Ref<String> String::withUTF8(std::string_view utf8)
{
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    return make<String>(std::u16string(text.getBuffer(), static_cast<size_t>(text.length())));
}

std::string String::utf8() const
{
    std::string result;
    icu::UnicodeString(false, _units.data(), static_cast<int32_t>(_units.size())).toUTF8String(result);
    return result;
}

bool String::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    const auto* string = dynamic_cast<const String*>(other);
    return string && string->_units == _units;
}

size_t String::hash() const
{
    return std::hash<std::u16string>()(_units);
}

Ref<String> String::description() const
{
    return Ref<String>(const_cast<String*>(this));
}

} // namespace yk
