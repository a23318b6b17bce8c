#include "core/LanguageScope.h"
#include "foundation/PinnedClock.h"
#include "foundation/SpinLockedSection.h"

#include <Yarkit/DateAdditions.h>
#include <Yarkit/DateDescriptions.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

yk::Ref<yk::Date> since1970(double seconds)
{
    return yk::Date::dateWithTimeIntervalSince1970(seconds);
}

// The zone argument is null for nil.
struct DescriptionRow { const char* defaultZone; double now; double date; int16_t dateForm; int16_t timeForm; const char* zone; const char* expected; };

TEST(DateDescriptions, RelativeDaysAreTheDefaultZonesCalendarDays)
{
    const DescriptionRow rows[] = {
        // Tokyo, now 2024-03-10 00:05: earlier today, ten minutes ago (yesterday), ahead.
        { "Asia/Tokyo", 1709996700, 1709996700 - 60, 9, 1, nullptr, "today 12:04\u202FAM" },
        { "Asia/Tokyo", 1709996700, 1709996100, 9, 0, nullptr, "yesterday" },
        { "Asia/Tokyo", 1709996100, 1709996700, 9, 0, nullptr, "tomorrow" },
        { "Asia/Tokyo", 1709996700, 1709996700 + 2 * 86400, 9, 0, nullptr, "nextday" },
        { "Asia/Tokyo", 1709996700, 1709996700 + 3 * 86400, 9, 0, nullptr, "3/13/24" },
        { "Asia/Tokyo", 1709996700, 1709996700 - 2 * 86400, 10, 0, nullptr, "Mar 8, 2024" },
        // New York's 23-hour and 25-hour days: elapsed seconds / 86400 would be wrong.
        { "America/New_York", 1710048600, 1710130200, 9, 0, nullptr, "tomorrow" },
        { "America/New_York", 1730607000, 1730695800, 9, 0, nullptr, "today" },
        // The zone argument disagrees: the name follows the default zone, the time the argument.
        { "Asia/Tokyo", 1709992800, 1710000300, 9, 1, "America/New_York", "tomorrow 11:05\u202FAM" },
        { "America/New_York", 1709992800, 1710000300, 9, 1, "America/New_York", "today 11:05\u202FAM" },
        // Bit 8 without a style: the name when there is one, else no date part.
        { "Asia/Tokyo", 1709996700, 1709996700, 8, 0, nullptr, "today" },
        { "Asia/Tokyo", 1709996700, 1709996700 - 5 * 86400, 8, 1, "UTC", "3:05\u202FPM" },
        // The combined method's empty and single cases.
        { "UTC", 1709996700, 1709996700, 0, 0, nullptr, "" },
        { "UTC", 1709996700, 1709996700, 0, 2, nullptr, "3:05:00\u202FPM" },
        { "UTC", 1709996700, 1709996700, 1, 0, nullptr, "3/9/24" },
        { "UTC", 1709996700, 1709996700, 12, 4, nullptr, "today 3:05:00\u202FPM Coordinated Universal Time" },
    };
    auto english = yk::Locale::localeWithLocaleIdentifier("en_US");
    for (const auto& row : rows) {
        yk::test::PinnedClock clock(row.now, row.defaultZone);
        auto zone = row.zone ? yk::TimeZone::timeZoneWithName(row.zone) : nullptr;
        auto text = yk::dateTimeDescriptionWithDateForm(since1970(row.date).get(), row.dateForm, row.timeForm, nullptr, zone.get(), english.get());
        EXPECT_EQ(text->utf8(), row.expected) << row.defaultZone << " now " << row.now << " date " << row.date << " forms " << row.dateForm << "/" << row.timeForm;
    }
}

TEST(DateDescriptions, SeparatorsLanguagesAndTheFormatter)
{
    yk::test::PinnedClock clock(1709996700, "Asia/Tokyo");
    auto date = since1970(1709996700);
    auto japanese = yk::Locale::localeWithLocaleIdentifier("ja_JP");
    auto separator = yk::String::withUTF8(" | ");
    EXPECT_EQ(yk::dateTimeDescriptionWithDateForm(date.get(), 1, 1, separator.get(), nullptr, japanese.get())->utf8(), "2024/03/10 | 0:05");
    {
        yk::test::LanguageScope language("ja");
        EXPECT_EQ(yk::dateTimeDescriptionWithDateForm(date.get(), 9, 1, nullptr, nullptr, japanese.get())->utf8(), "今日 0:05");
        EXPECT_EQ(yk::dateDescriptionWithDateForm(since1970(1709996700 + 2 * 86400).get(), 9, nullptr, japanese.get())->utf8(), "明後日");
    }

    auto formatter = yk::dateFormatterWithDateForm(11, 2, false);
    EXPECT_EQ(formatter->formatterBehavior(), yk::DateFormatterBehavior10_4);
    EXPECT_EQ(formatter->dateStyle(), yk::DateFormatterLongStyle);
    EXPECT_EQ(formatter->timeStyle(), yk::DateFormatterMediumStyle);
    const int16_t forms[] = { 0, 1, 4, 5, 8, 9, 12, 13, -1, 0x108 };
    const yk::DateFormatterStyle styles[] = { 0, 1, 4, 0, 0, 1, 4, 0, 0, 0 };
    for (size_t i = 0; i < std::size(forms); ++i)
        EXPECT_EQ(yk::dateFormatterStyleForForm(forms[i]), styles[i]) << forms[i];
}

