#include "Oracle.h"

#include <cstring>

namespace oracle {

#define SAME_AS_SHIFT_JIS(cells) cells, cells, cells, cells

const KutenChartRow kutenChart[] = {
    { 1, 1, SAME_AS_SHIFT_JIS("1-94") },
    { 2, 2, SAME_AS_SHIFT_JIS("1-14, 26-33, 42-48, 60-74, 82-89, 94") },
    { 3, 3, SAME_AS_SHIFT_JIS("16-25, 33-58, 65-90") },
    { 4, 4, SAME_AS_SHIFT_JIS("1-83") },
    { 5, 5, SAME_AS_SHIFT_JIS("1-86") },
    { 6, 6, SAME_AS_SHIFT_JIS("1-24, 33-56") },
    { 7, 7, SAME_AS_SHIFT_JIS("1-33, 49-81") },
    { 8, 8, SAME_AS_SHIFT_JIS("1-32") },
    { 9, 9, "", "1-20, 31-50, 61-69, 82-90", "1-20, 31-50, 61-69, 81-90",
        "1-20, 31-50, 61-69, 82-90" },
    { 10, 10, "", "1-12, 21-32, 61-86", "1-15, 21-35, 61-86", "1-12, 21-32, 61-86" },
    { 11, 11, "", "1-5, 7-11, 13-29, 91-93", "1-30, 91-94", "1-5, 7-11, 13-29, 91-93" },
    { 12, 12, "", "1-8, 21-23, 41-47, 49-52", "1-8, 21-23, 41-56", "1-8, 21-23, 41-47, 49-52" },
    { 13, 13, "", "1-30, 32-54, 63-92, 94", "1-25, 81-94", "1-25, 83-92, 94" },
    { 14, 14, "", "1-23, 31-35, 71-74, 92", "1-23, 31-35, 71-74, 92-94",
        "1-23, 31-35, 71-74, 92" },
    { 15, 15, SAME_AS_SHIFT_JIS("1-3, 21-22, 41, 43-46") },
    { 16, 46, SAME_AS_SHIFT_JIS("1-94") },
    { 47, 47, SAME_AS_SHIFT_JIS("1-51") },
    { 48, 83, SAME_AS_SHIFT_JIS("1-94") },
    { 84, 84, SAME_AS_SHIFT_JIS("1-6") },
    { 85, 85, "", "18, 29, 37, 42-45, 48-59", "2-3, 17-18, 28-30, 33-37, 42-59, 65",
        "18, 29, 37, 42-45, 48-59" },
    { 88, 88, "", "", "1, 3, 5, 7, 9, 35, 67, 69, 71, 78", "" },
    { 89, 89, "", "1-94", "1, 3, 5, 7, 9, 35, 67, 69, 71, 78, 85-86", "" },
    { 90, 91, "", "1-94", "", "" },
    { 92, 92, "", "1-78, 81-94", "", "" },
    { 95, 118, SAME_AS_SHIFT_JIS("1-94") },
    { 119, 119, "1-94", "1-12", "1-94", "1-94" },
    { 120, 120, "1-94", "", "1-94", "1-94" },
};
const size_t kutenChartRows = sizeof kutenChart / sizeof kutenChart[0];

#undef SAME_AS_SHIFT_JIS

KutenFlags kutenFlags(Column column)
{
    KutenFlags flags {};
    for (size_t r = 0; r < kutenChartRows; ++r) {
        const KutenChartRow& chart = kutenChart[r];
        const char* cells = column == Column::ShiftJIS ? chart.shiftJIS
            : column == Column::DOSJapanese            ? chart.dosJapanese
            : column == Column::MacJapanese            ? chart.macJapanese
                                                       : chart.macJapaneseOne;
        for (int row = chart.firstRow; row <= chart.lastRow; ++row) {
            const char* p = cells;
            while (*p) {
                char* end;
                long first = std::strtol(p, &end, 10);
                long last = first;
                if (*end == '-')
                    last = std::strtol(end + 1, &end, 10);
                for (long cell = first; cell <= last; ++cell)
                    flags[row][cell] = true;
                p = end;
                while (*p == ',' || *p == ' ')
                    ++p;
            }
        }
    }
    return flags;
}

namespace {

const uint8_t ESC = 0x1B;

uint8_t at(const Bytes& bytes, size_t i)
{
    return i < bytes.size() ? static_cast<uint8_t>(bytes[i]) : 0;
}

bool validTrail(uint8_t t)
{
    return (t >= 0x40 && t <= 0x7E) || (t >= 0x80 && t <= 0xFC);
}

// Length of the valid UTF-8 sequence at i (lead >= 0x80), or 0.
size_t utf8Sequence(const Bytes& bytes, size_t i)
{
    uint8_t b = at(bytes, i);
    int continuations;
    uint8_t low = 0x80, high = 0xBF;
    if (b >= 0xC2 && b <= 0xDF) {
        continuations = 1;
    } else if (b == 0xE0) {
        continuations = 2;
        low = 0xA0;
    } else if (b >= 0xE1 && b <= 0xEF) {
        continuations = 2;
    } else if (b == 0xF0) {
        continuations = 3;
        low = 0x90;
    } else if (b >= 0xF1 && b <= 0xF3) {
        continuations = 3;
    } else if (b == 0xF4) {
        continuations = 3;
        high = 0x8F;
    } else if (b >= 0xF5 && b <= 0xF7) {
        continuations = 3;
    } else if (b >= 0xF8 && b <= 0xFB) {
        continuations = 4;
    } else if (b >= 0xFC && b <= 0xFD) {
        continuations = 5;
    } else {
        return 0;
    }
    uint8_t c = at(bytes, i + 1);
    if (c < low || c > high)
        return 0;
    for (int k = 2; k <= continuations; ++k) {
        c = at(bytes, i + k);
        if (c < 0x80 || c > 0xBF)
            return 0;
    }
    return continuations + 1;
}

enum { Reject = 0, SJIS = 1, Special = 2 };

int macMark(uint8_t lead, uint8_t t, bool& pair)
{
    pair = false;
    if (lead == 0x80 || lead == 0xA0 || lead >= 0xFD)
        return Special;
    if (lead >= 0xA1 && lead <= 0xDF)
        return SJIS;
    pair = true;
    if (!validTrail(t))
        return Reject;
    if (lead >= 0x81 && lead <= 0x83)
        return SJIS;
    if (lead == 0x84)
        return t <= 0xBE ? SJIS : Reject;
    if (lead >= 0x85 && lead <= 0x87)
        return Special;
    if (lead == 0x88)
        return t < 0x6E ? Special : t <= 0x9E ? Reject : SJIS;
    if (lead >= 0x89 && lead <= 0x97)
        return SJIS;
    if (lead == 0x98)
        return (t <= 0x72 || t >= 0x9F) ? SJIS : Reject;
    if (lead >= 0x99 && lead <= 0x9F)
        return SJIS;
    if (lead >= 0xE0 && lead <= 0xE9)
        return SJIS;
    if (lead == 0xEA)
        return t <= 0xA4 ? SJIS : Reject;
    if (lead == 0xEB || lead == 0xEC)
        return Special;
    if (lead == 0xED)
        return t <= 0x96 ? Special : Reject;
    if (lead >= 0xF0 && lead <= 0xFC)
        return Special;
    return Reject;
}

int dosMark(uint8_t lead, uint8_t t, bool& pair)
{
    pair = false;
    if (lead >= 0xA1 && lead <= 0xDF)
        return SJIS;
    pair = true;
    if (!validTrail(t))
        return Reject;
    if (lead >= 0x81 && lead <= 0x83)
        return SJIS;
    if (lead == 0x84)
        return t <= 0xBE ? SJIS : Reject;
    if (lead == 0x87)
        return ((t >= 0x40 && t <= 0x7E) || (t >= 0x80 && t <= 0x9C)) ? Special : Reject;
    if (lead == 0x88)
        return t >= 0x9F ? SJIS : Reject;
    if (lead >= 0x89 && lead <= 0x97)
        return SJIS;
    if (lead == 0x98)
        return (t <= 0x72 || t >= 0x9F) ? SJIS : Reject;
    if (lead >= 0x99 && lead <= 0x9F)
        return SJIS;
    if (lead >= 0xE0 && lead <= 0xE9)
        return SJIS;
    if (lead == 0xEA)
        return t <= 0xA4 ? SJIS : Reject;
    if (lead == 0xED || lead == 0xEE || lead == 0xFA || lead == 0xFB)
        return Special;
    if (lead == 0xFC)
        return t <= 0x4B ? Special : Reject;
    return Reject;
}

int x0213Mark(uint8_t lead, uint8_t t, bool& pair)
{
    pair = false;
    if (lead >= 0xA1 && lead <= 0xDF)
        return SJIS;
    pair = true;
    if (!validTrail(t))
        return Reject;
    if (lead >= 0x81 && lead <= 0x83)
        return SJIS;
    if (lead == 0x84)
        return t <= 0xBE ? SJIS : Reject;
    if (lead == 0x88)
        return t < 0x9F ? Special : SJIS;
    if (lead >= 0x89 && lead <= 0x97)
        return SJIS;
    if (lead == 0x98)
        return (t >= 0x73 && t <= 0x9E) ? Special : SJIS;
    if (lead >= 0x99 && lead <= 0x9F)
        return SJIS;
    if (lead >= 0xE0 && lead <= 0xE9)
        return SJIS;
    if (lead == 0xEA)
        return t <= 0xA4 ? SJIS : Special;
    if (lead >= 0xF0 && lead <= 0xFC)
        return Special;
    return Reject;
}

CFStringEncoding detectShiftJISFamily(const Bytes& bytes, int (*markOf)(uint8_t, uint8_t, bool&),
    CFStringEncoding special)
{
    CFStringEncoding state = kCFStringEncodingASCII;
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b < 0x80) {
            i += 1;
            continue;
        }
        bool pair;
        int mark = markOf(b, at(bytes, i + 1), pair);
        if (mark == Reject)
            return kCFStringEncodingInvalidId;
        if (mark == Special)
            state = special;
        else if (state == kCFStringEncodingASCII)
            state = kCFStringEncodingShiftJIS;
        i += pair ? 2 : 1;
    }
    return state;
}

} // namespace

