#include <Yarkit/core/values/MutableDictionary.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(MutableDictionary);

Ref<MutableDictionary> MutableDictionary::dictionaryWithCapacity(uint32_t capacity)
{
    auto dictionary = make<MutableDictionary>();
    dictionary->_entries.reserve(capacity);
    dictionary->_index.reserve(capacity);
    return dictionary;
}

void MutableDictionary::setObject(Ref<Object> object, Ref<Object> key)
{
    if (!object || !key)
        detail::raiseNilArgument(this, "setObject:forKey:");
    store(std::move(key), std::move(object));
}

void MutableDictionary::setObjectForStringKey(Ref<Object> object, std::string_view utf8Key)
{
    setObject(std::move(object), String::withUTF8(utf8Key));
}

void MutableDictionary::removeObjectForKey(const Object* key)
{
    size_t index = indexOfKey(key);
    if (index != npos)
        removeAt(index);
}

void MutableDictionary::removeObjectsForKeys(const Array* keys)
{
    if (!keys)
        detail::raiseNilArgument(this, "removeObjectsForKeys:");
    for (const Ref<Object>& key : *keys)
        removeObjectForKey(key.get());
}

void MutableDictionary::removeAllObjects()
{
    removeEverything();
}

void MutableDictionary::addEntriesFromDictionary(const Dictionary* other)
{
    if (!other)
        detail::raiseNilArgument(this, "addEntriesFromDictionary:");
    std::vector<Entry> entries = other->entries(); // other may be this dictionary
    for (Entry& entry : entries)
        store(std::move(entry.key), std::move(entry.value));
}

void MutableDictionary::setDictionary(const Dictionary* other)
{
    if (!other)
        detail::raiseNilArgument(this, "setDictionary:");
    if (other == this)
        return;
    std::vector<Entry> entries = other->entries();
    removeEverything();
    for (Entry& entry : entries)
        store(std::move(entry.key), std::move(entry.value));
}

} // namespace yk
