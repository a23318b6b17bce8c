#include "core/CoreTestSupport.h"

#include <Yarkit/core/system/Calendar.h>
#include <Yarkit/core/system/DateFormatter.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/AttributedString.h>
#include <Yarkit/core/values/Date.h>

#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/timezone.h>

#include <memory>
#include <string>

namespace {

using yk::test::str;

// 2024-03-09 15:05:09 UTC.
constexpr double SampleSince1970 = 1709996709.0;

std::string icuText(icu::DateFormat::EStyle dateStyle, icu::DateFormat::EStyle timeStyle, const char* locale, const char* zone)
{
    std::unique_ptr<icu::DateFormat> formatter(icu::DateFormat::createDateTimeInstance(dateStyle, timeStyle, icu::Locale(locale)));
    formatter->adoptTimeZone(icu::TimeZone::createTimeZone(zone));
    icu::UnicodeString text;
    formatter->format(SampleSince1970 * 1000.0, text);
    std::string utf8;
    return text.toUTF8String(utf8);
}

TEST(DateFormatter, StylesCountAgainstICUsAndMatchItsText)
{
    // Our styles 1 to 4 are ICU's kShort to kFull, in the other order.
    const icu::DateFormat::EStyle icuStyles[] = { icu::DateFormat::kNone, icu::DateFormat::kShort, icu::DateFormat::kMedium, icu::DateFormat::kLong, icu::DateFormat::kFull };
    auto date = yk::Date::dateWithTimeIntervalSince1970(SampleSince1970);
    for (const char* locale : { "en_US", "ja_JP" }) {
        for (uint32_t dateStyle = 0; dateStyle <= 4; ++dateStyle) {
            for (uint32_t timeStyle = 0; timeStyle <= 4; ++timeStyle) {
                yk::DateFormatter formatter;
                formatter.setLocale(yk::Locale::localeWithLocaleIdentifier(locale).get());
                formatter.setTimeZone(yk::TimeZone::timeZoneWithName("Asia/Tokyo").get());
                formatter.setDateStyle(dateStyle);
                formatter.setTimeStyle(timeStyle);
                std::string expected = dateStyle || timeStyle ? icuText(icuStyles[dateStyle], icuStyles[timeStyle], locale, "Asia/Tokyo") : "";
                EXPECT_EQ(formatter.stringFromDate(date.get())->utf8(), expected) << locale << " " << dateStyle << "/" << timeStyle;
            }
        }
    }
    // ICU 72 and later put a narrow no-break space before AM/PM: kept, as the relative day
    // names' texts pin.
}

TEST(DateFormatter, ZoneFollowsTheDefaultUntilSetAndTextsRoundTrip)
{
    auto date = yk::Date::dateWithTimeIntervalSince1970(SampleSince1970);
    yk::DateFormatter formatter(str("yyyy-MM-dd HH:mm").get(), false);
    yk::TimeZone::setDefaultTimeZone(yk::TimeZone::timeZoneWithName("Asia/Tokyo").get());
    EXPECT_EQ(formatter.stringFromDate(date.get())->utf8(), "2024-03-10 00:05");
    yk::TimeZone::setDefaultTimeZone(yk::TimeZone::timeZoneWithName("America/New_York").get());
    EXPECT_EQ(formatter.stringFromDate(date.get())->utf8(), "2024-03-09 10:05");
    formatter.setTimeZone(yk::TimeZone::timeZoneWithName("UTC").get());
    EXPECT_EQ(formatter.stringFromDate(date.get())->utf8(), "2024-03-09 15:05");
    yk::TimeZone::setDefaultTimeZone(nullptr);

    yk::Ref<yk::Object> parsed;
    ASSERT_TRUE(formatter.getObjectValue(&parsed, str("2024-03-09 15:05").get(), nullptr));
    EXPECT_TRUE(parsed->isEqual(yk::Date::dateWithTimeIntervalSince1970(SampleSince1970 - 9).get()));
    yk::Ref<yk::String> error;
    EXPECT_FALSE(formatter.getObjectValue(&parsed, str("not a date").get(), &error));
    EXPECT_TRUE(error);

    auto attributed = formatter.attributedStringForObjectValue(date.get(), nullptr);
    EXPECT_EQ(attributed->string()->utf8(), "2024-03-09 15:05");
    EXPECT_FALSE(formatter.stringForObjectValue(str("a string").get()));
}

TEST(TimeZone, NamesLocalesAndTheDefault)
{
    EXPECT_FALSE(yk::TimeZone::timeZoneWithName("Mars/Olympus"));
    EXPECT_FALSE(yk::TimeZone::timeZoneWithName(""));
    auto tokyo = yk::TimeZone::timeZoneWithName("Asia/Tokyo");
    EXPECT_TRUE(tokyo->isEqualToTimeZone(yk::TimeZone::timeZoneWithName("Asia/Tokyo").get()));
    EXPECT_FALSE(tokyo->isEqualToTimeZone(yk::TimeZone::timeZoneWithName("UTC").get()));

    EXPECT_TRUE(yk::TimeZone::defaultTimeZone()->isEqualToTimeZone(yk::TimeZone::systemTimeZone().get()));
    yk::TimeZone::setDefaultTimeZone(tokyo.get());
    EXPECT_EQ(yk::TimeZone::localTimeZone(), tokyo);
    yk::TimeZone::setDefaultTimeZone(nullptr);
    EXPECT_TRUE(yk::TimeZone::defaultTimeZone()->isEqualToTimeZone(yk::TimeZone::systemTimeZone().get()));

    EXPECT_EQ(yk::Locale::localeWithLocaleIdentifier("ja-JP")->localeIdentifier(), "ja_JP");
    EXPECT_TRUE(yk::Locale::localeWithLocaleIdentifier("en_US")->isEqual(yk::Locale::localeWithLocaleIdentifier("en-US").get()));
}

TEST(Calendar, ComponentsAreTheZonesOwnAndTheAutoupdatingCalendarFollowsTheDefaultZone)
{
    auto calendar = yk::Calendar::currentCalendar();
    calendar->setTimeZone(yk::TimeZone::timeZoneWithName("Asia/Tokyo").get());
    auto fields = calendar->components(yk::CalendarUnitYear | yk::CalendarUnitMonth | yk::CalendarUnitDay, yk::Date::dateWithTimeIntervalSince1970(SampleSince1970).get());
    EXPECT_EQ(fields.year * 10000 + fields.month * 100 + fields.day, 20240310);
    EXPECT_EQ(fields.hour, yk::DateComponents::UndefinedDateComponent);

    // Day differences across midnight and daylight-saving days are pinned by the relative day names.
    auto following = yk::Calendar::autoupdatingCurrentCalendar();
    yk::TimeZone::setDefaultTimeZone(yk::TimeZone::timeZoneWithName("Pacific/Kiritimati").get());
    EXPECT_EQ(following->timeZone()->identifier(), "Pacific/Kiritimati");
    EXPECT_EQ(calendar->timeZone()->identifier(), "Asia/Tokyo");
    yk::TimeZone::setDefaultTimeZone(nullptr);
}

} // namespace
