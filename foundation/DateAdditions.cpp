#include <Yarkit/DateAdditions.h>

#include <cmath>
#include <limits>

namespace yk {

namespace {

// The fraction of the second scaled and truncated; t - floor(t) is in [0, 1), also for t < 0.
int32_t fractionOfSecond(const Date* date, double scale)
{
    const double t = date->timeIntervalSinceReferenceDate();
    return static_cast<int32_t>((t - std::floor(t)) * scale);
}

// The seconds since 1970 truncated toward zero, held inside time_t's range.
time_t truncatedTime(const Date* date)
{
    const double t = std::trunc(date->timeIntervalSince1970());
    constexpr double lowest = static_cast<double>(std::numeric_limits<time_t>::min());
    constexpr double highest = static_cast<double>(std::numeric_limits<time_t>::max() / 2);
    if (!(t > lowest))
        return std::numeric_limits<time_t>::min();
    if (!(t < highest))
        return std::numeric_limits<time_t>::max() / 2;
    return static_cast<time_t>(t);
}

} // namespace

int32_t milliSecond(const Date* date)
{
    return fractionOfSecond(date, 1000.0);
}

int32_t microSecond(const Date* date)
{
    return fractionOfSecond(date, 1000000.0);
}

bool isBeforeDate(const Date* date, const Date* other)
{
    return date->compare(other) == OrderedAscending;
}

bool isAfterDate(const Date* date, const Date* other)
{
    return date->compare(other) == OrderedDescending;
}

bool getGMTime(const Date* date, struct tm* time)
{
    const time_t seconds = truncatedTime(date);
    gmtime_r(&seconds, time);
    return true;
}

bool getLocalTime(const Date* date, struct tm* time)
{
    const time_t seconds = truncatedTime(date);
    localtime_r(&seconds, time);
    return true;
}

Ref<Date> mktime(struct tm* time)
{
    return Date::dateWithTimeIntervalSince1970(static_cast<double>(std::mktime(time)));
}

} // namespace yk
