#pragma once

// NSDate(Yarkit): sub-second parts of a date, comparisons, and conversions to and from the C
// library's broken-down time. Free functions that take the date first; none retains it.

#include <Yarkit/core/values/Date.h>

#include <cstdint>
#include <ctime>

namespace yk {

// The fraction of the second, (t - floor(t)) of the seconds since the reference date, in
// thousandths (0 to 999) or millionths (0 to 999999), truncated; never negative, also before
// 2001.
int32_t milliSecond(const Date* date);
int32_t microSecond(const Date* date);

// isBeforeDate: / isAfterDate: compare answers ascending / descending; both false for an
// equal date.
bool isBeforeDate(const Date* date, const Date* other);
bool isAfterDate(const Date* date, const Date* other);

// getGMTime: / getLocalTime: fill *time with the date, in UTC or in the C library's local zone
// (TZ), from the seconds since 1970 truncated toward zero. Always true.
bool getGMTime(const Date* date, struct tm* time);
bool getLocalTime(const Date* date, struct tm* time);

// +mktime: the date of a broken-down local time, as the C library's mktime reads it (which may
// normalise *time).
[[nodiscard]] Ref<Date> mktime(struct tm* time);

} // namespace yk