bool startsWithUnicodeBOM(const Bytes& bytes)
{
    if (bytes.size() < 2)
        return false;
    uint16_t value;
    std::memcpy(&value, bytes.data(), 2);
    return value == 0xFEFF;
}

CFStringEncoding detectUTF8(const Bytes& bytes)
{
    CFStringEncoding state = kCFStringEncodingASCII;
    size_t i = 0;
    while (i < bytes.size()) {
        if (at(bytes, i) < 0x80) {
            i += 1;
            continue;
        }
        size_t length = utf8Sequence(bytes, i);
        if (!length)
            return kCFStringEncodingInvalidId;
        state = kCFStringEncodingUTF8;
        i += length;
    }
    return state;
}

CFStringEncoding detectISO2022JP(const Bytes& bytes)
{
    CFStringEncoding state = kCFStringEncodingASCII;
    const CFStringEncoding JP = kCFStringEncodingISO_2022_JP, JP1 = kCFStringEncodingISO_2022_JP_1,
                           JP2 = kCFStringEncodingISO_2022_JP_2, JP3 = kCFStringEncodingISO_2022_JP_3;
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b >= 0x80)
            return kCFStringEncodingInvalidId;
        if (b != ESC) {
            i += 1;
            continue;
        }
        uint8_t c1 = at(bytes, i + 1), c2 = at(bytes, i + 2), c3 = at(bytes, i + 3);
        if ((c1 == '$' && c2 == '@') || (c1 == '$' && c2 == 'B') || (c1 == '(' && c2 == 'B')
            || (c1 == '(' && c2 == 'J') || (c1 == '(' && c2 == 'I')) {
            if (state == kCFStringEncodingASCII)
                state = JP;
            i += 3;
        } else if ((c1 == '$' && c2 == 'A') || (c1 == '.' && c2 == 'A') || (c1 == '.' && c2 == 'F')) {
            if (state == JP3)
                return kCFStringEncodingInvalidId;
            state = JP2;
            i += 3;
        } else if (c1 == '$' && c2 == '(' && c3 == 'C') {
            if (state == JP3)
                return kCFStringEncodingInvalidId;
            state = JP2;
            i += 4;
        } else if (c1 == '$' && c2 == '(' && c3 == 'D') {
            if (state == JP3)
                return kCFStringEncodingInvalidId;
            if (state != JP2)
                state = JP1;
            i += 4;
        } else if (c1 == '$' && c2 == '(' && (c3 == 'O' || c3 == 'P')) {
            if (state == JP2 || state == JP1)
                return kCFStringEncodingInvalidId;
            state = JP3;
            i += 4;
        } else {
            return kCFStringEncodingInvalidId;
        }
    }
    return state;
}

