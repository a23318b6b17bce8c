#include <Yarkit/ArrayAdditions.h>

namespace yk {

uint32_t YK_indexOfString(const Array* array, const String* string, StringCompareOptions options)
{
    if (!array || !string)
        return NotFound;
    for (uint32_t i = 0; i < array->count(); ++i) {
        auto* element = dynamic_cast<const String*>(array->objects()[i].get());
        if (element && element->compare(string, options) == OrderedSame)
            return i;
    }
    return NotFound;
}

} // namespace yk
