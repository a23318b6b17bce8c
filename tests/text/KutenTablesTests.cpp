#include "text/KutenTables.h"

#include "TextTestSupport.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace texttest;
using namespace yk::detail;

// The vendor rows, where the three tables differ and ICU has nothing to compare with: the
// first and last cells of runs, and cells just outside them.
TEST(KutenTables, VendorRowsDefineTheirRuns)
{
    const struct {
        unsigned row, cell;
        bool shiftJIS, dosJapanese;
        uint8_t macJapanese;
    } cases[] = {
        { 9, 1, false, true, 1 }, { 9, 21, false, false, 0 }, { 9, 81, false, false, 3 }, { 9, 82, false, true, 1 },
        { 9, 91, false, false, 0 }, { 10, 12, false, true, 1 }, { 10, 13, false, false, 5 }, { 10, 16, false, false, 0 },
        { 11, 6, false, false, 2 }, { 11, 29, false, true, 1 }, { 11, 30, false, false, 3 }, { 11, 94, false, false, 4 },
        { 12, 48, false, false, 3 }, { 12, 52, false, true, 1 }, { 12, 53, false, false, 2 }, { 13, 31, false, false, 0 },
        { 13, 54, false, true, 0 }, { 13, 81, false, true, 2 }, { 13, 83, false, true, 1 }, { 14, 92, false, true, 1 },
        { 14, 94, false, false, 5 }, { 15, 41, true, true, 1 }, { 15, 42, false, false, 0 }, { 47, 51, true, true, 1 },
        { 47, 52, false, false, 0 }, { 84, 6, true, true, 1 }, { 84, 7, false, false, 0 }, { 85, 2, false, false, 2 },
        { 85, 18, false, true, 1 }, { 85, 65, false, false, 2 }, { 86, 1, false, false, 0 }, { 88, 1, false, false, 2 },
        { 88, 2, false, false, 0 }, { 89, 2, false, true, 0 }, { 89, 86, false, true, 2 }, { 91, 94, false, true, 0 },
        { 92, 79, false, false, 0 }, { 92, 94, false, true, 0 }, { 93, 1, false, false, 0 }, { 95, 1, true, true, 1 },
        { 119, 12, true, true, 1 }, { 119, 13, true, false, 1 }, { 120, 94, true, false, 1 }, { 1, 0, false, false, 0 },
        { 0, 1, false, false, 0 },
    };
    for (const auto& c : cases) {
        auto defined = std::tuple(shift_jis_kuten[c.row][c.cell] != 0,
            dos_japanese_kuten[c.row][c.cell] != 0, int(mac_japanese_kuten[c.row][c.cell]));
        EXPECT_EQ(defined, std::tuple(c.shiftJIS, c.dosJapanese, int(c.macJapanese)))
            << "Shift_JIS, DOS, Mac at row " << c.row << " cell " << c.cell;
    }
}

// The corners ICU's Shift_JIS does not reach (see below): odd trails, the rows above 84, and
// bytes outside the code space.
TEST(KutenTables, Sjis2jisMapsTheCornersOfTheCodeSpace)
{
    const struct {
        uint8_t lead, trail;
        unsigned row, cell;
    } cases[] = {
        { 0x81, 0x7F, 1, 64 }, { 0x81, 0xFD, 2, 0 }, { 0xEF, 0xFC, 94, 94 }, { 0xF0, 0x40, 95, 1 },
        { 0xFC, 0xFC, 120, 94 }, { 0x80, 0x40, 0, 0 }, { 0x81, 0x3F, 0, 0 },
    };
    for (const auto& c : cases) {
        auto kuten = sjis2jis(c.lead, c.trail);
        EXPECT_EQ(std::pair(kuten.row, kuten.cell), std::pair(c.row, c.cell))
            << hex(Bytes { char(c.lead), char(c.trail) });
    }
}

// In the JIS X 0208 rows (1-8, 16-84) the tables define exactly the cells ICU's EUC-JP
// converter reads (row and cell are its bytes less 0xA0), and each character ICU writes to
// Shift_JIS lands on the same row and cell through sjis2jis.
TEST(KutenTables, AgreeWithICUOnJISX0208)
{
    int mapped = 0;
    for (unsigned row = 1; row <= 84; ++row) {
        if (row >= 9 && row <= 15) // vendor rows, mapped to duplicates elsewhere
            continue;
        for (unsigned cell = 1; cell <= 94; ++cell) {
            SCOPED_TRACE("row " + std::to_string(row) + " cell " + std::to_string(cell));
            Bytes euc { char(0xA0 + row), char(0xA0 + cell) };
            std::u16string text;
            bool icu = icuDecode("EUC-JP", euc, &text);
            EXPECT_EQ(shift_jis_kuten[row][cell] != 0, icu);
            EXPECT_EQ(mac_japanese_kuten[row][cell] == 1, icu);
            EXPECT_EQ(dos_japanese_kuten[row][cell] != 0, icu);
            Bytes sjis;
            if (!icu || !icuEncode("Shift_JIS", text, sjis) || sjis.size() != 2)
                continue;
            auto kuten = sjis2jis(uint8_t(sjis[0]), uint8_t(sjis[1]));
            EXPECT_EQ(std::pair(kuten.row, kuten.cell), std::pair(row, cell)) << hex(sjis);
            ++mapped;
        }
    }
    EXPECT_GT(mapped, 6000);
}

} // namespace