CFStringEncoding detectEUCJP(const Bytes& bytes)
{
    CFStringEncoding state = kCFStringEncodingASCII;
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b < 0x80) {
            i += 1;
            continue;
        }
        if (b == 0x8E || (b >= 0xA1 && b <= 0xFE)) {
            uint8_t t = at(bytes, i + 1);
            if (t < 0xA1 || t > 0xFE)
                return kCFStringEncodingInvalidId;
            state = kCFStringEncodingEUC_JP;
            i += 2;
            continue;
        }
        return kCFStringEncodingInvalidId;
    }
    return state;
}

CFStringEncoding detectDOSJapanese(const Bytes& bytes)
{
    return detectShiftJISFamily(bytes, dosMark, kCFStringEncodingDOSJapanese);
}

CFStringEncoding detectMacJapanese(const Bytes& bytes)
{
    return detectShiftJISFamily(bytes, macMark, kCFStringEncodingMacJapanese);
}

CFStringEncoding detectShiftJISX0213(const Bytes& bytes)
{
    return detectShiftJISFamily(bytes, x0213Mark, kCFStringEncodingShiftJIS_X0213);
}

CFStringEncoding detectJapaneseEncoding(const Bytes& bytes, bool preferShiftJIS,
    bool preferMacJapanese, Availability available)
{
    if (startsWithUnicodeBOM(bytes))
        return kCFStringEncodingUnicode;
    if (detectUTF8(bytes) == kCFStringEncodingUTF8)
        return kCFStringEncodingUTF8;
    CFStringEncoding iso = detectISO2022JP(bytes);
    if (iso == kCFStringEncodingISO_2022_JP_2) {
        if (available.jp2)
            return iso;
        return available.jp1 ? kCFStringEncodingISO_2022_JP_1 : kCFStringEncodingISO_2022_JP;
    }
    if (iso == kCFStringEncodingISO_2022_JP_1)
        return available.jp1 ? iso : kCFStringEncodingISO_2022_JP;
    if (iso == kCFStringEncodingISO_2022_JP_3)
        return available.jp3 ? iso : kCFStringEncodingISO_2022_JP;
    if (iso != kCFStringEncodingInvalidId)
        return iso;
    CFStringEncoding (*order[4])(const Bytes&);
    if (!preferShiftJIS && !preferMacJapanese) {
        order[0] = detectEUCJP, order[1] = detectDOSJapanese, order[2] = detectMacJapanese,
        order[3] = detectShiftJISX0213;
    } else if (!preferShiftJIS && preferMacJapanese) {
        order[0] = detectEUCJP, order[1] = detectMacJapanese, order[2] = detectDOSJapanese,
        order[3] = detectShiftJISX0213;
    } else if (preferShiftJIS && !preferMacJapanese) {
        order[0] = detectDOSJapanese, order[1] = detectMacJapanese,
        order[2] = detectShiftJISX0213, order[3] = detectEUCJP;
    } else {
        order[0] = detectMacJapanese, order[1] = detectDOSJapanese,
        order[2] = detectShiftJISX0213, order[3] = detectEUCJP;
    }
    for (int k = 0; k < 3; ++k) {
        CFStringEncoding result = order[k](bytes);
        if (result != kCFStringEncodingInvalidId)
            return result;
    }
    return order[3](bytes);
}

