#include "text/JapaneseEncodingValidators.h"

#include "text/UTF8Sequences.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace yk::detail {
namespace {

constexpr uint8_t escape = 0x1B;

size_t scanLength(int32_t length)
{
    return length > 0 ? static_cast<size_t>(length) : 0;
}

uint8_t byteAt(const uint8_t* bytes, size_t index, size_t length)
{
    return index < length ? bytes[index] : 0x00;
}

constexpr size_t rejected = SIZE_MAX;
// How far the exact loop goes on by itself before the fast scan is tried again.
constexpr size_t exactStretch = 64;

// Alternates a fast prefix scan, which skips units the exact loop would accept, with the exact
// loop `step` (which takes the index of a unit and returns the index after it, or `rejected`).
// Returns `rejected` or the length; `prefixHadHighByte` tells whether any skipped unit was.
template<typename Step>
size_t scanUnits(const uint8_t* bytes, size_t end, size_t (*fastPrefix)(const uint8_t*, size_t),
    const ByteScanner& scanner, bool& prefixHadHighByte, Step step)
{
    size_t i = 0;
    while (i < end) {
        size_t prefixEnd = i + fastPrefix(bytes + i, end - i);
        if (!prefixHadHighByte && scanner.findHighByte(bytes, i, prefixEnd) < prefixEnd)
            prefixHadHighByte = true;
        i = prefixEnd;
        for (size_t stop = std::min(end, i + exactStretch); i < stop;) {
            i = step(i);
            if (i == rejected)
                return rejected;
        }
    }
    return end;
}

// The state after the escape ESC c1 c2 (c3), or kCFStringEncodingInvalidId when the escape is
// unknown or not allowed in the state; `escapeLength` is set to the escape's length.
CFStringEncoding applyISO2022JPEscape(CFStringEncoding state, uint8_t c1, uint8_t c2, uint8_t c3,
    size_t& escapeLength)
{
    escapeLength = 3;
    bool designatesJIS = (c1 == '$' && (c2 == '@' || c2 == 'B'))
        || (c1 == '(' && (c2 == 'B' || c2 == 'J' || c2 == 'I'));
    if (designatesJIS)
        return state == kCFStringEncodingASCII ? kCFStringEncodingISO_2022_JP : state;
    bool designates2 = (c1 == '$' && c2 == 'A') || (c1 == '.' && (c2 == 'A' || c2 == 'F'));
    if (designates2)
        return state == kCFStringEncodingISO_2022_JP_3 ? kCFStringEncodingInvalidId
                                                       : kCFStringEncodingISO_2022_JP_2;
    if (c1 != '$' || c2 != '(')
        return kCFStringEncodingInvalidId;
    escapeLength = 4;
    switch (c3) {
    case 'C':
        return state == kCFStringEncodingISO_2022_JP_3 ? kCFStringEncodingInvalidId
                                                       : kCFStringEncodingISO_2022_JP_2;
    case 'D':
        if (state == kCFStringEncodingISO_2022_JP_3)
            return kCFStringEncodingInvalidId;
        return state == kCFStringEncodingISO_2022_JP_2 ? state : kCFStringEncodingISO_2022_JP_1;
    case 'O':
    case 'P':
        if (state == kCFStringEncodingISO_2022_JP_2 || state == kCFStringEncodingISO_2022_JP_1)
            return kCFStringEncodingInvalidId;
        return kCFStringEncodingISO_2022_JP_3;
    default:
        return kCFStringEncodingInvalidId;
    }
}

// The three Shift_JIS-family validators, as data. A lead byte is a single-byte code or the
// first of a pair; a pair's trail must be a valid Shift_JIS trail (0x40-0x7E, 0x80-0xFC) and
// lie in one of the rule's trail ranges, the first matching range giving the mark. Leads and
// trails that no rule lists reject.
enum class Mark : uint8_t { Reject, ShiftJIS, Special };

struct TrailRange {
    uint8_t low, high;
    Mark mark;
};

struct LeadRule {
    uint8_t firstLead, lastLead;
    bool isPair;
    Mark singleMark; // for single-byte codes
    std::initializer_list<TrailRange> trails;
};

constexpr LeadRule single(uint8_t first, uint8_t last, Mark mark)
{
    return { first, last, false, mark, {} };
}

constexpr LeadRule pair(uint8_t first, uint8_t last, std::initializer_list<TrailRange> trails)
{
    return { first, last, true, Mark::Reject, trails };
}

constexpr Mark SJIS = Mark::ShiftJIS;
constexpr Mark Own = Mark::Special;
constexpr TrailRange anyTrail(Mark mark) { return { 0x40, 0xFC, mark }; }

constexpr bool isShiftJISTrail(unsigned byte)
{
    return (byte >= 0x40 && byte <= 0x7E) || (byte >= 0x80 && byte <= 0xFC);
}

// The expanded form: per lead byte an action, per pair rule a row of marks by trail byte.
constexpr size_t maxPairRules = 16;
constexpr uint8_t actionReject = 0;
constexpr uint8_t actionSingleShiftJIS = 1;
constexpr uint8_t actionSingleSpecial = 2;
constexpr uint8_t actionFirstPairRule = 3; // + index of the pair rule

struct ShiftJISFamilyTable {
    std::array<uint8_t, 256> leadAction {};
    std::array<std::array<Mark, 256>, maxPairRules> trailMarks {};
};

constexpr ShiftJISFamilyTable expand(std::initializer_list<LeadRule> rules)
{
    ShiftJISFamilyTable table;
    size_t pairRules = 0;
    for (const LeadRule& rule : rules) {
        uint8_t action;
        if (rule.isPair) {
            auto& marks = table.trailMarks[pairRules];
            for (unsigned trail = 0; trail < 256; ++trail) {
                for (const TrailRange& range : rule.trails) {
                    if (isShiftJISTrail(trail) && trail >= range.low && trail <= range.high) {
                        marks[trail] = range.mark;
                        break;
                    }
                }
            }
            action = static_cast<uint8_t>(actionFirstPairRule + pairRules++);
        } else {
            action = rule.singleMark == Own ? actionSingleSpecial : actionSingleShiftJIS;
        }
        for (unsigned lead = rule.firstLead; lead <= rule.lastLead; ++lead)
            table.leadAction[lead] = action;
    }
    return table;
}

constexpr ShiftJISFamilyTable macJapaneseTable = expand({
    single(0x80, 0x80, Own),
    single(0xA0, 0xA0, Own),
    single(0xFD, 0xFF, Own),
    pair(0x81, 0x83, { anyTrail(SJIS) }),
    pair(0x84, 0x84, { { 0x40, 0xBE, SJIS } }),
    pair(0x85, 0x87, { anyTrail(Own) }),
    pair(0x88, 0x88, { { 0x40, 0x6D, Own }, { 0x9F, 0xFC, SJIS } }),
    pair(0x89, 0x97, { anyTrail(SJIS) }),
    pair(0x98, 0x98, { { 0x40, 0x72, SJIS }, { 0x9F, 0xFC, SJIS } }),
    pair(0x99, 0x9F, { anyTrail(SJIS) }),
    single(0xA1, 0xDF, SJIS),
    pair(0xE0, 0xE9, { anyTrail(SJIS) }),
    pair(0xEA, 0xEA, { { 0x40, 0xA4, SJIS } }),
    pair(0xEB, 0xEC, { anyTrail(Own) }),
    pair(0xED, 0xED, { { 0x40, 0x96, Own } }),
    pair(0xF0, 0xFC, { anyTrail(Own) }),
});

constexpr ShiftJISFamilyTable dosJapaneseTable = expand({
    pair(0x81, 0x83, { anyTrail(SJIS) }),
    pair(0x84, 0x84, { { 0x40, 0xBE, SJIS } }),
    pair(0x87, 0x87, { { 0x40, 0x7E, Own }, { 0x80, 0x9C, Own } }),
    pair(0x88, 0x88, { { 0x9F, 0xFC, SJIS } }),
    pair(0x89, 0x97, { anyTrail(SJIS) }),
    pair(0x98, 0x98, { { 0x40, 0x72, SJIS }, { 0x9F, 0xFC, SJIS } }),
    pair(0x99, 0x9F, { anyTrail(SJIS) }),
    single(0xA1, 0xDF, SJIS),
    pair(0xE0, 0xE9, { anyTrail(SJIS) }),
    pair(0xEA, 0xEA, { { 0x40, 0xA4, SJIS } }),
    pair(0xED, 0xEE, { anyTrail(Own) }),
    pair(0xFA, 0xFB, { anyTrail(Own) }),
    pair(0xFC, 0xFC, { { 0x40, 0x4B, Own } }),
});

constexpr ShiftJISFamilyTable shiftJISX0213Table = expand({
    pair(0x81, 0x83, { anyTrail(SJIS) }),
    pair(0x84, 0x84, { { 0x40, 0xBE, SJIS } }),
    pair(0x88, 0x88, { { 0x40, 0x9E, Own }, { 0x9F, 0xFC, SJIS } }),
    pair(0x89, 0x97, { anyTrail(SJIS) }),
    pair(0x98, 0x98, { { 0x73, 0x9E, Own }, anyTrail(SJIS) }),
    pair(0x99, 0x9F, { anyTrail(SJIS) }),
    single(0xA1, 0xDF, SJIS),
    pair(0xE0, 0xE9, { anyTrail(SJIS) }),
    pair(0xEA, 0xEA, { { 0x40, 0xA4, SJIS }, { 0xA5, 0xFC, Own } }),
    pair(0xF0, 0xFC, { anyTrail(Own) }),
});

CFStringEncoding detectShiftJISFamily(const ShiftJISFamilyTable& table, CFStringEncoding special,
    const uint8_t* bytes, int32_t length, const ByteScanner& scanner)
{
    size_t end = scanLength(length);
    bool sawHighByte = false;
    bool sawSpecial = false;
    auto step = [&](size_t i) -> size_t {
        uint8_t lead = bytes[i];
        if (lead < 0x80)
            return i + 1;
        uint8_t action = table.leadAction[lead];
        if (action == actionReject)
            return rejected;
        Mark mark = action == actionSingleSpecial ? Mark::Special : Mark::ShiftJIS;
        size_t next = i + 1;
        if (action >= actionFirstPairRule) {
            mark = table.trailMarks[action - actionFirstPairRule][byteAt(bytes, i + 1, end)];
            if (mark == Mark::Reject)
                return rejected;
            next = i + 2;
        }
        sawHighByte = true;
        sawSpecial |= mark == Mark::Special;
        return next;
    };
    if (scanUnits(bytes, end, scanner.shiftJISPrefix, scanner, sawHighByte, step) == rejected)
        return kCFStringEncodingInvalidId;
    if (sawSpecial)
        return special;
    return sawHighByte ? kCFStringEncodingShiftJIS : kCFStringEncodingASCII;
}

} // namespace

