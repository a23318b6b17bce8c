#pragma once

// Repairing broken UTF-8 and Japanese byte sequences so that strict converters accept them.
//
// Every function has the same pattern. It never modifies `bytes`. When nothing needs repair it
// returns false, allocates nothing and writes neither output. Otherwise it returns true, stores
// a repaired copy from malloc in *outBytes (the caller frees it; when outBytes is null the copy
// is freed at once) and its length in *outLength (when outLength is not null). A length of 0
// returns false. Each malformed unit, or code that names no character of the encoding's table,
// becomes "?"; everything valid is copied unchanged. Pure and reentrant: callable from any
// thread.

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// UTF-8 in its older, wider form (five- and six-byte sequences and leads 0xF5-0xF7 are valid;
// encoded surrogates pass). One malformed sequence becomes one "?", which swallows up to the
// sequence length the lead announces, but never an ASCII byte. The output is never longer.
bool YKFixUTF8Bytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength);

// Shift_JIS with `variant` 0 (plain JIS X 0208), 1 (Mac Japanese) or 2 (DOS Japanese, code
// page 932). 0xA0 becomes a space in every variant; 0x80 and 0xFD-0xFF become "?" except in
// variant 1; an undefined or truncated double-byte code becomes one "?" that swallows its trail
// byte, whatever it is. Other variant values check no double-byte code. Never longer.
bool YKFixShiftJISBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, int variant);

// EUC-JP: half-width katakana after 0x8E, and JIS X 0208 pairs checked against the Mac
// Japanese standard character table. A bad unit of two bytes becomes one "?". Never longer.
bool YKFixEUCJPBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength);

// ISO-2022-JP: unknown escapes become ESC ( B; every line break is made to follow ASCII mode;
// a bad character becomes ESC ( B ? and the escape that re-enters the current mode. The output
// can be up to seven times as long as the input. When the trailing-escape rule is on (see
// yk::setISO2022JPTrailingEscapeRuleEnabled), a result of at least 507 bytes whose third byte
// from the end is ESC loses its last three bytes, and the function returns true even if
// nothing else was repaired.
bool YKFixISO2022JPBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength);

#ifdef __cplusplus
}

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace yk {

// One repair: `length` input bytes from `offset` were replaced by `replacement` (empty when
// they were only dropped; `length` is 0 where bytes were inserted, as ESC ( B before a line
// break). Edits are in input order and do not overlap.
struct RepairEdit {
    size_t offset;
    size_t length;
    std::string replacement;
    friend bool operator==(const RepairEdit&, const RepairEdit&) = default;
};

// The result of a repair: `bytes` is the repaired text, and applying `edits` to the input gives
// exactly it. When `repaired` is false `bytes` is empty rather than a copy of the input (which
// may be a whole mapped file): text() gives the input then.
struct RepairResult {
    std::string bytes;
    std::vector<RepairEdit> edits;
    bool repaired;

    std::string_view text(std::string_view input) const { return repaired ? std::string_view(bytes) : input; }
};

// The repairs above for C++ callers that want to know where they repaired; each answers as its
// C function does (`repaired` is its return value).
RepairResult fixUTF8Bytes(std::string_view bytes);
RepairResult fixShiftJISBytes(std::string_view bytes, int variant);
RepairResult fixEUCJPBytes(std::string_view bytes);
RepairResult fixISO2022JPBytes(std::string_view bytes);

// Switches the trailing-escape rule of YKFixISO2022JPBytes for the whole process. The rule
// works around a converter that mishandles a final escape sequence in long text; ICU has no
// such defect, so the rule is off unless the library was built with
// YK_ISO2022JP_TRAILING_ESCAPE_RULE=ON. Thread-safe; calls already running keep the setting
// they read.
void setISO2022JPTrailingEscapeRuleEnabled(bool enabled);
bool isISO2022JPTrailingEscapeRuleEnabled();

} // namespace yk
#endif
