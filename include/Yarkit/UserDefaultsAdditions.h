#pragma once

// NSUserDefaults(Yarkit): reads with a default for absent keys, and archived objects.
//
// Free functions that take the defaults first; they must not be null. Keys are strings, given
// as a String or as UTF-8.

#include <Yarkit/core/system/UserDefaults.h>

#include <cstdint>
#include <string_view>

namespace yk {

// integerForKey:defaultValue: the default when the key is absent; otherwise intValue of the
// stored value without a type test, so a value that has no intValue (data, a date, an array, a
// dictionary) raises NSInvalidArgumentException "-[<class> intValue]: unrecognized selector
// sent to instance".
int32_t integerForKey(const UserDefaults* defaults, const String* key, int32_t defaultValue);
int32_t integerForKey(const UserDefaults* defaults, std::string_view key, int32_t defaultValue);
// floatForKey:defaultValue: the same with floatValue.
float floatForKey(const UserDefaults* defaults, const String* key, float defaultValue);
float floatForKey(const UserDefaults* defaults, std::string_view key, float defaultValue);
// boolForKey:defaultValue: a Number's boolValue, a String's YK_boolValue; anything else, or an
// absent key, gives the default.
bool boolForKey(const UserDefaults* defaults, const String* key, bool defaultValue);
bool boolForKey(const UserDefaults* defaults, std::string_view key, bool defaultValue);

// As the dictionary functions of the same names (DictionaryAdditions.h), over the defaults'
// search order for reading and the application domain for writing.
Ref<Object> codingObjectForKey(const UserDefaults* defaults, const String* key);
Ref<Object> codingObjectForKey(const UserDefaults* defaults, std::string_view key);
void setCodingObject(UserDefaults* defaults, const Object* object, const String* key);
void setCodingObject(UserDefaults* defaults, const Object* object, std::string_view key);

} // namespace yk