std::pair<int, int> sjis2jis(uint8_t b, uint8_t t)
{
    if (b < 0x81 || t < 0x40)
        return { 0, 0 };
    uint8_t base = b <= 0x9F ? uint8_t(2 * (b - 0x71)) : uint8_t(2 * (b - 0xB1));
    uint8_t t2 = t >= 0x80 ? uint8_t(t - 1) : t;
    uint8_t rowByte, cellByte;
    if (t2 < 0x9E) {
        rowByte = uint8_t(base + 1);
        cellByte = uint8_t(t2 - 0x1F);
    } else {
        rowByte = uint8_t(base + 2);
        cellByte = uint8_t(t2 - 0x7D);
    }
    int row = rowByte <= 0x20 ? 0 : rowByte - 0x20;
    int cell = (cellByte >= 0x21 && cellByte <= 0x7E) ? cellByte - 0x20 : 0;
    return { row, cell };
}

Repair fixUTF8(const Bytes& bytes)
{
    Repair r { false, {} };
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b < 0x80) {
            r.output += char(b);
            i += 1;
            continue;
        }
        if (size_t length = utf8Sequence(bytes, i)) {
            r.output += bytes.substr(i, length);
            i += length;
            continue;
        }
        size_t expected = 1;
        if (b >= 0xC2 && b <= 0xDF)
            expected = 2;
        else if (b >= 0xE0 && b <= 0xEF)
            expected = 3;
        else if (b >= 0xF0 && b <= 0xF7)
            expected = 4;
        else if (b >= 0xF8 && b <= 0xFB)
            expected = 5;
        else if (b >= 0xFC && b <= 0xFD)
            expected = 6;
        r.output += '?';
        r.repaired = true;
        size_t count = 1;
        while (count < expected && i + count < bytes.size() && at(bytes, i + count) >= 0x80)
            ++count;
        i += count;
    }
    if (!r.repaired)
        r.output.clear();
    return r;
}

