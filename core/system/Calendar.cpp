#include <Yarkit/core/system/Calendar.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/Date.h>

#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace yk {

YK_DEFINE_CLASS(Calendar);

namespace {

constexpr double MillisecondsPerSecond = 1000.0;

UDate icuDate(const Date* date)
{
    return (date->timeIntervalSinceReferenceDate() + TimeIntervalSince1970) * MillisecondsPerSecond;
}

icu::TimeZone* icuZone(const TimeZone& zone)
{
    return icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone.identifier()));
}

struct UnitField {
    CalendarUnit unit;
    UCalendarDateFields field;
    int64_t DateComponents::*member;
};

// Largest first, as differences are taken.
constexpr UnitField unitFields[] = {
    { CalendarUnitEra, UCAL_ERA, &DateComponents::era },
    { CalendarUnitYear, UCAL_YEAR, &DateComponents::year },
    { CalendarUnitMonth, UCAL_MONTH, &DateComponents::month },
    { CalendarUnitDay, UCAL_DATE, &DateComponents::day },
    { CalendarUnitHour, UCAL_HOUR_OF_DAY, &DateComponents::hour },
    { CalendarUnitMinute, UCAL_MINUTE, &DateComponents::minute },
    { CalendarUnitSecond, UCAL_SECOND, &DateComponents::second },
};

} // namespace

struct Calendar::Storage {
    std::unique_ptr<icu::Calendar> calendar;
    Ref<TimeZone> zone; // the zone the calendar computes in
    bool followsDefault { true };
    bool autoupdating { false };
};

Calendar::Calendar(bool autoupdating)
    : _storage(std::make_unique<Storage>())
{
    UErrorCode status = U_ZERO_ERROR;
    _storage->zone = TimeZone::defaultTimeZone();
    icu::Locale locale(Locale::currentLocale()->localeIdentifier().c_str());
    _storage->calendar = std::make_unique<icu::GregorianCalendar>(icuZone(*_storage->zone), locale, status);
    _storage->autoupdating = autoupdating;
}

Calendar::~Calendar() = default;

Ref<Calendar> Calendar::currentCalendar()
{
    return make<Calendar>(false);
}

Ref<Calendar> Calendar::autoupdatingCurrentCalendar()
{
    return make<Calendar>(true);
}

Calendar::Storage& Calendar::storage() const
{
    Storage& storage = *_storage;
    if (!storage.autoupdating || !storage.followsDefault)
        return storage;
    auto current = TimeZone::defaultTimeZone();
    if (!current->isEqualToTimeZone(storage.zone.get())) {
        storage.zone = current;
        storage.calendar->adoptTimeZone(icuZone(*current));
    }
    return storage;
}

Ref<TimeZone> Calendar::timeZone() const
{
    return storage().zone;
}

void Calendar::setTimeZone(TimeZone* zone)
{
    Storage& storage = *_storage;
    storage.followsDefault = !zone;
    storage.zone = zone ? Ref<TimeZone>(zone) : TimeZone::defaultTimeZone();
    storage.calendar->adoptTimeZone(icuZone(*storage.zone));
}

DateComponents Calendar::components(CalendarUnit units, const Date* date) const
{
    DateComponents result;
    if (!date)
        return result;
    icu::Calendar& calendar = *storage().calendar;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(icuDate(date), status);
    for (const auto& entry : unitFields) {
        if (!(units & entry.unit))
            continue;
        int64_t value = calendar.get(entry.field, status);
        // ICU counts months from 0; the platform from 1.
        result.*entry.member = entry.field == UCAL_MONTH ? value + 1 : value;
    }
    return U_SUCCESS(status) ? result : DateComponents {};
}

Ref<Date> Calendar::dateFromComponents(const DateComponents& components) const
{
    icu::Calendar& calendar = *storage().calendar;
    calendar.clear();
    for (const auto& entry : unitFields) {
        int64_t value = components.*entry.member;
        if (value == DateComponents::UndefinedDateComponent)
            continue;
        calendar.set(entry.field, static_cast<int32_t>(entry.field == UCAL_MONTH ? value - 1 : value));
    }
    UErrorCode status = U_ZERO_ERROR;
    UDate milliseconds = calendar.getTime(status);
    if (U_FAILURE(status))
        return nullptr;
    return Date::dateWithTimeIntervalSince1970(milliseconds / MillisecondsPerSecond);
}

DateComponents Calendar::components(CalendarUnit units, const Date* fromDate, const Date* toDate, uint32_t) const
{
    DateComponents result;
    if (!fromDate || !toDate)
        return result;
    icu::Calendar& calendar = *storage().calendar;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(icuDate(fromDate), status);
    const UDate target = icuDate(toDate);
    // fieldDifference advances the calendar by the difference, so smaller units count the rest.
    for (const auto& entry : unitFields) {
        if (units & entry.unit)
            result.*entry.member = calendar.fieldDifference(target, entry.field, status);
    }
    return U_SUCCESS(status) ? result : DateComponents {};
}

} // namespace yk
