#include "text/KutenTables.h"

#include <initializer_list>
#include <span>
#include <string_view>

namespace yk::detail {
namespace {

// Cells of a run of rows, written as in the code charts: "1-14, 26-33, 94".
struct RowCells {
    unsigned firstRow, lastRow;
    std::string_view cells;
};

// The Mac-only characters: their category value and cells.
struct CellValues {
    uint8_t value;
    unsigned row;
    std::string_view cells;
};

constexpr unsigned parseNumber(std::string_view text, size_t& position)
{
    unsigned number = 0;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9')
        number = number * 10 + static_cast<unsigned>(text[position++] - '0');
    return number;
}

constexpr void setCells(KutenTable& table, unsigned row, std::string_view cells, uint8_t value)
{
    size_t position = 0;
    while (position < cells.size()) {
        while (cells[position] == ' ' || cells[position] == ',')
            ++position;
        unsigned first = parseNumber(cells, position);
        unsigned last = first;
        if (position < cells.size() && cells[position] == '-') {
            ++position;
            last = parseNumber(cells, position);
        }
        for (unsigned cell = first; cell <= last; ++cell)
            table.at(row).at(cell) = value;
    }
}

// Fills the rows of `shared` and `rows` with 1, then overwrites `otherValues`.
constexpr KutenTable buildTable(std::span<const RowCells> shared,
    std::initializer_list<RowCells> rows, std::initializer_list<CellValues> otherValues = {})
{
    KutenTable table {};
    auto fill = [&table](const RowCells& run) {
        for (unsigned row = run.firstRow; row <= run.lastRow; ++row)
            setCells(table, row, run.cells, 1);
    };
    for (const RowCells& run : shared)
        fill(run);
    for (const RowCells& run : rows)
        fill(run);
    for (const CellValues& values : otherValues)
        setCells(table, values.row, values.cells, values.value);
    return table;
}

// JIS X 0208 (with row 15 as the three tables have it), common to all three tables.
constexpr RowCells jisX0208Rows[] = {
    { 1, 1, "1-94" },
    { 2, 2, "1-14, 26-33, 42-48, 60-74, 82-89, 94" },
    { 3, 3, "16-25, 33-58, 65-90" },
    { 4, 4, "1-83" },
    { 5, 5, "1-86" },
    { 6, 6, "1-24, 33-56" },
    { 7, 7, "1-33, 49-81" },
    { 8, 8, "1-32" },
    { 15, 15, "1-3, 21-22, 41, 43-46" },
    { 16, 46, "1-94" },
    { 47, 47, "1-51" },
    { 48, 83, "1-94" },
    { 84, 84, "1-6" },
};

constexpr KutenTable shiftJISTable = buildTable(jisX0208Rows,
    {
        { 95, 120, "1-94" },
    });

constexpr KutenTable dosJapaneseTable = buildTable(jisX0208Rows,
    {
        { 9, 9, "1-20, 31-50, 61-69, 82-90" },
        { 10, 10, "1-12, 21-32, 61-86" },
        { 11, 11, "1-5, 7-11, 13-29, 91-93" },
        { 12, 12, "1-8, 21-23, 41-47, 49-52" },
        { 13, 13, "1-30, 32-54, 63-92, 94" },
        { 14, 14, "1-23, 31-35, 71-74, 92" },
        { 85, 85, "18, 29, 37, 42-45, 48-59" },
        { 89, 91, "1-94" },
        { 92, 92, "1-78, 81-94" },
        { 95, 118, "1-94" },
        { 119, 119, "1-12" },
    });

// Every defined cell first gets 1; the Mac-only characters then get their category 2 to 5.
constexpr KutenTable macJapaneseTable = buildTable(jisX0208Rows,
    {
        { 9, 9, "1-20, 31-50, 61-69, 81-90" },
        { 10, 10, "1-15, 21-35, 61-86" },
        { 11, 11, "1-30, 91-94" },
        { 12, 12, "1-8, 21-23, 41-56" },
        { 13, 13, "1-25, 81-94" },
        { 14, 14, "1-23, 31-35, 71-74, 92-94" },
        { 85, 85, "2-3, 17-18, 28-30, 33-37, 42-59, 65" },
        { 88, 88, "1, 3, 5, 7, 9, 35, 67, 69, 71, 78" },
        { 89, 89, "1, 3, 5, 7, 9, 35, 67, 69, 71, 78, 85-86" },
        { 95, 120, "1-94" },
    },
    {
        { 2, 11, "6, 12" },
        { 2, 12, "53-56" },
        { 2, 13, "81-82, 93" },
        { 2, 85, "2-3, 17, 28, 30, 33-36, 46-47, 65" },
        { 2, 88, "1, 3, 5, 7, 9, 35, 67, 69, 71, 78" },
        { 2, 89, "1, 3, 5, 7, 9, 35, 67, 69, 71, 78, 85-86" },
        { 3, 9, "81" },
        { 3, 10, "15, 35" },
        { 3, 11, "30" },
        { 3, 12, "48" },
        { 4, 10, "14, 34" },
        { 4, 11, "94" },
        { 5, 10, "13, 33" },
        { 5, 14, "93-94" },
    });

} // namespace

const KutenTable shift_jis_kuten = shiftJISTable;
const KutenTable mac_japanese_kuten = macJapaneseTable;
const KutenTable dos_japanese_kuten = dosJapaneseTable;

} // namespace yk::detail
