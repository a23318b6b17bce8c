#pragma once

// A direct, byte-by-byte transcription of the detection chain and the four repairs, kept
// deliberately plain: the library's table-driven and vectorised code must answer exactly as
// this does on every input.

#include <Yarkit/core/values/StringEncoding.h>

#include <array>
#include <cstdint>
#include <string>

namespace oracle {

using Bytes = std::string;

// The code charts as rows of cell ranges ("1-14, 26-33, 94"), one column per table.
struct KutenChartRow {
    int firstRow, lastRow;
    const char* shiftJIS;
    const char* dosJapanese;
    const char* macJapanese;    // nonzero entries
    const char* macJapaneseOne; // entries equal to 1
};
extern const KutenChartRow kutenChart[];
extern const size_t kutenChartRows;

// 121 x 95 flags built from one column of the chart.
using KutenFlags = std::array<std::array<bool, 95>, 121>;
enum class Column { ShiftJIS, DOSJapanese, MacJapanese, MacJapaneseOne };
KutenFlags kutenFlags(Column column);

bool startsWithUnicodeBOM(const Bytes& bytes);
CFStringEncoding detectUTF8(const Bytes& bytes);
CFStringEncoding detectISO2022JP(const Bytes& bytes);
CFStringEncoding detectEUCJP(const Bytes& bytes);
CFStringEncoding detectDOSJapanese(const Bytes& bytes);
CFStringEncoding detectMacJapanese(const Bytes& bytes);
CFStringEncoding detectShiftJISX0213(const Bytes& bytes);

struct Availability {
    bool jp1, jp2, jp3;
};
CFStringEncoding detectJapaneseEncoding(const Bytes& bytes, bool preferShiftJIS,
    bool preferMacJapanese, Availability available);

// Row and cell (0 for none) of a Shift_JIS pair.
std::pair<int, int> sjis2jis(uint8_t lead, uint8_t trail);

struct Repair {
    bool repaired;
    Bytes output;
    friend bool operator==(const Repair&, const Repair&) = default;
};
Repair fixUTF8(const Bytes& bytes);
Repair fixShiftJIS(const Bytes& bytes, int variant);
Repair fixEUCJP(const Bytes& bytes);
Repair fixISO2022JP(const Bytes& bytes, bool trailingEscapeRule);

} // namespace oracle
