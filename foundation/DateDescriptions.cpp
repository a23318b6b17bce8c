#include <Yarkit/DateDescriptions.h>

#include "foundation/SpinLockedSection.h"

#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/system/Calendar.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/Format.h>

namespace yk {

namespace {

constexpr int16_t RelativeDayBit = 8;
constexpr CalendarUnit DayStartUnits = CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay; // 30

// One of the three shared objects with its own spin lock; made on first use, kept for the
// process.
template <typename T>
struct Shared {
    SpinLock lock;
    Ref<T> object;
};

Shared<DateFormatter>& sharedTimeFormatter()
{
    static auto* shared = new Shared<DateFormatter>;
    return *shared;
}

Shared<DateFormatter>& sharedDateFormatter()
{
    static auto* shared = new Shared<DateFormatter>;
    return *shared;
}

Shared<Calendar>& sharedCalendar()
{
    static auto* shared = new Shared<Calendar>;
    return *shared;
}

Ref<DateFormatter> newFormatter()
{
    auto formatter = make<DateFormatter>();
    formatter->setFormatterBehavior(DateFormatterBehavior10_4);
    return formatter;
}

// Settings are changed only when they differ: each change makes ICU build its formatter again.
void setLocaleAndZone(DateFormatter& formatter, Locale* locale, TimeZone* zone)
{
    Ref<Locale> wantedLocale = locale ? Ref<Locale>(locale) : Locale::currentLocale();
    Ref<Locale> currentLocale = formatter.locale();
    if (wantedLocale != currentLocale && !wantedLocale->isEqual(currentLocale.get()))
        formatter.setLocale(wantedLocale.get());
    Ref<TimeZone> wantedZone = zone ? Ref<TimeZone>(zone) : TimeZone::localTimeZone();
    Ref<TimeZone> currentZone = formatter.timeZone();
    if (wantedZone != currentZone && !wantedZone->isEqualToTimeZone(currentZone.get()))
        formatter.setTimeZone(wantedZone.get());
}

// The days from today's start to the date's start in the shared calendar's zone.
int64_t dayDifferenceFromToday(const Date* date)
{
    auto& shared = sharedCalendar();
    return detail::spinLockedSection(shared.lock, [&] {
        if (!shared.object)
            shared.object = Calendar::autoupdatingCurrentCalendar();
        Calendar& calendar = *shared.object;
        auto now = Date::date();
        auto todayStart = calendar.dateFromComponents(calendar.components(DayStartUnits, now.get()));
        auto dateStart = calendar.dateFromComponents(calendar.components(DayStartUnits, date));
        return calendar.components(CalendarUnitDay, todayStart.get(), dateStart.get(), 0).day;
    });
}

const char* relativeDayKey(int64_t difference)
{
    switch (difference) {
    case -1:
        return YK_LOCALIZABLE("Date", "yesterday");
    case 0:
        return YK_LOCALIZABLE("Date", "today");
    case 1:
        return YK_LOCALIZABLE("Date", "tomorrow");
    case 2:
        return YK_LOCALIZABLE("Date", "nextday");
    default:
        return nullptr;
    }
}

Ref<String> relativeDayName(const char* key)
{
    static Bundle* const framework = Bundle::bundleWithIdentifier(String::withUTF8("org.yarkit.Yarkit").get()).get();
    static const Ref<String> empty = make<String>();
    static const Ref<String> table = String::withUTF8("Date");
    return framework->localizedStringForKey(String::withUTF8(key).get(), empty.get(), table.get());
}

} // namespace

DateFormatterStyle dateFormatterStyleForForm(int16_t form)
{
    const int16_t style = static_cast<int16_t>(form & ~RelativeDayBit);
    return style >= 1 && style <= 4 ? static_cast<DateFormatterStyle>(style) : DateFormatterNoStyle;
}

Ref<String> timeDescriptionWithTimeForm(const Date* date, int16_t timeForm, TimeZone* zone, Locale* locale)
{
    auto& shared = sharedTimeFormatter();
    return detail::spinLockedSection(shared.lock, [&] {
        if (!shared.object)
            shared.object = newFormatter();
        DateFormatter& formatter = *shared.object;
        if (formatter.dateStyle() != DateFormatterNoStyle)
            formatter.setDateStyle(DateFormatterNoStyle);
        const DateFormatterStyle style = dateFormatterStyleForForm(timeForm);
        if (formatter.timeStyle() != style)
            formatter.setTimeStyle(style);
        setLocaleAndZone(formatter, locale, zone);
        return formatter.stringFromDate(date);
    });
}

Ref<String> dateDescriptionWithDateForm(const Date* date, int16_t dateForm, TimeZone* zone, Locale* locale)
{
    if (dateForm & RelativeDayBit) {
        if (const char* key = relativeDayKey(dayDifferenceFromToday(date)))
            return relativeDayName(key);
    }
    auto& shared = sharedDateFormatter();
    return detail::spinLockedSection(shared.lock, [&] {
        if (!shared.object)
            shared.object = newFormatter();
        DateFormatter& formatter = *shared.object;
        const DateFormatterStyle style = dateFormatterStyleForForm(dateForm);
        if (formatter.dateStyle() != style)
            formatter.setDateStyle(style);
        if (formatter.timeStyle() != DateFormatterNoStyle)
            formatter.setTimeStyle(DateFormatterNoStyle);
        setLocaleAndZone(formatter, locale, zone);
        return formatter.stringFromDate(date);
    });
}

Ref<String> dateTimeDescriptionWithDateForm(const Date* date, int16_t dateForm, int16_t timeForm, const String* separator, TimeZone* zone, Locale* locale)
{
    auto dateText = dateDescriptionWithDateForm(date, dateForm, zone, locale);
    auto timeText = timeDescriptionWithTimeForm(date, timeForm, zone, locale);
    const bool hasDate = dateText && dateText->length();
    const bool hasTime = timeText && timeText->length();
    if (hasDate && hasTime) {
        static const Ref<String> space = String::withUTF8(" ");
        return format("%@%@%@", dateText.get(), separator ? separator : space.get(), timeText.get());
    }
    if (hasDate)
        return dateText;
    if (hasTime)
        return timeText;
    if (dateText || timeText)
        return make<String>();
    return nullptr;
}

Ref<DateFormatter> dateFormatterWithDateForm(int16_t dateForm, int16_t timeForm, bool allowNaturalLanguage)
{
    auto formatter = make<DateFormatter>(nullptr, allowNaturalLanguage);
    formatter->setFormatterBehavior(DateFormatterBehavior10_4);
    formatter->setDateStyle(dateFormatterStyleForForm(dateForm));
    formatter->setTimeStyle(dateFormatterStyleForForm(timeForm));
    return formatter;
}

} // namespace yk