Repair fixShiftJIS(const Bytes& bytes, int variant)
{
    static const KutenFlags shiftJIS = kutenFlags(Column::ShiftJIS);
    static const KutenFlags mac = kutenFlags(Column::MacJapanese);
    static const KutenFlags dos = kutenFlags(Column::DOSJapanese);
    Repair r { false, {} };
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b == 0x80 || b == 0xFD || b == 0xFE || b == 0xFF) {
            if (variant == 0 || variant == 2) {
                r.output += '?';
                r.repaired = true;
            } else {
                r.output += char(b);
            }
            i += 1;
        } else if (b == 0xA0) {
            r.output += ' ';
            r.repaired = true;
            i += 1;
        } else if ((b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC)) {
            bool hasTrail = i + 1 < bytes.size();
            if (variant < 0 || variant > 2) {
                r.output += bytes.substr(i, 2);
            } else {
                const KutenFlags& table = variant == 0 ? shiftJIS : variant == 1 ? mac : dos;
                bool valid = false;
                if (hasTrail) {
                    auto [row, cell] = sjis2jis(b, at(bytes, i + 1));
                    valid = row > 0 && row < 121 && cell > 0 && table[row][cell];
                }
                if (valid) {
                    r.output += bytes.substr(i, 2);
                } else {
                    r.output += '?';
                    r.repaired = true;
                }
            }
            i += 2;
        } else {
            r.output += char(b);
            i += 1;
        }
    }
    if (!r.repaired)
        r.output.clear();
    return r;
}

