#include <Yarkit/core/values/Date.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <ctime>
#include <functional>

namespace yk {

YK_DEFINE_CLASS(Date);

namespace {

std::atomic<Date::Clock> replacedClock { nullptr };

TimeInterval systemClock()
{
    using namespace std::chrono;
    auto sinceEpoch = duration_cast<duration<double>>(system_clock::now().time_since_epoch());
    return sinceEpoch.count() - TimeIntervalSince1970;
}

} // namespace

TimeInterval Date::timeIntervalSinceReferenceDateNow()
{
    Clock clock = replacedClock.load(std::memory_order_acquire);
    return clock ? clock() : systemClock();
}

Date::Clock Date::setClock(Clock clock)
{
    return replacedClock.exchange(clock, std::memory_order_acq_rel);
}

Ref<Date> Date::date()
{
    return make<Date>(timeIntervalSinceReferenceDateNow());
}

Ref<Date> Date::dateWithTimeIntervalSinceReferenceDate(TimeInterval seconds)
{
    return make<Date>(seconds);
}

Ref<Date> Date::dateWithTimeIntervalSince1970(TimeInterval seconds)
{
    return make<Date>(seconds - TimeIntervalSince1970);
}

Ref<Date> Date::dateWithTimeIntervalSinceNow(TimeInterval seconds)
{
    return make<Date>(timeIntervalSinceReferenceDateNow() + seconds);
}

TimeInterval Date::timeIntervalSinceDate(const Date* other) const
{
    return other ? _interval - other->_interval : _interval;
}

TimeInterval Date::timeIntervalSinceNow() const
{
    return _interval - timeIntervalSinceReferenceDateNow();
}

Ref<Date> Date::dateByAddingTimeInterval(TimeInterval seconds) const
{
    return make<Date>(_interval + seconds);
}

ComparisonResult Date::compare(const Date* other) const
{
    if (!other)
        return OrderedDescending;
    return _interval < other->_interval ? OrderedAscending : _interval > other->_interval ? OrderedDescending : OrderedSame;
}

bool Date::isEqualToDate(const Date* other) const
{
    return other && other->_interval == _interval;
}

bool Date::isEqual(const Object* other) const
{
    return other == this || isEqualToDate(dynamic_cast<const Date*>(other));
}

size_t Date::hash() const
{
    return std::hash<double>()(_interval);
}

Ref<String> Date::description() const
{
    time_t seconds = static_cast<time_t>(std::floor(timeIntervalSince1970()));
    struct tm utc;
    gmtime_r(&seconds, &utc);
    char text[64];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S +0000", &utc);
    return String::withUTF8(text);
}

} // namespace yk
