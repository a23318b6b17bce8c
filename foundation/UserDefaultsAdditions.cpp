#include <Yarkit/UserDefaultsAdditions.h>

#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/system/Unarchiver.h>

namespace yk {

namespace {

// Reads value with the accessor of a Number or a String; other classes do not have it, and
// answer as an object that does not recognise the selector.
template <typename R, typename NumberRead, typename StringRead>
R sendNumericAccessor(const Object* value, const char* selector, NumberRead numberRead, StringRead stringRead)
{
    if (value->isKindOfClass(Number::staticClass()))
        return numberRead(static_cast<const Number*>(value));
    if (value->isKindOfClass(String::staticClass()))
        return stringRead(static_cast<const String*>(value));
    raise(NSInvalidArgumentException, "-[%s %s]: unrecognized selector sent to instance", value->classObject()->name().c_str(), selector);
}

} // namespace

int32_t integerForKey(const UserDefaults* defaults, const String* key, int32_t defaultValue)
{
    auto value = defaults->objectForKey(key);
    if (!value)
        return defaultValue;
    return sendNumericAccessor<int32_t>(value.get(), "intValue", [](const Number* n) { return n->intValue(); },
        [](const String* s) { return s->intValue(); });
}

float floatForKey(const UserDefaults* defaults, const String* key, float defaultValue)
{
    auto value = defaults->objectForKey(key);
    if (!value)
        return defaultValue;
    return sendNumericAccessor<float>(value.get(), "floatValue", [](const Number* n) { return n->floatValue(); },
        [](const String* s) { return s->floatValue(); });
}

bool boolForKey(const UserDefaults* defaults, const String* key, bool defaultValue)
{
    auto value = defaults->objectForKey(key);
    if (!value)
        return defaultValue;
    if (value->isKindOfClass(Number::staticClass()))
        return static_cast<const Number*>(value.get())->boolValue();
    if (value->isKindOfClass(String::staticClass()))
        return static_cast<const String*>(value.get())->YK_boolValue();
    return defaultValue;
}

Ref<Object> codingObjectForKey(const UserDefaults* defaults, const String* key)
{
    auto value = defaults->objectForKey(key);
    if (!value || !value->isKindOfClass(Data::staticClass()))
        return nullptr;
    return Unarchiver::unarchiveObjectWithData(static_cast<const Data*>(value.get()));
}

void setCodingObject(UserDefaults* defaults, const Object* object, const String* key)
{
    defaults->setObject(Archiver::archivedDataWithRootObject(object).get(), key);
}

int32_t integerForKey(const UserDefaults* defaults, std::string_view key, int32_t defaultValue)
{
    return integerForKey(defaults, String::withUTF8(key).get(), defaultValue);
}

float floatForKey(const UserDefaults* defaults, std::string_view key, float defaultValue)
{
    return floatForKey(defaults, String::withUTF8(key).get(), defaultValue);
}

bool boolForKey(const UserDefaults* defaults, std::string_view key, bool defaultValue)
{
    return boolForKey(defaults, String::withUTF8(key).get(), defaultValue);
}

Ref<Object> codingObjectForKey(const UserDefaults* defaults, std::string_view key)
{
    return codingObjectForKey(defaults, String::withUTF8(key).get());
}

void setCodingObject(UserDefaults* defaults, const Object* object, std::string_view key)
{
    setCodingObject(defaults, object, String::withUTF8(key).get());
}

} // namespace yk
