#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include <Yarkit/DateDescriptions.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/Date.h>

#include "tools/CommandLine.h"
#include "tools/DateArguments.h"

namespace yk::tool {

namespace {

constexpr const char* dateHelp = R"(Usage: yarkit date [OPTIONS] WHEN...

Prints each WHEN as a message list shows it: a date text and a time text, the date named
relative to today ("today", "yesterday", "tomorrow", "nextday") when it is near. WHEN is
@SECONDS since 1970 (fractions allowed) or an RFC 3339 date and time
(2024-03-09T15:05:09Z, 2024-03-10 00:05:09+09:00).

  --date-form N     the date's form (default 9): 1 short, 2 medium, 3 long, 4 full, other
                    values leave the date out; add 8 for relative day names
  --time-form N     the time's form (default 1), as the date's without relative names
  --separator TEXT  between the date and the time (default one space)
  --time-zone NAME  the zone of the texts (default the default zone, from TZ)
  --locale ID       the locale of the texts (default the environment's)
  --now WHEN        the moment taken as now for relative day names
  --help            show this help

Day names follow the messages language (LANGUAGE, LC_MESSAGES).
Exit status: 0 on success, 2 for a bad number, zone or date.
)";

double pinnedNow = 0;

TimeInterval pinnedClock()
{
    return pinnedNow;
}

std::optional<int16_t> parseForm(const std::string& text)
{
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || value < INT16_MIN || value > INT16_MAX)
        return std::nullopt;
    return static_cast<int16_t>(value);
}

} // namespace

int runDate(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "date", dateHelp,
                                          { { "--date-form", true }, { "--time-form", true }, { "--separator", true }, { "--time-zone", true },
                                              { "--locale", true }, { "--now", true } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    auto option = [&](const char* name, const char* fallback) { return arguments->has(name) ? arguments->options.at(name) : std::string(fallback); };
    auto dateForm = parseForm(option("--date-form", "9"));
    auto timeForm = parseForm(option("--time-form", "1"));
    if (!dateForm || !timeForm)
        return usageError("date", "a form must be a number from -32768 to 32767");
    Ref<TimeZone> zone;
    if (arguments->has("--time-zone") && !(zone = TimeZone::timeZoneWithName(option("--time-zone", ""))))
        return usageError("date", "unknown time zone '" + option("--time-zone", "") + "'");
    auto locale = arguments->has("--locale") ? Locale::localeWithLocaleIdentifier(option("--locale", "")) : nullptr;
    auto separator = arguments->has("--separator") ? String::withUTF8(option("--separator", "")) : nullptr;
    if (arguments->has("--now")) {
        auto now = parseMoment(option("--now", ""));
        if (!now)
            return usageError("date", "bad date '" + option("--now", "") + "'");
        pinnedNow = *now - TimeIntervalSince1970;
        Date::setClock(&pinnedClock);
    }
    if (arguments->operands.empty())
        return usageError("date", "no WHEN given");
    std::vector<Ref<Date>> dates;
    for (const auto& operand : arguments->operands) {
        auto moment = parseMoment(operand);
        if (!moment)
            return usageError("date", "bad date '" + operand + "'");
        dates.push_back(Date::dateWithTimeIntervalSince1970(*moment));
    }
    for (const auto& date : dates) {
        auto text = dateTimeDescriptionWithDateForm(date.get(), *dateForm, *timeForm, separator.get(), zone.get(), locale.get());
        std::printf("%s\n", text ? text->utf8().c_str() : "");
    }
    return ExitSuccess;
}

} // namespace yk::tool
