#include "text/KutenTables.h"

#include "Oracle.h"
#include "TextTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace texttest;
using yk::detail::KutenTable;

void expectTableMatchesChart(const KutenTable& table, oracle::Column column, const char* what,
    bool (*entryCounts)(uint8_t))
{
    auto chart = oracle::kutenFlags(column);
    for (unsigned row = 0; row < 121; ++row) {
        for (unsigned cell = 0; cell < 95; ++cell) {
            EXPECT_EQ(entryCounts(table[row][cell]), chart[row][cell])
                << what << " row " << row << " cell " << cell;
        }
    }
}

TEST(KutenTables, MatchTheCodeCharts)
{
    auto nonzero = [](uint8_t entry) { return entry != 0; };
    auto standard = [](uint8_t entry) { return entry == 1; };
    expectTableMatchesChart(yk::detail::shift_jis_kuten, oracle::Column::ShiftJIS, "Shift_JIS",
        nonzero);
    expectTableMatchesChart(yk::detail::dos_japanese_kuten, oracle::Column::DOSJapanese, "DOS",
        nonzero);
    expectTableMatchesChart(yk::detail::mac_japanese_kuten, oracle::Column::MacJapanese, "Mac",
        nonzero);
    expectTableMatchesChart(yk::detail::mac_japanese_kuten, oracle::Column::MacJapaneseOne,
        "Mac (value 1)", standard);
}

TEST(KutenTables, MacOnlyCharactersCarryTheirCategory)
{
    const struct {
        unsigned row, cell;
        uint8_t value;
    } cases[] = {
        { 11, 6, 2 }, { 11, 12, 2 }, { 12, 53, 2 }, { 12, 56, 2 }, { 13, 81, 2 }, { 13, 93, 2 },
        { 85, 2, 2 }, { 85, 65, 2 }, { 85, 47, 2 }, { 88, 1, 2 }, { 88, 78, 2 }, { 89, 86, 2 },
        { 9, 81, 3 }, { 10, 15, 3 }, { 10, 35, 3 }, { 11, 30, 3 }, { 12, 48, 3 },
        { 10, 14, 4 }, { 10, 34, 4 }, { 11, 94, 4 },
        { 10, 13, 5 }, { 10, 33, 5 }, { 14, 93, 5 }, { 14, 94, 5 },
        { 85, 18, 1 }, { 120, 94, 1 }, { 0, 0, 0 }, { 1, 0, 0 }, { 86, 1, 0 },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(yk::detail::mac_japanese_kuten[c.row][c.cell], c.value)
            << "row " << c.row << " cell " << c.cell;
    }
}

TEST(KutenTables, Sjis2jisAgreesWithTheTranscriptionOnEveryPair)
{
    for (unsigned lead = 0; lead < 256; ++lead) {
        for (unsigned trail = 0; trail < 256; ++trail) {
            auto kuten = yk::detail::sjis2jis(static_cast<uint8_t>(lead), static_cast<uint8_t>(trail));
            auto [row, cell] = oracle::sjis2jis(static_cast<uint8_t>(lead), static_cast<uint8_t>(trail));
            ASSERT_EQ(kuten.row, static_cast<unsigned>(row)) << std::hex << lead << ' ' << trail;
            ASSERT_EQ(kuten.cell, static_cast<unsigned>(cell)) << std::hex << lead << ' ' << trail;
        }
    }
}

TEST(KutenTables, Sjis2jisMapsTheCornersOfTheCodeSpace)
{
    const struct {
        uint8_t lead, trail;
        unsigned row, cell;
    } cases[] = {
        { 0x81, 0x40, 1, 1 }, { 0x81, 0x7E, 1, 63 }, { 0x81, 0x7F, 1, 64 }, { 0x81, 0x80, 1, 64 },
        { 0x81, 0x9E, 1, 94 }, { 0x81, 0x9F, 2, 1 }, { 0x81, 0xFC, 2, 94 }, { 0x81, 0xFD, 2, 0 },
        { 0x9F, 0xFC, 62, 94 }, { 0xE0, 0x40, 63, 1 }, { 0xEF, 0xFC, 94, 94 },
        { 0xF0, 0x40, 95, 1 }, { 0xFC, 0xFC, 120, 94 }, { 0x80, 0x40, 0, 0 }, { 0x81, 0x3F, 0, 0 },
    };
    for (const auto& c : cases) {
        auto kuten = yk::detail::sjis2jis(c.lead, c.trail);
        EXPECT_EQ(kuten.row, c.row) << hex(Bytes { char(c.lead), char(c.trail) });
        EXPECT_EQ(kuten.cell, c.cell) << hex(Bytes { char(c.lead), char(c.trail) });
    }
}

// Every JIS X 0208 character ICU reads from EUC-JP (row and cell are its bytes less 0xA0) and
// writes to Shift_JIS lands on the same row and cell through sjis2jis.
TEST(KutenTables, Sjis2jisAgreesWithICUOnJISX0208)
{
    int compared = 0;
    for (unsigned row = 1; row <= 84; ++row) {
        if (row >= 9 && row <= 15) // vendor rows, mapped to duplicates elsewhere
            continue;
        for (unsigned cell = 1; cell <= 94; ++cell) {
            Bytes euc { char(0xA0 + row), char(0xA0 + cell) };
            std::u16string text;
            Bytes sjis;
            if (!icuDecode("EUC-JP", euc, &text) || !icuEncode("Shift_JIS", text, sjis)
                || sjis.size() != 2)
                continue;
            auto kuten = yk::detail::sjis2jis(uint8_t(sjis[0]), uint8_t(sjis[1]));
            EXPECT_EQ(kuten.row, row) << hex(euc) << " -> " << hex(sjis);
            EXPECT_EQ(kuten.cell, cell) << hex(euc) << " -> " << hex(sjis);
            ++compared;
        }
    }
    EXPECT_GT(compared, 6000);
}

// In the JIS X 0208 rows (1-8, 16-84) the tables define exactly the cells ICU's EUC-JP
// converter reads.
TEST(KutenTables, DefineTheJISX0208CellsICUDefines)
{
    for (unsigned row = 1; row <= 84; ++row) {
        if (row >= 9 && row <= 15)
            continue;
        for (unsigned cell = 1; cell <= 94; ++cell) {
            bool icu = icuDecode("EUC-JP", Bytes { char(0xA0 + row), char(0xA0 + cell) });
            EXPECT_EQ(yk::detail::shift_jis_kuten[row][cell] != 0, icu)
                << "row " << row << " cell " << cell;
            EXPECT_EQ(yk::detail::mac_japanese_kuten[row][cell] == 1, icu)
                << "row " << row << " cell " << cell;
            EXPECT_EQ(yk::detail::dos_japanese_kuten[row][cell] != 0, icu)
                << "row " << row << " cell " << cell;
        }
    }
}

} // namespace
