#pragma once

// The strict validators behind YKDetectJapaneseEncoding. Each takes the whole buffer and either
// rejects it (kCFStringEncodingInvalidId) or accepts it and says how specific the accepted text
// is: kCFStringEncodingASCII when no byte needed the encoding, else the encoding (or, for the
// Shift_JIS family, kCFStringEncodingShiftJIS when no vendor-specific code occurred). A length
// of 0 or less scans nothing; a sequence cut off by the end of the buffer is rejected.
// The scanner only chooses how fast 7-bit stretches are skipped, never the answer.

#include "text/ByteScan.h"

#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>

namespace yk::detail {

// Whether the first two bytes, read in the host's byte order, are U+FEFF.
bool _startsWithUnicodeBOM(const uint8_t* bytes, int32_t length);

// kCFStringEncodingUTF8 once any multi-byte sequence occurred.
CFStringEncoding _detectUTF8(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

// 7-bit text whose escapes name ISO-2022-JP (-1, -2 or -3); shift state is not tracked.
CFStringEncoding _detectISO_2022_JP(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

// Pairs of 0xA1-0xFE, or 0x8E and 0xA1-0xFE; 0x8F (JIS X 0212) rejects.
CFStringEncoding _detectEUC_JP(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

// Shift_JIS with the NEC and IBM extensions of code page 932.
CFStringEncoding _detectDOSJapanese(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

// Shift_JIS with the Mac Japanese extensions (single bytes 0x80, 0xA0, 0xFD-0xFF too).
CFStringEncoding _detectMacJapanese(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

// Shift_JIS with JIS X 0213 characters. Leads 0x85-0x87 and 0xEB-0xEF are rejected although
// they lie in the X 0213 code space; the Mac and DOS validators claim them.
CFStringEncoding _detectShiftJIS_X0213(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner = activeByteScanner());

} // namespace yk::detail
