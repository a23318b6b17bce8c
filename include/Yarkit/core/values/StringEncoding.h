#pragma once

// Text-encoding constants under their platform names and numbers, and which of them this
// build can convert (answered by ICU's converters).

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t CFStringEncoding;

// A typed enumeration in C++; in C the constants that fit an int are plain enumerators and the
// invalid id a macro, as C enumerators cannot hold it.
#ifdef __cplusplus
#define YK_STRING_ENCODING_ENUM enum : CFStringEncoding
#else
#define YK_STRING_ENCODING_ENUM enum
#endif

YK_STRING_ENCODING_ENUM {
    kCFStringEncodingMacRoman = 0x0000,
    kCFStringEncodingMacJapanese = 0x0001,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingNextStepLatin = 0x0B01,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingNonLossyASCII = 0x0BFF,
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32 = 0x0c000100,
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100,
    kCFStringEncodingDOSJapanese = 0x0420,
    kCFStringEncodingShiftJIS_X0213 = 0x0628,
    kCFStringEncodingISO_2022_JP = 0x0820,
    kCFStringEncodingISO_2022_JP_2 = 0x0821,
    kCFStringEncodingISO_2022_JP_1 = 0x0822,
    kCFStringEncodingISO_2022_JP_3 = 0x0823,
    kCFStringEncodingEUC_JP = 0x0920,
    kCFStringEncodingShiftJIS = 0x0A01,
#ifdef __cplusplus
    kCFStringEncodingInvalidId = 0xFFFFFFFFu,
#endif
};

#ifndef __cplusplus
#define kCFStringEncodingInvalidId ((CFStringEncoding)0xFFFFFFFFu)
#endif

#ifdef __cplusplus
}

namespace yk {

// The ICU converter that reads and writes the encoding, or null when ICU has none.
const char* icuConverterName(CFStringEncoding encoding);

// Whether a converter for the encoding is installed (the platform's CFStringIsEncodingAvailable).
bool isStringEncodingAvailable(CFStringEncoding encoding);

// The encoding whose converter reads text in `encoding` best: the encoding itself when a
// converter for it is installed, else its nearest relative that has one (Mac Japanese and
// Shift_JIS X 0213 read as Shift_JIS, ISO-2022-JP-3 as ISO-2022-JP, whose converters lack
// only the extra characters); kCFStringEncodingInvalidId when there is none.
CFStringEncoding nearestConvertibleEncoding(CFStringEncoding encoding);

// A short, stable name for the encoding ("UTF-8", "Shift_JIS", "EUC-JP", ...), or null for an
// unknown constant. Tools print these.
const char* stringEncodingName(CFStringEncoding encoding);

} // namespace yk
#endif
