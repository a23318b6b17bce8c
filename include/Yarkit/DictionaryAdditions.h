#pragma once

// NSDictionary(Yarkit): typed access to the values of a dictionary, archived values, comparison
// that ignores some keys, lookup by a string under comparison options, and the core
// dictionary's contains, count and get operations.
//
// Free functions that take the dictionary first. A null dictionary behaves as an empty one.
// Keys and values are not retained beyond the call; results are owned by the caller.

#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <span>

namespace yk {

class Array;
class Class;

// Typed getters: the default when the key is absent; a Number is read with its accessor of the
// same kind, a String with intValue (cut to 16 bits for the short kinds, its bit pattern for
// the unsigned kinds), floatValue, doubleValue or YK_boolValue; any other value gives the
// default. Each selector is "<name>:defaultValue:"; without a default, 0, 0.0 or false.
int16_t shortForKey(const Dictionary* dictionary, const Object* key, int16_t defaultValue = 0);
uint16_t unsignedShortForKey(const Dictionary* dictionary, const Object* key, uint16_t defaultValue = 0);
int32_t intForKey(const Dictionary* dictionary, const Object* key, int32_t defaultValue = 0);
uint32_t unsignedIntForKey(const Dictionary* dictionary, const Object* key, uint32_t defaultValue = 0);
float floatForKey(const Dictionary* dictionary, const Object* key, float defaultValue = 0.0f);
double doubleForKey(const Dictionary* dictionary, const Object* key, double defaultValue = 0.0);
bool boolForKey(const Dictionary* dictionary, const Object* key, bool defaultValue = false);

// objectOfClass:forKey: the value when it is a kind of cls, else null.
Ref<Object> objectOfClass(const Dictionary* dictionary, const Class* cls, const Object* key);
template <typename T>
Ref<T> objectOfClass(const Dictionary* dictionary, const Object* key)
{
    auto value = objectOfClass(dictionary, T::staticClass(), key);
    return Ref<T>(static_cast<T*>(value.get()));
}

// The value, when it is a Data, unarchived with yk::Unarchiver; null when the key is absent or
// holds something else. Raises NSInvalidUnarchiveOperationException for data that is not a
// valid archive.
Ref<Object> codingObjectForKey(const Dictionary* dictionary, const Object* key);

// objectForString:options: the value of the first String key (in enumeration order) that
// compares equal to string under options (String::compare over the whole of string). Null when
// none does or the dictionary is empty; a null string logs "-[<class> objectForString:options:]
// with nil" and gives null.
Ref<Object> objectForString(const Dictionary* dictionary, const String* string, StringCompareOptions options);

// isEqualToDictionary:exceptForKey: a null key compares the whole dictionaries.
bool isEqualToDictionaryExceptForKey(const Dictionary* dictionary, const Dictionary* other, const Object* key);
// isEqualToDictionary:exceptForKeys: whether the dictionaries are equal once the keys are
// removed from both; a null array compares the whole dictionaries.
bool isEqualToDictionaryExceptForKeys(const Dictionary* dictionary, const Dictionary* other, const Array* keys);

// Whether the key, or a value equal to object, is present.
bool YK_containsKey(const Dictionary* dictionary, const Object* key);
bool YK_containsObject(const Dictionary* dictionary, const Object* object);
// How often the key (0 or 1), or values equal to object, occur.
uint32_t YK_countForKey(const Dictionary* dictionary, const Object* key);
uint32_t YK_countForObject(const Dictionary* dictionary, const Object* object);
// YK_getObjects:andKeys: stores every value and every key (not retained), in matching
// order. An empty span is skipped; a span shorter than the count raises NSInvalidArgumentException.
void YK_getObjects(const Dictionary* dictionary, std::span<Object*> objects, std::span<Object*> keys);

} // namespace yk
