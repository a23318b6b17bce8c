#pragma once

// Guessing the encoding of Japanese byte text.

#include <Yarkit/core/values/StringEncoding.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Names the encoding in which `bytes` can be read, by a fixed chain of strict validators
// (byte-order mark, UTF-8, ISO-2022-JP, then EUC-JP and the Shift_JIS family in the order the
// two flags choose); the first validator that accepts the whole buffer decides. Returns one of
// kCFStringEncodingUnicode, UTF8, ASCII, ISO_2022_JP(_1, _2, _3), EUC_JP, ShiftJIS,
// DOSJapanese, MacJapanese, ShiftJIS_X0213, or kCFStringEncodingInvalidId when nothing fits.
// A length of 0 or less scans nothing; `bytes` must be readable for `length` bytes.
// Pure and reentrant: callable from any thread.
//
// preferShiftJIS: try the Shift_JIS family before EUC-JP.
// preferMacJapanese: within the family, try Mac Japanese before DOS Japanese (code page 932).
CFStringEncoding YKDetectJapaneseEncoding(const unsigned char* bytes, int32_t length,
    bool preferShiftJIS, bool preferMacJapanese);

#ifdef __cplusplus
}
#endif
