// Each validator answers with every SIMD scanner as with the portable byte loop, and the
// detector answers with one of its encodings.

#include <Yarkit/JapaneseEncodingDetection.h>

#include "TextFuzzSupport.h"
#include "text/JapaneseEncodingValidators.h"

using namespace yk::detail;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    // The first byte chooses the flags; the rest is the text.
    bool preferShiftJIS = size && (data[0] & 1);
    bool preferMacJapanese = size && (data[0] & 2);
    const uint8_t* text = size ? data + 1 : data;
    auto length = static_cast<int32_t>(size ? size - 1 : 0);

    using Validator = CFStringEncoding (*)(const uint8_t*, int32_t, const ByteScanner&);
    for (Validator validate : { _detectUTF8, _detectISO_2022_JP, _detectEUC_JP, _detectDOSJapanese,
             _detectMacJapanese, _detectShiftJIS_X0213 }) {
        CFStringEncoding expected = validate(text, length, portableByteScanner());
        for (const auto* scanner : textfuzz::scanners())
            textfuzz::require(validate(text, length, *scanner) == expected, "a SIMD scanner validates as the portable loop does");
    }
    CFStringEncoding detected = YKDetectJapaneseEncoding(text, length, preferShiftJIS, preferMacJapanese);
    textfuzz::require(detected == kCFStringEncodingInvalidId || yk::stringEncodingName(detected) != nullptr,
        "the detector names a known encoding");
    return 0;
}
