#include "core/system/ArchiveFormat.h"

namespace yk::detail::archive {

namespace {

bool isHighSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

} // namespace

std::string utf8FromUTF16(std::u16string_view units)
{
    std::string bytes;
    bytes.reserve(units.size());
    for (size_t i = 0; i < units.size(); ++i) {
        uint32_t c = units[i];
        if (isHighSurrogate(c) && i + 1 < units.size() && isLowSurrogate(units[i + 1]))
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
        if (c < 0x80) {
            bytes += static_cast<char>(c);
        } else if (c < 0x800) {
            bytes += static_cast<char>(0xC0 | c >> 6);
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            bytes += static_cast<char>(0xE0 | c >> 12);
            bytes += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            bytes += static_cast<char>(0xF0 | c >> 18);
            bytes += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            bytes += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return bytes;
}

std::optional<std::u16string> utf16FromUTF8(std::span<const uint8_t> bytes)
{
    std::u16string units;
    units.reserve(bytes.size());
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t lead = bytes[i];
        size_t length = lead < 0x80 ? 1 : (lead & 0xE0) == 0xC0 ? 2 : (lead & 0xF0) == 0xE0 ? 3 : (lead & 0xF8) == 0xF0 ? 4 : 0;
        if (!length || i + length > bytes.size())
            return std::nullopt;
        uint32_t c = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
        for (size_t j = 1; j < length; ++j) {
            if ((bytes[i + j] & 0xC0) != 0x80)
                return std::nullopt;
            c = c << 6 | (bytes[i + j] & 0x3F);
        }
        static constexpr uint32_t smallest[] = { 0, 0, 0x80, 0x800, 0x10000 };
        if (c < smallest[length] || c > 0x10FFFF)
            return std::nullopt;
        i += length;
        if (c >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
            continue;
        }
        // A lone low surrogate right after a lone high one would be a pair in disguise.
        if (isLowSurrogate(c) && !units.empty() && isHighSurrogate(units.back()))
            return std::nullopt;
        units += static_cast<char16_t>(c);
    }
    return units;
}

} // namespace yk::detail::archive
