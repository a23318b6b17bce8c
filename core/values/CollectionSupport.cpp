#include "core/values/CollectionSupport.h"

#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/String.h>

namespace yk::detail {

Ref<Object> storedKey(Ref<Object> key)
{
    if (const auto* string = dynamic_cast<const MutableString*>(key.get()))
        return string->copy();
    if (const auto* data = dynamic_cast<const MutableData*>(key.get()))
        return data->copy();
    return key;
}

namespace {

bool isPlain(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' || c == u'.'
        || c == u'$' || c == u'/' || c == u':' || c == u'-';
}

std::u16string quoted(std::u16string_view text)
{
    std::u16string result = u"\"";
    for (char16_t c : text) {
        if (c == u'"' || c == u'\\')
            result += u'\\';
        if (c == u'\n') {
            result += u"\\n";
            continue;
        }
        result += c;
    }
    result += u'"';
    return result;
}

} // namespace

std::u16string elementDescription(const Object* element)
{
    if (const auto* string = dynamic_cast<const String*>(element)) {
        const std::u16string& units = string->units();
        bool plain = !units.empty();
        for (char16_t c : units)
            plain = plain && isPlain(c);
        return plain ? units : quoted(units);
    }
    std::u16string text = element->description()->units();
    std::u16string indented;
    for (char16_t c : text) {
        indented += c;
        if (c == u'\n')
            indented += u"    ";
    }
    return indented;
}

std::u16string listDescription(const std::vector<Ref<Object>>& elements, std::u16string_view open, std::u16string_view close)
{
    std::u16string text(open);
    text += u"\n";
    for (size_t i = 0; i < elements.size(); ++i) {
        text += u"    " + elementDescription(elements[i].get());
        text += i + 1 < elements.size() ? u",\n" : u"\n";
    }
    text += close;
    return text;
}

} // namespace yk::detail
