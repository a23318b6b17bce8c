#pragma once

#include <Yarkit/core/values/Dictionary.h>

namespace yk {

// A dictionary that can be changed in place. Not safe to change while another thread reads it.
class MutableDictionary : public Dictionary {
    YK_OBJECT(MutableDictionary, Dictionary)
public:
    MutableDictionary() = default;

    [[nodiscard]] static Ref<MutableDictionary> dictionaryWithCapacity(uint32_t capacity);

    // -setObject:forKey: raises NSInvalidArgumentException
    // "*** -[MutableDictionary setObject:forKey:]: nil string (or other) argument" for a null
    // object or key.
    void setObject(Ref<Object> object, Ref<Object> key);
    // A string key given as UTF-8.
    void setObjectForStringKey(Ref<Object> object, std::string_view utf8Key);
    // Does nothing when the key is absent or null.
    void removeObjectForKey(const Object* key);
    void removeObjectsForKeys(const Array* keys);
    void removeAllObjects();
    void addEntriesFromDictionary(const Dictionary* other);
    void setDictionary(const Dictionary* other);
};

} // namespace yk
