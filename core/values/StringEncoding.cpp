#include <Yarkit/core/values/StringEncoding.h>

#include <unicode/ucnv.h>

namespace yk {
namespace {

struct EncodingEntry {
    CFStringEncoding encoding;
    const char* name;
    // Null where ICU has no converter for the encoding.
    const char* converter;
};

// Shift_JIS and code page 932 share ICU's one converter (which includes the NEC and IBM
// extensions). ICU has no Mac Japanese, Shift_JIS X 0213 or ISO-2022-JP-3 converter.
constexpr EncodingEntry encodingTable[] = {
    { kCFStringEncodingMacRoman, "MacRoman", "macintosh" },
    { kCFStringEncodingMacJapanese, "MacJapanese", nullptr },
    { kCFStringEncodingWindowsLatin1, "windows-1252", "windows-1252" },
    { kCFStringEncodingISOLatin1, "ISO-8859-1", "ISO-8859-1" },
    { kCFStringEncodingASCII, "US-ASCII", "US-ASCII" },
    { kCFStringEncodingUnicode, "UTF-16", "UTF-16" },
    { kCFStringEncodingUTF8, "UTF-8", "UTF-8" },
    { kCFStringEncodingUTF16BE, "UTF-16BE", "UTF-16BE" },
    { kCFStringEncodingUTF16LE, "UTF-16LE", "UTF-16LE" },
    { kCFStringEncodingUTF32, "UTF-32", "UTF-32" },
    { kCFStringEncodingUTF32BE, "UTF-32BE", "UTF-32BE" },
    { kCFStringEncodingUTF32LE, "UTF-32LE", "UTF-32LE" },
    { kCFStringEncodingDOSJapanese, "CP932", "windows-31j" },
    { kCFStringEncodingShiftJIS_X0213, "Shift_JIS-X0213", nullptr },
    { kCFStringEncodingISO_2022_JP, "ISO-2022-JP", "ISO_2022,locale=ja,version=0" },
    { kCFStringEncodingISO_2022_JP_2, "ISO-2022-JP-2", "ISO_2022,locale=ja,version=2" },
    { kCFStringEncodingISO_2022_JP_1, "ISO-2022-JP-1", "ISO_2022,locale=ja,version=1" },
    { kCFStringEncodingISO_2022_JP_3, "ISO-2022-JP-3", nullptr },
    { kCFStringEncodingEUC_JP, "EUC-JP", "EUC-JP" },
    { kCFStringEncodingShiftJIS, "Shift_JIS", "Shift_JIS" },
};

const EncodingEntry* findEncoding(CFStringEncoding encoding)
{
    for (const auto& entry : encodingTable) {
        if (entry.encoding == encoding)
            return &entry;
    }
    return nullptr;
}

} // namespace

const char* icuConverterName(CFStringEncoding encoding)
{
    const auto* entry = findEncoding(encoding);
    return entry ? entry->converter : nullptr;
}

bool isStringEncodingAvailable(CFStringEncoding encoding)
{
    const char* converter = icuConverterName(encoding);
    if (!converter)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* opened = ucnv_open(converter, &status);
    if (opened)
        ucnv_close(opened);
    return U_SUCCESS(status);
}

CFStringEncoding nearestConvertibleEncoding(CFStringEncoding encoding)
{
    if (isStringEncodingAvailable(encoding))
        return encoding;
    CFStringEncoding nearest = kCFStringEncodingInvalidId;
    switch (encoding) {
    case kCFStringEncodingMacJapanese:
    case kCFStringEncodingShiftJIS_X0213:
        nearest = kCFStringEncodingShiftJIS;
        break;
    case kCFStringEncodingISO_2022_JP_3:
        nearest = kCFStringEncodingISO_2022_JP;
        break;
    default:
        return kCFStringEncodingInvalidId;
    }
    return isStringEncodingAvailable(nearest) ? nearest : kCFStringEncodingInvalidId;
}

const char* stringEncodingName(CFStringEncoding encoding)
{
    const auto* entry = findEncoding(encoding);
    return entry ? entry->name : nullptr;
}

} // namespace yk
