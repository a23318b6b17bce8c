#include <Yarkit/StringNumberAdditions.h>

#include <Yarkit/MemoryFunctions.h>

namespace yk {

int64_t YK_longLongValueWithBase(const String* string, int base)
{
    if (!string)
        return 0;
    const std::string text = string->utf8();
    return y_strtoll(text.c_str(), nullptr, base);
}

} // namespace yk
