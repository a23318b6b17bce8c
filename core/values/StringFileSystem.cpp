// File-system representation of strings: names are bytes, decoded as UTF-8 where they are
// well-formed and escaped byte by byte into lone surrogates where they are not.

#include <Yarkit/core/values/String.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace yk {
namespace {

constexpr char16_t escapeBase = 0xDC00;

// The length of the well-formed UTF-8 sequence at bytes[0..length), with its code point, or 0
// when it is ill-formed (overlong, an encoded surrogate, beyond U+10FFFF or truncated).
size_t decodeSequence(const uint8_t* bytes, size_t length, char32_t& codePoint)
{
    uint8_t lead = bytes[0];
    size_t count;
    char32_t minimum;
    if (lead >= 0xC2 && lead <= 0xDF) {
        count = 2, minimum = 0x80, codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        count = 3, minimum = 0x800, codePoint = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        count = 4, minimum = 0x10000, codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (count > length)
        return 0;
    for (size_t i = 1; i < count; ++i) {
        if ((bytes[i] & 0xC0) != 0x80)
            return 0;
        codePoint = (codePoint << 6) | (bytes[i] & 0x3F);
    }
    if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return 0;
    return count;
}

void appendUTF8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The file-system bytes of units; false for U+0000 and for surrogates that are neither a pair
// nor an escaped byte.
bool encode(std::u16string_view units, std::string& out)
{
    out.reserve(units.size());
    for (size_t i = 0; i < units.size(); ++i) {
        char16_t unit = units[i];
        if (unit == 0)
            return false;
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            appendUTF8(out, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else if (unit >= 0xDC80 && unit <= 0xDCFF) {
            out += static_cast<char>(unit - escapeBase);
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            return false;
        } else {
            appendUTF8(out, unit);
        }
    }
    return true;
}

} // namespace

Ref<String> String::stringWithFileSystemRepresentation(const char* bytes, size_t length)
{
    std::u16string units;
    units.reserve(length);
    auto input = reinterpret_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < length;) {
        if (input[i] < 0x80) {
            units += static_cast<char16_t>(input[i++]);
            continue;
        }
        char32_t codePoint;
        size_t count = decodeSequence(input + i, length - i, codePoint);
        if (!count) {
            units += static_cast<char16_t>(escapeBase + input[i++]);
            continue;
        }
        if (codePoint >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        } else {
            units += static_cast<char16_t>(codePoint);
        }
        i += count;
    }
    return make<String>(std::move(units));
}

bool String::getFileSystemRepresentation(char* buffer, size_t maxLength) const
{
    std::string bytes;
    if (!buffer || _units.empty() || !encode(_units, bytes) || bytes.size() + 1 > maxLength)
        return false;
    std::memcpy(buffer, bytes.c_str(), bytes.size() + 1);
    return true;
}

std::string String::fileSystemRepresentation() const
{
    std::string bytes;
    if (!encode(_units, bytes))
        return {};
    return bytes;
}

Ref<String> String::stringByResolvingSymlinksInPath() const
{
    std::string path = fileSystemRepresentation();
    if (path.empty() || path[0] != '/')
        return Ref<String>(const_cast<String*>(this));
    char resolved[PATH_MAX];
    if (!realpath(path.c_str(), resolved))
        return Ref<String>(const_cast<String*>(this));
    return stringWithFileSystemRepresentation(resolved, std::strlen(resolved));
}

} // namespace yk
