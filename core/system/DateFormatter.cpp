#include <Yarkit/core/system/DateFormatter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/String.h>

#include <unicode/datefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace yk {

YK_DEFINE_CLASS(DateFormatter);

namespace {

icu::DateFormat::EStyle icuStyle(DateFormatterStyle style)
{
    switch (style) {
    case DateFormatterShortStyle:
        return icu::DateFormat::kShort;
    case DateFormatterMediumStyle:
        return icu::DateFormat::kMedium;
    case DateFormatterLongStyle:
        return icu::DateFormat::kLong;
    case DateFormatterFullStyle:
        return icu::DateFormat::kFull;
    default:
        return icu::DateFormat::kNone;
    }
}

icu::UnicodeString icuText(const String& text)
{
    return icu::UnicodeString(text.units().data(), static_cast<int32_t>(text.length()));
}

} // namespace

struct DateFormatter::Storage {
    std::unique_ptr<icu::DateFormat> formatter; // null: to be made from the settings
    std::string zoneIdentifier; // the zone the ICU formatter has
};

DateFormatter::DateFormatter()
    : _storage(std::make_unique<Storage>())
{
}

DateFormatter::DateFormatter(const String* format, bool allowNaturalLanguage)
    : _allowsNaturalLanguage(allowNaturalLanguage)
    , _dateFormat(format ? format->copy() : nullptr)
    , _storage(std::make_unique<Storage>())
{
}

DateFormatter::~DateFormatter() = default;

void DateFormatter::setDateStyle(DateFormatterStyle style)
{
    _dateStyle = style;
    _storage->formatter.reset();
}

void DateFormatter::setTimeStyle(DateFormatterStyle style)
{
    _timeStyle = style;
    _storage->formatter.reset();
}

Ref<Locale> DateFormatter::locale() const
{
    return _locale ? _locale : Locale::currentLocale();
}

void DateFormatter::setLocale(Locale* locale)
{
    _locale = locale;
    _storage->formatter.reset();
}

Ref<TimeZone> DateFormatter::timeZone() const
{
    return _timeZone ? _timeZone : TimeZone::defaultTimeZone();
}

void DateFormatter::setTimeZone(TimeZone* zone)
{
    _timeZone = zone;
}

void* DateFormatter::icuFormatter() const
{
    Storage& storage = *_storage;
    if (!storage.formatter) {
        const bool styled = _dateStyle != DateFormatterNoStyle || _timeStyle != DateFormatterNoStyle;
        if (!_dateFormat && !styled)
            return nullptr;
        icu::Locale icuLocale(locale()->localeIdentifier().c_str());
        if (_dateFormat) {
            UErrorCode status = U_ZERO_ERROR;
            auto pattern = std::make_unique<icu::SimpleDateFormat>(icuText(*_dateFormat), icuLocale, status);
            if (U_FAILURE(status))
                return nullptr;
            storage.formatter = std::move(pattern);
        } else {
            storage.formatter.reset(icu::DateFormat::createDateTimeInstance(icuStyle(_dateStyle), icuStyle(_timeStyle), icuLocale));
            if (!storage.formatter)
                return nullptr;
        }
        storage.zoneIdentifier.clear();
    }
    auto zone = timeZone();
    if (zone->identifier() != storage.zoneIdentifier) {
        storage.formatter->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone->identifier())));
        storage.zoneIdentifier = zone->identifier();
    }
    return storage.formatter.get();
}

Ref<String> DateFormatter::stringFromDate(const Date* date) const
{
    auto* formatter = static_cast<icu::DateFormat*>(date ? icuFormatter() : nullptr);
    if (!formatter)
        return make<String>();
    icu::UnicodeString text;
    formatter->format((date->timeIntervalSinceReferenceDate() + TimeIntervalSince1970) * 1000.0, text);
    return make<String>(std::u16string(text.getBuffer(), static_cast<size_t>(text.length())));
}

Ref<Date> DateFormatter::dateFromString(const String* string) const
{
    auto* formatter = static_cast<icu::DateFormat*>(string ? icuFormatter() : nullptr);
    if (!formatter)
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    UDate parsed = formatter->parse(icuText(*string), status);
    if (U_FAILURE(status))
        return nullptr;
    return Date::dateWithTimeIntervalSince1970(parsed / 1000.0);
}

Ref<String> DateFormatter::stringForObjectValue(const Object* value) const
{
    auto* date = dynamic_cast<const Date*>(value);
    return date ? stringFromDate(date) : nullptr;
}

bool DateFormatter::getObjectValue(Ref<Object>* value, const String* string, Ref<String>* error) const
{
    auto date = dateFromString(string);
    if (!date) {
        if (error)
            *error = String::withUTF8("Invalid date");
        return false;
    }
    if (value)
        *value = date;
    return true;
}

} // namespace yk
