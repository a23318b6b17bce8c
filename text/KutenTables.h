#pragma once

// Which two-byte JIS codes name characters, by row (ku, 1-120) and cell (ten, 1-94), and the
// mapping from Shift_JIS pairs to row and cell. Rows 95-120 are the Shift_JIS user-defined
// area (leads 0xF0-0xFC).

#include <array>
#include <cstdint>

namespace yk::detail {

// Indexed [row][cell]; row 0 and cell 0 are never set, so a missing row or cell looks up 0.
using KutenTable = std::array<std::array<uint8_t, 95>, 121>;

// Nonzero where plain Shift_JIS (JIS X 0208) defines the cell.
extern const KutenTable shift_jis_kuten;
// Nonzero where Mac Japanese defines the cell: 1 for the standard characters, 2 to 5 for the
// Mac-only ones (which EUC-JP and ISO-2022-JP repairs treat as undefined).
extern const KutenTable mac_japanese_kuten;
// Nonzero where DOS Japanese (code page 932 with its NEC and IBM rows) defines the cell.
extern const KutenTable dos_japanese_kuten;

struct Kuten {
    unsigned row;  // 0: none
    unsigned cell; // 0: none
};

// Row and cell of the Shift_JIS pair lead, trail. Leads below 0x81 and trails below 0x40 have
// neither; trails 0x7F and 0x80 name the same cell, and trails above 0xFC have no cell.
constexpr Kuten sjis2jis(uint8_t lead, uint8_t trail)
{
    if (lead < 0x81 || trail < 0x40)
        return { 0, 0 };
    // Byte arithmetic, as the codes are defined.
    uint8_t base = static_cast<uint8_t>(lead <= 0x9F ? 2 * (lead - 0x71) : 2 * (lead - 0xB1));
    uint8_t adjusted = trail >= 0x80 ? static_cast<uint8_t>(trail - 1) : trail;
    uint8_t rowByte;
    uint8_t cellByte;
    if (adjusted < 0x9E) {
        rowByte = static_cast<uint8_t>(base + 1);
        cellByte = static_cast<uint8_t>(adjusted - 0x1F);
    } else {
        rowByte = static_cast<uint8_t>(base + 2);
        cellByte = static_cast<uint8_t>(adjusted - 0x7D);
    }
    Kuten kuten { 0, 0 };
    if (rowByte > 0x20)
        kuten.row = rowByte - 0x20u;
    if (cellByte >= 0x21 && cellByte <= 0x7E)
        kuten.cell = cellByte - 0x20u;
    return kuten;
}

// The table's entry, or 0 when the row is beyond the table.
constexpr uint8_t kutenEntry(const KutenTable& table, Kuten kuten)
{
    return kuten.row < table.size() ? table[kuten.row][kuten.cell] : 0;
}

} // namespace yk::detail