bool _startsWithUnicodeBOM(const uint8_t* bytes, int32_t length)
{
    if (length < 2)
        return false;
    uint16_t mark;
    std::memcpy(&mark, bytes, sizeof mark);
    return mark == 0xFEFF;
}

CFStringEncoding _detectUTF8(const uint8_t* bytes, int32_t length, const ByteScanner& scanner)
{
    size_t end = scanLength(length);
    bool sawSequence = false;
    auto step = [&](size_t i) -> size_t {
        if (bytes[i] < 0x80)
            return i + 1;
        size_t sequence = validUTF8SequenceLength(bytes, i, end);
        if (!sequence)
            return rejected;
        sawSequence = true;
        return i + sequence;
    };
    if (scanUnits(bytes, end, scanner.utf8Prefix, scanner, sawSequence, step) == rejected)
        return kCFStringEncodingInvalidId;
    return sawSequence ? kCFStringEncodingUTF8 : kCFStringEncodingASCII;
}

CFStringEncoding _detectISO_2022_JP(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner)
{
    size_t end = scanLength(length);
    CFStringEncoding state = kCFStringEncodingASCII;
    for (size_t i = scanner.findHighByteOrEscape(bytes, 0, end); i < end;
        i = scanner.findHighByteOrEscape(bytes, i, end)) {
        if (bytes[i] != escape)
            return kCFStringEncodingInvalidId;
        size_t escapeLength;
        state = applyISO2022JPEscape(state, byteAt(bytes, i + 1, end), byteAt(bytes, i + 2, end),
            byteAt(bytes, i + 3, end), escapeLength);
        if (state == kCFStringEncodingInvalidId)
            return state;
        i += escapeLength;
    }
    return state;
}