Repair fixEUCJP(const Bytes& bytes)
{
    static const KutenFlags macOne = kutenFlags(Column::MacJapaneseOne);
    Repair r { false, {} };
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        bool hasTrail = i + 1 < bytes.size();
        uint8_t t = at(bytes, i + 1);
        if (b == 0x8E) {
            if (hasTrail && t >= 0xA1 && t <= 0xDF) {
                r.output += bytes.substr(i, 2);
            } else {
                r.output += '?';
                r.repaired = true;
            }
            i += 2;
        } else if (b >= 0xA1 && b <= 0xFE) {
            bool valid = false;
            if (hasTrail) {
                int row = (b & 0x7F) - 0x20;
                int low = t & 0x7F;
                valid = low >= 0x21 && low <= 0x7E && macOne[row][low - 0x20];
            }
            if (valid) {
                r.output += bytes.substr(i, 2);
            } else {
                r.output += '?';
                r.repaired = true;
            }
            i += 2;
        } else {
            r.output += char(b);
            i += 1;
        }
    }
    if (!r.repaired)
        r.output.clear();
    return r;
}

Repair fixISO2022JP(const Bytes& bytes, bool trailingEscapeRule)
{
    static const KutenFlags macOne = kutenFlags(Column::MacJapaneseOne);
    enum Mode { ASCII, Roman, JIS1978, JIS1983, Kana } mode = ASCII;
    Repair r { false, {} };
    size_t i = 0;
    while (i < bytes.size()) {
        uint8_t b = at(bytes, i);
        if (b == ESC) {
            uint8_t c1 = at(bytes, i + 1), c2 = at(bytes, i + 2);
            Mode entered;
            bool known = true;
            if (c1 == '(' && c2 == 'B')
                entered = ASCII;
            else if (c1 == '(' && c2 == 'J')
                entered = Roman;
            else if (c1 == '$' && c2 == '@')
                entered = JIS1978;
            else if (c1 == '$' && c2 == 'B')
                entered = JIS1983;
            else if (c1 == '(' && c2 == 'I')
                entered = Kana;
            else
                known = false;
            if (known) {
                mode = entered;
                r.output += bytes.substr(i, 3);
                i += 3;
            } else {
                r.output += "\x1B(B";
                r.repaired = true;
                mode = ASCII;
                i += 1;
            }
        } else if (b == '\r' || b == '\n') {
            if (mode != ASCII && mode != Roman) {
                r.output += "\x1B(B";
                r.repaired = true;
                mode = ASCII;
            }
            r.output += char(b);
            i += 1;
        } else if (mode == ASCII || mode == Roman) {
            r.output += char(b);
            i += 1;
        } else if (mode == Kana) {
            if (b >= 0x21 && b <= 0x5F) {
                r.output += char(b);
            } else {
                r.output += "\x1B(B?\x1B(I";
                r.repaired = true;
            }
            i += 1;
        } else {
            uint8_t t = at(bytes, i + 1);
            bool valid = i + 1 < bytes.size() && b >= 0x21 && b <= 0x7E && t >= 0x21 && t <= 0x7E
                && b - 0x20 < 95 && macOne[b - 0x20][t - 0x20];
            if (valid) {
                r.output += bytes.substr(i, 2);
            } else {
                r.output += mode == JIS1978 ? "\x1B(B?\x1B$@" : "\x1B(B?\x1B$B";
                r.repaired = true;
            }
            i += 2;
        }
    }
    if (trailingEscapeRule) {
        Bytes result = r.repaired ? r.output : bytes;
        if (result.size() >= 507 && uint8_t(result[result.size() - 3]) == ESC) {
            r.output = result.substr(0, result.size() - 3);
            r.repaired = true;
        }
    }
    if (!r.repaired)
        r.output.clear();
    return r;
}

} // namespace oracle
