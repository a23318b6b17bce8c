// Decoding untrusted bytes in every encoding the core converts: never crashes, a string that
// decoded from UTF-8 encodes back to the same bytes, and the conversion to UTF-8 gives the
// same text and replacements whatever the size of its output pieces, replacing nothing in
// text that decodes strictly.

#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/values/StringConverter.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr CFStringEncoding encodings[] = {
    kCFStringEncodingUTF8, kCFStringEncodingShiftJIS, kCFStringEncodingDOSJapanese, kCFStringEncodingEUC_JP,
    kCFStringEncodingISO_2022_JP, kCFStringEncodingISO_2022_JP_1, kCFStringEncodingISO_2022_JP_2,
    kCFStringEncodingUTF16BE, kCFStringEncodingUTF16LE, kCFStringEncodingISOLatin1, kCFStringEncodingASCII,
    kCFStringEncodingMacJapanese,
};

struct Converted {
    std::string utf8;
    std::vector<uint64_t> replaced;
    bool operator==(const Converted&) const = default;
};

Converted convertToUTF8(CFStringEncoding encoding, std::span<const uint8_t> bytes, size_t pieceSize)
{
    yk::StringConverter converter(encoding);
    Converted converted;
    auto write = [&](std::string_view piece) {
        converted.utf8 += piece;
        return true;
    };
    if (converter.isValid() && !converter.convertToUTF8(bytes, write, converted.replaced, pieceSize))
        std::abort();
    return converted;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const CFStringEncoding encoding = encodings[data[0] % std::size(encodings)];
    const auto string = yk::String::stringWithBytes(data + 1, size - 1, encoding);
    const std::span<const uint8_t> text(data + 1, size - 1);
    const Converted converted = convertToUTF8(encoding, text, 64 * 1024);
    if (converted != convertToUTF8(encoding, text, 3) || (string && !converted.replaced.empty()))
        std::abort();
    if (!string)
        return 0;
    [[maybe_unused]] const auto lossy = string->dataUsingEncoding(encoding, true);
    if (encoding == kCFStringEncodingUTF8) {
        const auto bytes = string->dataUsingEncoding(kCFStringEncodingUTF8);
        if (!bytes || bytes->length() != size - 1 || (size > 1 && std::memcmp(bytes->bytes(), data + 1, size - 1) != 0))
            std::abort();
    }
    return 0;
}
