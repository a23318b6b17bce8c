#pragma once

// The repair functions behind the exported ones, with the choices the exported ones make for
// the caller: the scanner that skips 7-bit stretches (which never changes the answer) and the
// trailing-escape rule of the ISO-2022-JP repair.

#include "text/ByteScan.h"

#include <cstdint>

namespace yk::detail {

bool fixUTF8Bytes(const uint8_t* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, const ByteScanner& scanner = activeByteScanner());

bool fixShiftJISBytes(const uint8_t* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, int variant, const ByteScanner& scanner = activeByteScanner());

bool fixEUCJPBytes(const uint8_t* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, const ByteScanner& scanner = activeByteScanner());

// `trailingEscapeRule`: drop the last three bytes of a result of at least 507 bytes whose third
// byte from the end is ESC.
bool fixISO2022JPBytes(const uint8_t* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, bool trailingEscapeRule);

} // namespace yk::detail
