#include <Yarkit/core/values/Dictionary.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/String.h>

#include "core/values/CollectionSupport.h"
#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(Dictionary);

Ref<Dictionary> Dictionary::dictionaryWithEntries(std::initializer_list<Entry> entries)
{
    auto dictionary = make<Dictionary>();
    for (const Entry& entry : entries) {
        if (!entry.key || !entry.value)
            detail::raiseNilArgument(dictionary.get(), "initWithObjects:forKeys:count:");
        dictionary->store(entry.key, entry.value);
    }
    return dictionary;
}

Ref<Dictionary> Dictionary::dictionaryWithDictionary(const Dictionary* dictionary)
{
    auto copy = make<Dictionary>();
    if (dictionary) {
        copy->_entries = dictionary->_entries;
        copy->_index = dictionary->_index;
    }
    return copy;
}

size_t Dictionary::indexOfKey(const Object* key) const
{
    if (!key)
        return npos;
    auto found = _index.find(key);
    return found == _index.end() ? npos : found->second;
}

Ref<Object> Dictionary::objectForKey(const Object* key) const
{
    size_t index = indexOfKey(key);
    return index == npos ? nullptr : _entries[index].value;
}

Ref<Object> Dictionary::objectForKey(std::string_view utf8Key) const
{
    return objectForKey(String::withUTF8(utf8Key).get());
}

void Dictionary::store(Ref<Object> key, Ref<Object> value)
{
    size_t index = indexOfKey(key.get());
    if (index != npos) {
        // The old value is released after the entry holds the new one.
        std::swap(_entries[index].value, value);
        return;
    }
    key = detail::storedKey(std::move(key));
    const Object* keyObject = key.get();
    _entries.push_back({ std::move(key), std::move(value) });
    _index.emplace(keyObject, _entries.size() - 1);
}

void Dictionary::removeAt(size_t index)
{
    Entry removed = std::move(_entries[index]);
    _index.erase(removed.key.get());
    _entries.erase(_entries.begin() + static_cast<ptrdiff_t>(index));
    for (size_t i = index; i < _entries.size(); ++i)
        _index[_entries[i].key.get()] = i;
}

void Dictionary::removeEverything()
{
    std::vector<Entry> removed;
    removed.swap(_entries);
    _index.clear();
}

Ref<Array> Dictionary::allKeys() const
{
    std::vector<Ref<Object>> keys;
    keys.reserve(_entries.size());
    for (const Entry& entry : _entries)
        keys.push_back(entry.key);
    return make<Array>(std::move(keys));
}

Ref<Array> Dictionary::allValues() const
{
    std::vector<Ref<Object>> values;
    values.reserve(_entries.size());
    for (const Entry& entry : _entries)
        values.push_back(entry.value);
    return make<Array>(std::move(values));
}

Ref<Array> Dictionary::allKeysForObject(const Object* object) const
{
    std::vector<Ref<Object>> keys;
    for (const Entry& entry : _entries) {
        if (object && (entry.value.get() == object || entry.value->isEqual(object)))
            keys.push_back(entry.key);
    }
    return make<Array>(std::move(keys));
}

bool Dictionary::isEqualToDictionary(const Dictionary* other) const
{
    if (!other || other->count() != count())
        return false;
    if (other == this)
        return true;
    for (const Entry& entry : _entries) {
        size_t index = other->indexOfKey(entry.key.get());
        if (index == npos)
            return false;
        const Ref<Object>& value = other->_entries[index].value;
        if (value != entry.value && !entry.value->isEqual(value.get()))
            return false;
    }
    return true;
}

Ref<Dictionary> Dictionary::copy() const
{
    if (!dynamic_cast<const MutableDictionary*>(this))
        return Ref<Dictionary>(const_cast<Dictionary*>(this));
    return dictionaryWithDictionary(this);
}

Ref<MutableDictionary> Dictionary::mutableCopy() const
{
    auto copy = make<MutableDictionary>();
    copy->_entries = _entries;
    copy->_index = _index;
    return copy;
}

bool Dictionary::isEqual(const Object* other) const
{
    return other == this || isEqualToDictionary(dynamic_cast<const Dictionary*>(other));
}

size_t Dictionary::hash() const
{
    return _entries.size();
}

Ref<String> Dictionary::description() const
{
    std::u16string text = u"{\n";
    for (const Entry& entry : _entries)
        text += u"    " + detail::elementDescription(entry.key.get()) + u" = " + detail::elementDescription(entry.value.get()) + u";\n";
    text += u"}";
    return make<String>(std::move(text));
}

} // namespace yk
