// The character-set searches of String.

#include <Yarkit/core/values/String.h>

#include <Yarkit/core/values/CharacterSet.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {
namespace {

constexpr bool isLead(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool isTrail(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

constexpr char32_t pairValue(char16_t lead, char16_t trail)
{
    return 0x10000 + ((char32_t(lead) - 0xD800) << 10) + (char32_t(trail) - 0xDC00);
}

// The character that starts at index, within [begin, end): its code point and unit count.
std::pair<char32_t, uint32_t> characterForward(std::u16string_view units, uint32_t index, uint32_t end)
{
    char16_t c = units[index];
    if (isLead(c) && index + 1 < end && isTrail(units[index + 1]))
        return { pairValue(c, units[index + 1]), 2 };
    return { c, 1 };
}

// The character that ends just before index, within [begin, end).
std::pair<char32_t, uint32_t> characterBackward(std::u16string_view units, uint32_t index, uint32_t begin)
{
    char16_t c = units[index - 1];
    if (isTrail(c) && index - 1 > begin && isLead(units[index - 2]))
        return { pairValue(units[index - 2], c), 2 };
    return { c, 1 };
}

} // namespace

Range String::rangeOfCharacterFromSet(const CharacterSet* set, StringCompareOptions options) const
{
    if (!set)
        detail::raiseNilArgument(this, "rangeOfCharacterFromSet:options:");
    return rangeOfCharacterFromSet(set, options, { 0, length() });
}

Range String::rangeOfCharacterFromSet(const CharacterSet* set, StringCompareOptions options, Range range) const
{
    if (!set)
        detail::raiseNilArgument(this, "rangeOfCharacterFromSet:options:range:");
    if (range.location > length() || range.length > length() - range.location)
        detail::raiseOutOfBounds(this, "rangeOfCharacterFromSet:options:range:");
    const std::u16string_view units = view();
    const bool anchored = options & AnchoredSearch;
    if (options & BackwardsSearch) {
        for (uint32_t index = range.end(); index > range.location;) {
            auto [character, count] = characterBackward(units, index, range.location);
            index -= count;
            if (set->longCharacterIsMember(character))
                return { index, count };
            if (anchored)
                break;
        }
        return { NotFound, 0 };
    }
    for (uint32_t index = range.location; index < range.end();) {
        auto [character, count] = characterForward(units, index, range.end());
        if (set->longCharacterIsMember(character))
            return { index, count };
        if (anchored)
            break;
        index += count;
    }
    return { NotFound, 0 };
}

Ref<String> String::stringByTrimmingCharactersInSet(const CharacterSet* set) const
{
    if (!set)
        detail::raiseNilArgument(this, "stringByTrimmingCharactersInSet:");
    const std::u16string_view units = view();
    uint32_t begin = 0;
    uint32_t end = length();
    while (begin < end) {
        auto [character, count] = characterForward(units, begin, end);
        if (!set->longCharacterIsMember(character))
            break;
        begin += count;
    }
    while (end > begin) {
        auto [character, count] = characterBackward(units, end, begin);
        if (!set->longCharacterIsMember(character))
            break;
        end -= count;
    }
    if (begin == 0 && end == length())
        return copy();
    return make<String>(std::u16string(units.substr(begin, end - begin)));
}

} // namespace yk