CFStringEncoding _detectEUC_JP(const uint8_t* bytes, int32_t length, const ByteScanner& scanner)
{
    size_t end = scanLength(length);
    bool sawPair = false;
    auto step = [&](size_t i) -> size_t {
        uint8_t lead = bytes[i];
        if (lead < 0x80)
            return i + 1;
        uint8_t trail = byteAt(bytes, i + 1, end);
        bool leadOK = lead == 0x8E || (lead >= 0xA1 && lead <= 0xFE);
        if (!leadOK || trail < 0xA1 || trail > 0xFE)
            return rejected;
        sawPair = true;
        return i + 2;
    };
    if (scanUnits(bytes, end, scanner.eucJPPrefix, scanner, sawPair, step) == rejected)
        return kCFStringEncodingInvalidId;
    return sawPair ? kCFStringEncodingEUC_JP : kCFStringEncodingASCII;
}

CFStringEncoding _detectDOSJapanese(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner)
{
    return detectShiftJISFamily(dosJapaneseTable, kCFStringEncodingDOSJapanese, bytes, length,
        scanner);
}

CFStringEncoding _detectMacJapanese(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner)
{
    return detectShiftJISFamily(macJapaneseTable, kCFStringEncodingMacJapanese, bytes, length,
        scanner);
}

CFStringEncoding _detectShiftJIS_X0213(const uint8_t* bytes, int32_t length,
    const ByteScanner& scanner)
{
    return detectShiftJISFamily(shiftJISX0213Table, kCFStringEncodingShiftJIS_X0213, bytes,
        length, scanner);
}

} // namespace yk::detail
