#include "tools/DateArguments.h"

#include <cmath>
#include <cstdint>
#include <ctime>

namespace yk::tool {

namespace {

// Reads exactly `digits` decimal digits at text[at].
std::optional<int> fixedNumber(std::string_view text, size_t at, size_t digits)
{
    if (at + digits > text.size())
        return std::nullopt;
    int value = 0;
    for (size_t i = at; i < at + digits; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return std::nullopt;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "@" then [sign] digits [. digits]: the whole text, nothing else.
std::optional<double> parseSeconds(std::string_view text)
{
    size_t at = 0;
    bool negative = false;
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        negative = text[at++] == '-';
    double whole = 0;
    size_t digits = 0;
    for (; at < text.size() && isDigit(text[at]); ++at, ++digits)
        whole = whole * 10 + (text[at] - '0');
    double fraction = 0, scale = 1;
    if (at < text.size() && text[at] == '.') {
        for (++at; at < text.size() && isDigit(text[at]); ++at, ++digits)
            fraction += (text[at] - '0') * (scale /= 10);
    }
    if (!digits || at != text.size() || !std::isfinite(whole))
        return std::nullopt;
    return negative ? -(whole + fraction) : whole + fraction;
}

// The days from 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's days_from_civil).
int64_t daysFromCivil(int64_t year, int month, int day)
{
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

int daysInMonth(int year, int month)
{
    static constexpr int days[] = { 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31 };
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

std::optional<double> parseRFC3339(std::string_view text)
{
    auto year = fixedNumber(text, 0, 4), month = fixedNumber(text, 5, 2), day = fixedNumber(text, 8, 2);
    auto hour = fixedNumber(text, 11, 2), minute = fixedNumber(text, 14, 2), second = fixedNumber(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second || text[4] != '-' || text[7] != '-' || text[13] != ':' || text[16] != ':')
        return std::nullopt;
    if (text[10] != 'T' && text[10] != 't' && text[10] != ' ')
        return std::nullopt;
    if (*month < 1 || *month > 12 || *day < 1 || *day > daysInMonth(*year, *month) || *hour > 23 || *minute > 59 || *second > 60)
        return std::nullopt;
    size_t at = 19;
    double fraction = 0, scale = 1;
    if (at < text.size() && text[at] == '.') {
        size_t digits = 0;
        for (++at; at < text.size() && isDigit(text[at]); ++at, ++digits)
            fraction += (text[at] - '0') * (scale /= 10);
        if (!digits)
            return std::nullopt;
    }
    if (at >= text.size())
        return std::nullopt;
    int offset = 0;
    if (text[at] == 'Z' || text[at] == 'z') {
        ++at;
    } else if (text[at] == '+' || text[at] == '-') {
        auto offsetHour = fixedNumber(text, at + 1, 2), offsetMinute = fixedNumber(text, at + 4, 2);
        if (!offsetHour || !offsetMinute || text[at + 3] != ':' || *offsetHour > 23 || *offsetMinute > 59)
            return std::nullopt;
        offset = (*offsetHour * 60 + *offsetMinute) * 60 * (text[at] == '-' ? -1 : 1);
        at += 6;
    } else {
        return std::nullopt;
    }
    if (at != text.size())
        return std::nullopt;
    const int64_t days = daysFromCivil(*year, *month, *day);
    return static_cast<double>(days * 86400 + *hour * 3600 + *minute * 60 + *second - offset) + fraction;
}

} // namespace

std::optional<double> parseMoment(std::string_view text)
{
    if (!text.empty() && text[0] == '@')
        return parseSeconds(text.substr(1));
    if (text.size() < 20)
        return std::nullopt;
    return parseRFC3339(text);
}

} // namespace yk::tool
