#include <Yarkit/ByteSequenceRepair.h>

#include "text/ByteSequenceRepairDetail.h"
#include "text/KutenTables.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

#ifndef YK_ISO2022JP_TRAILING_ESCAPE_RULE
#define YK_ISO2022JP_TRAILING_ESCAPE_RULE 0
#endif

namespace yk {
namespace {

std::atomic<bool> trailingEscapeRuleEnabled { YK_ISO2022JP_TRAILING_ESCAPE_RULE != 0 };

} // namespace

void setISO2022JPTrailingEscapeRuleEnabled(bool enabled)
{
    trailingEscapeRuleEnabled.store(enabled, std::memory_order_relaxed);
}

bool isISO2022JPTrailingEscapeRuleEnabled()
{
    return trailingEscapeRuleEnabled.load(std::memory_order_relaxed);
}

namespace detail {
namespace {

constexpr uint8_t escape = 0x1B;
constexpr std::string_view toASCII = "\x1B(B";
constexpr std::string_view badKatakana = "\x1B(B?\x1B(I";
constexpr std::string_view badJIS1978 = "\x1B(B?\x1B$@";
constexpr std::string_view badJIS1983 = "\x1B(B?\x1B$B";
// The converter's defect shows in results of this length and more.
constexpr size_t trailingEscapeMinimumLength = 507;

enum class Mode { ASCII, JISRoman, JIS1978, JIS1983, Katakana };

// The mode an escape sequence ESC c1 c2 enters, or false when it is not one of the five.
bool escapeMode(uint8_t c1, uint8_t c2, Mode& mode)
{
    if (c1 == '(') {
        switch (c2) {
        case 'B':
            mode = Mode::ASCII;
            return true;
        case 'J':
            mode = Mode::JISRoman;
            return true;
        case 'I':
            mode = Mode::Katakana;
            return true;
        }
        return false;
    }
    if (c1 == '$' && (c2 == '@' || c2 == 'B')) {
        mode = c2 == '@' ? Mode::JIS1978 : Mode::JIS1983;
        return true;
    }
    return false;
}

bool isSingleByteMode(Mode mode)
{
    return mode == Mode::ASCII || mode == Mode::JISRoman;
}

bool isDefinedJISPair(uint8_t first, uint8_t second)
{
    if (first < 0x21 || first > 0x7E || second < 0x21 || second > 0x7E)
        return false;
    return mac_japanese_kuten[first - 0x20u][second - 0x20u] == 1;
}

// Start of the next byte that ASCII or JIS Roman mode must look at: the next ESC.
size_t nextEscape(const uint8_t* bytes, size_t from, size_t length)
{
    const void* found = std::memchr(bytes + from, escape, length - from);
    return found ? static_cast<size_t>(static_cast<const uint8_t*>(found) - bytes) : length;
}

void applyTrailingEscapeRule(RepairOutput& output, const uint8_t* bytes, size_t length)
{
    if (!output.hasRepairs()) {
        if (length >= trailingEscapeMinimumLength && bytes[length - 3] == escape)
            output.replace(length - 3, length, {});
        return;
    }
    output.copyRun(length);
    auto result = output.copied();
    if (result.size() >= trailingEscapeMinimumLength && result[result.size() - 3] == escape)
        output.dropLast(3);
}

} // namespace

// Unknown escapes lose their ESC (the bytes after it stay as text), every CR and LF is made to
// follow ASCII mode, and a bad character is bracketed by escapes so the mode after it is
// unchanged. A bad pair swallows its second byte, whatever it is.
void repairISO2022JP(RepairOutput& output, const uint8_t* bytes, size_t length,
    bool trailingEscapeRule)
{
    Mode mode = Mode::ASCII;
    auto byteAt = [&](size_t index) -> uint8_t { return index < length ? bytes[index] : 0; };
    for (size_t i = 0; i < length;) {
        uint8_t byte = bytes[i];
        if (byte == escape) {
            if (escapeMode(byteAt(i + 1), byteAt(i + 2), mode)) {
                i += 3;
                continue;
            }
            output.replace(i, i + 1, toASCII);
            mode = Mode::ASCII;
            i += 1;
            continue;
        }
        if (byte == '\r' || byte == '\n') {
            if (!isSingleByteMode(mode)) {
                output.replace(i, i, toASCII);
                mode = Mode::ASCII;
            }
            i += 1;
            continue;
        }
        switch (mode) {
        case Mode::ASCII:
        case Mode::JISRoman:
            i = nextEscape(bytes, i, length);
            continue;
        case Mode::Katakana:
            if (byte < 0x21 || byte > 0x5F)
                output.replace(i, i + 1, badKatakana);
            i += 1;
            continue;
        case Mode::JIS1978:
        case Mode::JIS1983: {
            size_t next = std::min<size_t>(i + 2, length);
            if (!isDefinedJISPair(byte, byteAt(i + 1)))
                output.replace(i, next, mode == Mode::JIS1978 ? badJIS1978 : badJIS1983);
            i = next;
            continue;
        }
        }
    }
    if (trailingEscapeRule)
        applyTrailingEscapeRule(output, bytes, length);
}

RepairResult fixISO2022JPBytes(std::string_view bytes, bool trailingEscapeRule)
{
    return collectRepair(bytes, [&](RepairOutput& output) {
        repairISO2022JP(output, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
            trailingEscapeRule);
    });
}

} // namespace detail

RepairResult fixISO2022JPBytes(std::string_view bytes)
{
    return detail::fixISO2022JPBytes(bytes, isISO2022JPTrailingEscapeRuleEnabled());
}

} // namespace yk

bool YKFixISO2022JPBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength)
{
    bool rule = yk::isISO2022JPTrailingEscapeRuleEnabled();
    return yk::detail::repairInto(bytes, length, outBytes, outLength,
        [&](yk::detail::RepairOutput& output) {
            yk::detail::repairISO2022JP(output, bytes, length, rule);
        });
}
