#pragma once

#include <Yarkit/core/system/Formatter.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <memory>

namespace yk {

class Date;

// Date and time styles, with the platform's values (ICU's own styles count the other way).
using DateFormatterStyle = uint32_t;
enum : DateFormatterStyle {
    DateFormatterNoStyle = 0,
    DateFormatterShortStyle = 1,
    DateFormatterMediumStyle = 2,
    DateFormatterLongStyle = 3,
    DateFormatterFullStyle = 4,
};

// The formatter behaviour of the platform's 10.4 release: styles and ICU patterns.
inline constexpr uint32_t DateFormatterBehavior10_4 = 1040;

// Formats dates with ICU in a date style and a time style (or an explicit ICU pattern), a
// locale and a time zone. With both styles DateFormatterNoStyle and no pattern, the text is ""
// (ICU alone would fall back to a pattern of its own).
//
// Not a thread-safe object: use one formatter from one thread at a time. The ICU formatter is
// made again only after the style, locale or pattern changed, so set them only when they
// differ. A formatter without a zone formats in the default zone current at each call.
class DateFormatter : public Formatter {
    YK_OBJECT(DateFormatter, Formatter)
public:
    // init: no styles, the current locale, the default zone.
    DateFormatter();
    // initWithDateFormat:allowNaturalLanguage: an ICU pattern (null: none, the styles rule).
    // Natural-language parsing is recorded but not offered.
    DateFormatter(const String* format, bool allowNaturalLanguage);
    ~DateFormatter() override;

    DateFormatterStyle dateStyle() const { return _dateStyle; }
    void setDateStyle(DateFormatterStyle style);
    DateFormatterStyle timeStyle() const { return _timeStyle; }
    void setTimeStyle(DateFormatterStyle style);
    // The locale set, or the current locale.
    Ref<Locale> locale() const;
    void setLocale(Locale* locale);
    // The zone set, or the default zone now.
    Ref<TimeZone> timeZone() const;
    void setTimeZone(TimeZone* zone);
    uint32_t formatterBehavior() const { return _behavior; }
    void setFormatterBehavior(uint32_t behavior) { _behavior = behavior; }
    bool allowsNaturalLanguage() const { return _allowsNaturalLanguage; }
    // The ICU pattern given, or null.
    Ref<String> dateFormat() const { return _dateFormat; }

    // The text of date; "" for a null date.
    Ref<String> stringFromDate(const Date* date) const;
    // The date a text reads as, or null.
    Ref<Date> dateFromString(const String* string) const;

    // Dates only; null for anything else.
    Ref<String> stringForObjectValue(const Object* value) const override;
    bool getObjectValue(Ref<Object>* value, const String* string, Ref<String>* error) const override;

private:
    struct Storage;
    // The ICU formatter for the current settings, in the effective zone; null when both styles
    // are none and there is no pattern.
    void* icuFormatter() const;

    DateFormatterStyle _dateStyle { DateFormatterNoStyle };
    DateFormatterStyle _timeStyle { DateFormatterNoStyle };
    uint32_t _behavior { DateFormatterBehavior10_4 };
    bool _allowsNaturalLanguage { false };
    Ref<Locale> _locale;
    Ref<TimeZone> _timeZone;
    Ref<String> _dateFormat;
    const std::unique_ptr<Storage> _storage;
};

} // namespace yk
