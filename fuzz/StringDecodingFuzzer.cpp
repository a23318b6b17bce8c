// Decoding untrusted bytes in every encoding the core converts: never crashes, and a string that
// decoded from UTF-8 encodes back to the same bytes.

#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/String.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr CFStringEncoding encodings[] = {
    kCFStringEncodingUTF8, kCFStringEncodingShiftJIS, kCFStringEncodingDOSJapanese, kCFStringEncodingEUC_JP,
    kCFStringEncodingISO_2022_JP, kCFStringEncodingISO_2022_JP_1, kCFStringEncodingISO_2022_JP_2,
    kCFStringEncodingUTF16BE, kCFStringEncodingUTF16LE, kCFStringEncodingISOLatin1, kCFStringEncodingASCII,
    kCFStringEncodingMacJapanese,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const CFStringEncoding encoding = encodings[data[0] % std::size(encodings)];
    const auto string = yk::String::stringWithBytes(data + 1, size - 1, encoding);
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
