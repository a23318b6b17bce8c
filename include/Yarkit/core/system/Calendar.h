#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <memory>

namespace yk {

class Date;
class Locale;
class TimeZone;

// Calendar units, combined with |, with the platform's values.
using CalendarUnit = uint32_t;
enum : CalendarUnit {
    CalendarUnitEra = 2,
    CalendarUnitYear = 4,
    CalendarUnitMonth = 8,
    CalendarUnitDay = 16,
    CalendarUnitHour = 32,
    CalendarUnitMinute = 64,
    CalendarUnitSecond = 128,
};

// The fields of a date in a calendar; a field not asked for is UndefinedDateComponent.
struct DateComponents {
    static constexpr int64_t UndefinedDateComponent = 0x7FFFFFFFFFFFFFFF;
    int64_t era { UndefinedDateComponent };
    int64_t year { UndefinedDateComponent };
    int64_t month { UndefinedDateComponent };
    int64_t day { UndefinedDateComponent };
    int64_t hour { UndefinedDateComponent };
    int64_t minute { UndefinedDateComponent };
    int64_t second { UndefinedDateComponent };
};

// A Gregorian calendar of a locale and a time zone, computed by ICU. Not a thread-safe object:
// use one calendar from one thread at a time.
//
// currentCalendar is fixed to the default time zone of its making; autoupdatingCurrentCalendar
// follows the default zone as setDefaultTimeZone changes it.
class Calendar final : public Object {
    YK_OBJECT(Calendar, Object)
public:
    // A new calendar of the current locale and the default time zone.
    [[nodiscard]] static Ref<Calendar> currentCalendar();
    // The same, following setDefaultTimeZone.
    [[nodiscard]] static Ref<Calendar> autoupdatingCurrentCalendar();
    ~Calendar() override;

    Ref<TimeZone> timeZone() const;
    // Null restores the default zone (and, for an autoupdating calendar, keeps following it).
    void setTimeZone(TimeZone* zone);

    // components:fromDate: the fields of units, in this calendar's zone.
    DateComponents components(CalendarUnit units, const Date* date) const;
    // dateFromComponents: the first instant of the fields given (missing smaller fields are
    // their least values), or null when the fields make no date.
    [[nodiscard]] Ref<Date> dateFromComponents(const DateComponents& components) const;
    // components:fromDate:toDate:options: the difference in the units asked for, largest first;
    // negative when toDate is earlier. Options are ignored (0).
    DateComponents components(CalendarUnit units, const Date* fromDate, const Date* toDate, uint32_t options) const;

private:
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);
    explicit Calendar(bool autoupdating);
    struct Storage;
    // Brings the autoupdating calendar's zone up to date; returns the ICU calendar.
    Storage& storage() const;

    const std::unique_ptr<Storage> _storage;
};

} // namespace yk
