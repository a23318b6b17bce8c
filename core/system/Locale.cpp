#include <Yarkit/core/system/Locale.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

#include <unicode/locid.h>

namespace yk {

YK_DEFINE_CLASS(Locale);

Locale::Locale(std::string identifier)
    : _identifier(std::move(identifier))
{
}

Ref<Locale> Locale::currentLocale()
{
    static Locale* const current = make<Locale>(std::string(icu::Locale::getDefault().getName())).leakRef(); // lives for the process
    return current;
}

Ref<Locale> Locale::localeWithLocaleIdentifier(const String* identifier)
{
    return identifier ? localeWithLocaleIdentifier(identifier->utf8()) : nullptr;
}

Ref<Locale> Locale::localeWithLocaleIdentifier(const std::string& identifier)
{
    icu::Locale locale = icu::Locale::createCanonical(identifier.c_str());
    return make<Locale>(std::string(locale.isBogus() ? identifier.c_str() : locale.getName()));
}

bool Locale::isEqual(const Object* other) const
{
    auto* locale = dynamic_cast<const Locale*>(other);
    return locale && (locale == this || locale->_identifier == _identifier);
}

size_t Locale::hash() const
{
    return std::hash<std::string>()(_identifier);
}

Ref<String> Locale::description() const
{
    return String::withUTF8(_identifier);
}

} // namespace yk
