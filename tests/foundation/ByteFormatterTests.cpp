#include "core/CommaDecimalLocale.h"
#include "core/LanguageScope.h"
#include "foundation/PinnedClock.h"

#include <Yarkit/YKByteFormatter.h>
#include <Yarkit/YStopwatch.h>
#include <Yarkit/core/values/AttributedString.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include <cfenv>
#include <random>
#include <vector>

#include "foundation/YKByteFormatterDetail.h"

namespace {

struct SizeRow { uint64_t count; const char* text; };

// Each row of the size table at its first and last count and one past, plus printf's rounding
// of ties (0.25 KB is "0.2 KB").
const SizeRow englishSizes[] = {
    { 0ull, "0 bytes" }, { 1ull, "1 byte" }, { 2ull, "2 bytes" }, { 99ull, "99 bytes" }, { 100ull, "0.1 KB" },
    { 256ull, "0.2 KB" }, { 102399ull, "100.0 KB" }, { 102400ull, "100 KB" }, { 102912ull, "100 KB" }, { 103936ull, "102 KB" },
    { 1048575ull, "1024 KB" }, { 1048576ull, "1.0 MB" }, { 104857599ull, "100.0 MB" }, { 104857600ull, "100 MB" },
    { 1073741823ull, "1024 MB" }, { 1073741824ull, "1.0 GB" }, { 107374182399ull, "100.0 GB" }, { 107374182400ull, "100 GB" },
    { 1099511627775ull, "1024 GB" }, { 1099511627776ull, "1.0 TB" }, { 109951162777599ull, "100.0 TB" },
    { 109951162777600ull, "100 TB" }, { 1125899906842619ull, "1024 TB" }, { 1125899906842620ull, "1.0 PB" },
    { 112589990684261999ull, "100.0 PB" }, { 112589990684262000ull, "100 PB" }, { UINT64_MAX, "16384 PB" },
};

// The cached texts and integer digits give what the table's own path gives: at every row's
// ends and one past, at ties, in both languages and in another rounding mode.
void expectTheTablesOwnTexts(const char* language)
{
    std::vector<uint64_t> counts { 256, 102912, 103936, 1536, 5368709120ull };
    for (const auto& row : englishSizes) {
        counts.push_back(row.count);
        counts.push_back(row.count + 1);
    }
    std::mt19937_64 random(12);
    for (int i = 0; i < 300; ++i)
        counts.push_back(random() >> (random() % 64));
    for (uint64_t count : counts)
        EXPECT_EQ(yk::YKByteFormatter::stringForBytes(count)->utf8(), yk::detail::stringForBytesPortable(count)->utf8()) << language << " " << count;
}

TEST(YKByteFormatter, SizeTableInEnglishJapaneseAndUnderACommaLocale)
{
    for (const auto& row : englishSizes)
        EXPECT_EQ(yk::YKByteFormatter::stringForBytes(row.count)->utf8(), row.text) << row.count;
    expectTheTablesOwnTexts("en");
    std::fesetround(FE_UPWARD);
    expectTheTablesOwnTexts("en, rounding up");
    std::fesetround(FE_TONEAREST);

    const SizeRow japaneseSizes[] = {
        { 0, "0 バイト" }, { 1, "1 バイト" }, { 2, "2 バイト" }, { 99, "99 バイト" }, { 100, "0.1 KB" }, { 1125899906842620ull, "1.0 PB" },
    };
    {
        yk::test::LanguageScope language("ja");
        for (const auto& row : japaneseSizes)
            EXPECT_EQ(yk::YKByteFormatter::stringForBytes(row.count)->utf8(), row.text) << row.count;
        expectTheTablesOwnTexts("ja");
    }
    // The cached Japanese texts are not used once the language is English again.
    EXPECT_EQ(yk::YKByteFormatter::stringForBytes(2)->utf8(), "2 bytes");

    yk::test::CommaDecimalLocale comma;
    if (comma.ok()) {
        EXPECT_EQ(yk::YKByteFormatter::stringForBytes(1048576)->utf8(), "1.0 MB");
    }
}

TEST(YKByteFormatter, FormatterMethods)
{
    auto formatter = yk::make<yk::YKByteFormatter>();
    auto number = yk::Number::numberWithUnsignedLongLong(1048576);
    EXPECT_EQ(formatter->stringForObjectValue(number.get())->utf8(), "1.0 MB");
    EXPECT_FALSE(formatter->stringForObjectValue(nullptr));
    EXPECT_EQ(formatter->editingStringForObjectValue(number.get())->utf8(), "1048576");
    EXPECT_FALSE(formatter->editingStringForObjectValue(nullptr));
    EXPECT_EQ(formatter->attributedStringForObjectValue(number.get(), nullptr)->string()->utf8(), "1.0 MB");

    const struct { const char* text; double value; } parses[] = { { "1536", 1536 }, { " -2.5 KB", 3 }, { "12.49", 12 }, { "abc", 0 }, { "", 0 } };
    for (const auto& row : parses) {
        yk::Ref<yk::Object> value;
        EXPECT_TRUE(formatter->getObjectValue(&value, yk::String::withUTF8(row.text).get(), nullptr));
        EXPECT_EQ(static_cast<yk::Number*>(value.get())->doubleValue(), row.value) << row.text;
    }
}

TEST(YStopwatch, IntervalsAndTheirUnits)
{
    // One second after the reference date, where a double resolves nanoseconds.
    yk::test::PinnedClock clock(yk::TimeIntervalSince1970 + 1, "UTC");
    auto watch = yk::YStopwatch::watch();
    EXPECT_EQ(watch->description()->utf8(), "0.000 [s]");

    watch->start();
    yk::test::PinnedClock::advance(0.25);
    watch->start(); // ignored: the first start stands
    yk::test::PinnedClock::advance(0.25);
    EXPECT_EQ(watch->description()->utf8(), "500.000 [ms]");
    watch->stop();
    yk::test::PinnedClock::advance(5);
    watch->stop(); // ignored: the first stop stands
    EXPECT_EQ(watch->elapsedTimeInterval(), 0.5);

    const struct { double seconds; const char* text; } units[] = { { 1.0, "1000.000 [ms]" }, { 2.5, "2.500 [s]" }, { 0.0005, "500.000 [us]" }, { 0.0000005, "500.000 [ns]" }, { -2.0, "-2.000 [s]" } };
    for (const auto& row : units) {
        watch->start();
        yk::test::PinnedClock::advance(row.seconds);
        watch->stop();
        EXPECT_EQ(watch->description()->utf8(), row.text) << row.seconds;
    }
}

} // namespace
