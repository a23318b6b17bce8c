#include <Yarkit/DictionaryAdditions.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/system/Unarchiver.h>

namespace yk {

namespace {

// The typed getter: absent gives the default, a Number and a String are read with their own
// accessor, anything else gives the default.
template <typename R, typename NumberRead, typename StringRead>
R typedValue(const Dictionary* dictionary, const Object* key, R defaultValue, NumberRead numberRead, StringRead stringRead)
{
    if (!dictionary || !key)
        return defaultValue;
    auto value = dictionary->objectForKey(key);
    if (!value)
        return defaultValue;
    if (value->isKindOfClass(Number::staticClass()))
        return numberRead(static_cast<const Number*>(value.get()));
    if (value->isKindOfClass(String::staticClass()))
        return stringRead(static_cast<const String*>(value.get()));
    return defaultValue;
}

} // namespace

int16_t shortForKey(const Dictionary* dictionary, const Object* key, int16_t defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->shortValue(); },
        [](const String* s) { return static_cast<int16_t>(s->intValue()); });
}

uint16_t unsignedShortForKey(const Dictionary* dictionary, const Object* key, uint16_t defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->unsignedShortValue(); },
        [](const String* s) { return static_cast<uint16_t>(s->intValue()); });
}

int32_t intForKey(const Dictionary* dictionary, const Object* key, int32_t defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->intValue(); },
        [](const String* s) { return s->intValue(); });
}

uint32_t unsignedIntForKey(const Dictionary* dictionary, const Object* key, uint32_t defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->unsignedIntValue(); },
        [](const String* s) { return static_cast<uint32_t>(s->intValue()); });
}

float floatForKey(const Dictionary* dictionary, const Object* key, float defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->floatValue(); },
        [](const String* s) { return s->floatValue(); });
}

double doubleForKey(const Dictionary* dictionary, const Object* key, double defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->doubleValue(); },
        [](const String* s) { return s->doubleValue(); });
}

bool boolForKey(const Dictionary* dictionary, const Object* key, bool defaultValue)
{
    return typedValue(dictionary, key, defaultValue, [](const Number* n) { return n->boolValue(); },
        [](const String* s) { return s->YK_boolValue(); });
}

Ref<Object> objectOfClass(const Dictionary* dictionary, const Class* cls, const Object* key)
{
    if (!dictionary || !key)
        return nullptr;
    auto value = dictionary->objectForKey(key);
    if (!value || !value->isKindOfClass(cls))
        return nullptr;
    return value;
}

Ref<Object> codingObjectForKey(const Dictionary* dictionary, const Object* key)
{
    auto data = objectOfClass<Data>(dictionary, key);
    if (!data)
        return nullptr;
    return Unarchiver::unarchiveObjectWithData(data.get());
}

Ref<Object> objectForString(const Dictionary* dictionary, const String* string, StringCompareOptions options)
{
    if (!dictionary)
        return nullptr;
    if (!string) {
        log("-[%@ %@] with nil", String::withUTF8(dictionary->classObject()->name()).get(), String::withUTF8("objectForString:options:").get());
        return nullptr;
    }
    const Range whole { 0, string->length() };
    for (const auto& [key, value] : *dictionary) {
        if (!key->isKindOfClass(String::staticClass()))
            continue;
        if (string->compare(static_cast<const String*>(key.get()), options, whole) == OrderedSame)
            return value;
    }
    return nullptr;
}

bool isEqualToDictionaryExceptForKey(const Dictionary* dictionary, const Dictionary* other, const Object* key)
{
    if (!key)
        return isEqualToDictionaryExceptForKeys(dictionary, other, nullptr);
    auto keys = Array::arrayWithObjects({ Ref<Object>(const_cast<Object*>(key)) });
    return isEqualToDictionaryExceptForKeys(dictionary, other, keys.get());
}

bool isEqualToDictionaryExceptForKeys(const Dictionary* dictionary, const Dictionary* other, const Array* keys)
{
    Ref<Dictionary> empty;
    if (!dictionary) {
        empty = make<Dictionary>();
        dictionary = empty.get();
    }
    if (!keys)
        return dictionary->isEqualToDictionary(other);
    if (!other)
        return dictionary->isEqualToDictionary(nullptr);
    auto mine = dictionary->mutableCopy();
    auto theirs = other->mutableCopy();
    mine->removeObjectsForKeys(keys);
    theirs->removeObjectsForKeys(keys);
    return mine->isEqualToDictionary(theirs.get());
}

bool YK_containsKey(const Dictionary* dictionary, const Object* key)
{
    return dictionary && key && dictionary->containsKey(key);
}

bool YK_containsObject(const Dictionary* dictionary, const Object* object)
{
    return YK_countForObject(dictionary, object) > 0;
}

uint32_t YK_countForKey(const Dictionary* dictionary, const Object* key)
{
    return YK_containsKey(dictionary, key) ? 1 : 0;
}

uint32_t YK_countForObject(const Dictionary* dictionary, const Object* object)
{
    if (!dictionary || !object)
        return 0;
    uint32_t count = 0;
    for (const auto& entry : *dictionary) {
        if (entry.value.get() == object || entry.value->isEqual(object))
            ++count;
    }
    return count;
}

void YK_getObjects(const Dictionary* dictionary, std::span<Object*> objects, std::span<Object*> keys)
{
    const uint32_t count = dictionary ? dictionary->count() : 0;
    if ((!objects.empty() && objects.size() < count) || (!keys.empty() && keys.size() < count))
        raise(NSInvalidArgumentException, "*** -[%s YK_getObjects:andKeys:]: a buffer holds fewer than %u entries",
            dictionary->classObject()->name().c_str(), count);
    for (uint32_t i = 0; i < count; ++i) {
        const auto& entry = dictionary->entries()[i];
        if (!objects.empty())
            objects[i] = entry.value.get();
        if (!keys.empty())
            keys[i] = entry.key.get();
    }
}

} // namespace yk
