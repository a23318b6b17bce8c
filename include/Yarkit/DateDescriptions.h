#pragma once

// NSDate(DateAndTimeDescriptions) and NSDateFormatter(Yarkit): the short texts of a date a
// message list shows.
//
// A form is a signed 16-bit code: 1 short, 2 medium, 3 long, 4 full; anything else leaves the
// part out. In a date form, bit 8 asks for a relative day name ("today", "yesterday",
// "tomorrow" and "nextday" from the framework's "Date" table) when the date is within those
// days; date forms 9 to 12 are short to full with relative names. A time form ignores bit 8.
//
// A null zone is the default zone, a null locale the current locale. Relative days are counted
// by the current calendar in the default zone's days (the zone argument formats the text
// only), from "now" as Date::setClock may pin it.
//
// Three shared objects (a date formatter, a time formatter and the calendar) are made on first
// use and reused; each has a spin lock of its own, no two of which are ever held at once, so
// these may be called from any thread.

#include <Yarkit/core/system/DateFormatter.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

class Locale;
class TimeZone;

// The style a form selects: bit 8 cleared, 1 to 4 the styles short to full, anything else none.
DateFormatterStyle dateFormatterStyleForForm(int16_t form);

// dateDescriptionWithDateForm:timeZone:locale:
[[nodiscard]] Ref<String> dateDescriptionWithDateForm(const Date* date, int16_t dateForm, TimeZone* zone, Locale* locale);
// timeDescriptionWithTimeForm:timeZone:locale:
[[nodiscard]] Ref<String> timeDescriptionWithTimeForm(const Date* date, int16_t timeForm, TimeZone* zone, Locale* locale);
// dateTimeDescriptionWithDateForm:timeForm:separator:timeZone:locale: the date text and the
// time text joined by separator (null: one space); one alone when the other is empty; "" when
// both are.
[[nodiscard]] Ref<String> dateTimeDescriptionWithDateForm(const Date* date, int16_t dateForm, int16_t timeForm, const String* separator, TimeZone* zone, Locale* locale);

// -[NSDateFormatter initWithDateForm:timeForm:allowNaturalLanguage:]: a formatter of the 10.4
// behaviour with the styles of the two forms.
[[nodiscard]] Ref<DateFormatter> dateFormatterWithDateForm(int16_t dateForm, int16_t timeForm, bool allowNaturalLanguage);

} // namespace yk