// Four threads with mixed locales, zones and forms get the single-threaded texts.
TEST(DateDescriptions, ThreadsShareTheFormattersSafely)
{
    yk::test::PinnedClock clock(1709996700, "Asia/Tokyo");
    const char* locales[] = { "en_US", "ja_JP", "de_DE", "fr_FR" };
    const char* zones[] = { "UTC", "Asia/Tokyo", "America/New_York", "Europe/Paris" };
    auto textFor = [&](int i) {
        auto locale = yk::Locale::localeWithLocaleIdentifier(locales[i % 4]);
        auto zone = yk::TimeZone::timeZoneWithName(zones[(i / 4) % 4]);
        auto date = since1970(1709996700 + (i % 5) * 43200.0);
        return yk::dateTimeDescriptionWithDateForm(date.get(), static_cast<int16_t>(i % 13), static_cast<int16_t>(i % 5), nullptr, zone.get(), locale.get())->utf8();
    };
    constexpr int cases = 80;
    std::vector<std::string> expected;
    for (int i = 0; i < cases; ++i)
        expected.push_back(textFor(i));
    std::vector<std::thread> threads;
    std::vector<int> mismatches(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 5; ++round) {
                for (int i = t; i < cases; i += 2)
                    mismatches[t] += textFor(i) != expected[i];
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

TEST(DateAdditions, FractionsComparisonsAndBrokenDownTime)
{
    const struct { double sinceReference; int32_t milli; int32_t micro; } fractions[] = {
        { 1.9996, 999, 999600 }, { -0.25, 750, 750000 }, { -3.0, 0, 0 }, { 12.5, 500, 500000 },
    };
    for (const auto& row : fractions) {
        auto date = yk::Date::dateWithTimeIntervalSinceReferenceDate(row.sinceReference);
        EXPECT_EQ(yk::milliSecond(date.get()), row.milli) << row.sinceReference;
        EXPECT_EQ(yk::microSecond(date.get()), row.micro) << row.sinceReference;
    }

    auto early = since1970(100), late = since1970(200);
    EXPECT_TRUE(yk::isBeforeDate(early.get(), late.get()));
    EXPECT_TRUE(yk::isAfterDate(late.get(), early.get()));
    EXPECT_FALSE(yk::isBeforeDate(early.get(), since1970(100).get()));
    EXPECT_FALSE(yk::isAfterDate(early.get(), since1970(100).get()));

    // Truncation toward zero: 1.5 s before 1970 is the second -1, 23:59:59.
    struct tm time {};
    EXPECT_TRUE(yk::getGMTime(since1970(-1.5).get(), &time));
    EXPECT_EQ(time.tm_year, 69);
    EXPECT_EQ(time.tm_sec, 59);
    EXPECT_TRUE(yk::getGMTime(since1970(1709996709.75).get(), &time));
    EXPECT_EQ(time.tm_hour, 15);
    EXPECT_EQ(time.tm_sec, 9);
    EXPECT_TRUE(yk::getLocalTime(since1970(1709996709.75).get(), &time));
    EXPECT_EQ(yk::mktime(&time)->timeIntervalSince1970(), 1709996709.0);
}

// A yk::Exception inside a locked section releases the lock; any other thrown object leaves it
// held (deliberately). tryLock keeps the test from hanging either way.
TEST(DateDescriptions, LockedSectionsReleaseOnlyForFrameworkExceptions)
{
    yk::SpinLock lock;
    EXPECT_THROW(yk::detail::spinLockedSection(lock, []() -> int { yk::raise("Test", "inside"); }), yk::Exception);
    ASSERT_TRUE(lock.tryLock());
    lock.unlock();
    EXPECT_THROW(yk::detail::spinLockedSection(lock, []() -> int { throw std::runtime_error("other"); }), std::runtime_error);
    EXPECT_FALSE(lock.tryLock());
    lock.unlock();
    EXPECT_EQ(yk::detail::spinLockedSection(lock, [] { return 7; }), 7);
    EXPECT_TRUE(lock.tryLock());
    lock.unlock();
}

} // namespace
