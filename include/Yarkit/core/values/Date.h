#pragma once

#include <Yarkit/core/values/ComparisonResult.h>
#include <Yarkit/core/runtime/Object.h>

namespace yk {

// Seconds; intervals between dates and since reference dates.
using TimeInterval = double;

// The seconds from 1970-01-01 to 2001-01-01 (UTC).
inline constexpr TimeInterval TimeIntervalSince1970 = 978307200.0;

// An immutable point in time: seconds since the reference date 2001-01-01 00:00:00 UTC.
class Date : public Object {
    YK_OBJECT(Date, Object)
public:
    Date() = default;
    explicit Date(TimeInterval sinceReferenceDate)
        : _interval(sinceReferenceDate)
    {
    }

    // The current time, from the process's clock (the system's real-time clock unless replaced).
    [[nodiscard]] static Ref<Date> date();
    [[nodiscard]] static Ref<Date> dateWithTimeIntervalSinceReferenceDate(TimeInterval seconds);
    [[nodiscard]] static Ref<Date> dateWithTimeIntervalSince1970(TimeInterval seconds);
    [[nodiscard]] static Ref<Date> dateWithTimeIntervalSinceNow(TimeInterval seconds);
    // The current time as seconds since the reference date. Everything that asks for "now"
    // (Date::date(), the relative day names, the stopwatch) asks this.
    static TimeInterval timeIntervalSinceReferenceDateNow();

    // The clock behind "now": seconds since the reference date. Replacing it is how tests and
    // the tool pin the time; a null clock restores the system's real-time clock. Returns the
    // previous clock (null for the system's). Any thread; takes effect at once everywhere.
    using Clock = TimeInterval (*)();
    static Clock setClock(Clock clock);

    TimeInterval timeIntervalSinceReferenceDate() const { return _interval; }
    TimeInterval timeIntervalSince1970() const { return _interval + TimeIntervalSince1970; }
    // Positive when this date is later than other.
    TimeInterval timeIntervalSinceDate(const Date* other) const;
    TimeInterval timeIntervalSinceNow() const;
    [[nodiscard]] Ref<Date> dateByAddingTimeInterval(TimeInterval seconds) const;

    ComparisonResult compare(const Date* other) const;
    bool isEqualToDate(const Date* other) const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "2001-01-01 00:00:00 +0000" (UTC, whole seconds).
    Ref<String> description() const override;

private:
    TimeInterval _interval { 0 };
};

} // namespace yk
