#include <Yarkit/JapaneseEncodingDetection.h>

#include "text/JapaneseEncodingValidators.h"

namespace yk::detail {
namespace {

struct ISO2022JPAvailability {
    bool jp1;
    bool jp2;
    bool jp3;
};

// The converters installed do not change while the process runs.
const ISO2022JPAvailability& iso2022JPAvailability()
{
    static const ISO2022JPAvailability availability {
        isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_1),
        isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_2),
        isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_3),
    };
    return availability;
}

// Steps an ISO-2022-JP variant down to one that can be converted.
CFStringEncoding convertibleISO2022JPVariant(CFStringEncoding variant)
{
    const auto& available = iso2022JPAvailability();
    switch (variant) {
    case kCFStringEncodingISO_2022_JP_2:
        if (available.jp2)
            return variant;
        return available.jp1 ? kCFStringEncodingISO_2022_JP_1 : kCFStringEncodingISO_2022_JP;
    case kCFStringEncodingISO_2022_JP_1:
        return available.jp1 ? variant : kCFStringEncodingISO_2022_JP;
    case kCFStringEncodingISO_2022_JP_3:
        return available.jp3 ? variant : kCFStringEncodingISO_2022_JP;
    default:
        return variant;
    }
}

using Validator = CFStringEncoding (*)(const uint8_t*, int32_t, const ByteScanner&);

// The chain after UTF-8 and ISO-2022-JP; the last validator's answer stands even when it
// rejects.
CFStringEncoding detectEightBitJapanese(const uint8_t* bytes, int32_t length,
    bool preferShiftJIS, bool preferMacJapanese)
{
    Validator first = preferMacJapanese ? _detectMacJapanese : _detectDOSJapanese;
    Validator second = preferMacJapanese ? _detectDOSJapanese : _detectMacJapanese;
    const Validator shiftJISFirst[] = { first, second, _detectShiftJIS_X0213, _detectEUC_JP };
    const Validator eucFirst[] = { _detectEUC_JP, first, second, _detectShiftJIS_X0213 };
    const auto& order = preferShiftJIS ? shiftJISFirst : eucFirst;
    const ByteScanner& scanner = activeByteScanner();
    CFStringEncoding result = kCFStringEncodingInvalidId;
    for (Validator validator : order) {
        result = validator(bytes, length, scanner);
        if (result != kCFStringEncodingInvalidId)
            break;
    }
    return result;
}

} // namespace
} // namespace yk::detail

CFStringEncoding YKDetectJapaneseEncoding(const unsigned char* bytes, int32_t length,
    bool preferShiftJIS, bool preferMacJapanese)
{
    using namespace yk::detail;
    if (_startsWithUnicodeBOM(bytes, length))
        return kCFStringEncodingUnicode;
    if (_detectUTF8(bytes, length) == kCFStringEncodingUTF8)
        return kCFStringEncodingUTF8;
    CFStringEncoding iso2022 = _detectISO_2022_JP(bytes, length);
    if (iso2022 != kCFStringEncodingInvalidId)
        return convertibleISO2022JPVariant(iso2022);
    return detectEightBitJapanese(bytes, length, preferShiftJIS, preferMacJapanese);
}
