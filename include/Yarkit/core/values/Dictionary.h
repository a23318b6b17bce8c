#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace yk {

class Array;
class MutableDictionary;

// An immutable map from keys to objects; both are retained and neither may be null. Keys
// compare with isEqual and hash (so a String key and a MutableString key with the same text
// are the same key); a mutable string or data key is stored as an immutable copy, so later
// changes to the caller's object do not move it.
//
// Enumeration (entries(), allKeys(), allValues(), the description) follows insertion order:
// setting the value of an existing key keeps its place, and removing a key closes the gap.
// Safe to share between threads.
class Dictionary : public Object {
    YK_OBJECT(Dictionary, Object)
public:
    struct Entry {
        Ref<Object> key;
        Ref<Object> value;
    };

    Dictionary() = default;

    // Pairs of key and value; a later pair replaces an earlier one with an equal key. Raises
    // NSInvalidArgumentException for a null key or value.
    [[nodiscard]] static Ref<Dictionary> dictionaryWithEntries(std::initializer_list<Entry> entries);
    [[nodiscard]] static Ref<Dictionary> dictionaryWithDictionary(const Dictionary* dictionary);

    uint32_t count() const { return static_cast<uint32_t>(_entries.size()); }
    // Null when the key is absent (or null).
    Ref<Object> objectForKey(const Object* key) const;
    // Looks up a string key given as UTF-8.
    Ref<Object> objectForKey(std::string_view utf8Key) const;
    bool containsKey(const Object* key) const { return indexOfKey(key) != npos; }

    // In insertion order.
    const std::vector<Entry>& entries() const { return _entries; }
    auto begin() const { return _entries.begin(); }
    auto end() const { return _entries.end(); }
    [[nodiscard]] Ref<Array> allKeys() const;
    [[nodiscard]] Ref<Array> allValues() const;
    // The keys whose value isEqual to object, in insertion order.
    [[nodiscard]] Ref<Array> allKeysForObject(const Object* object) const;

    // Same keys, and isEqual values for each key; order does not matter.
    bool isEqualToDictionary(const Dictionary* other) const;
    [[nodiscard]] Ref<Dictionary> copy() const;
    [[nodiscard]] Ref<MutableDictionary> mutableCopy() const;

    bool isEqual(const Object* other) const override;
    // The count, so that equal dictionaries hash equal whatever their order.
    size_t hash() const override;
    // "{\n    key = value;\n}", property-list style.
    Ref<String> description() const override;

protected:
    static constexpr size_t npos = static_cast<size_t>(-1);

    size_t indexOfKey(const Object* key) const;
    // Stores value under key (a copy of a mutable key), replacing an existing value in place.
    void store(Ref<Object> key, Ref<Object> value);
    void removeAt(size_t index);
    void removeEverything();

    struct KeyHash {
        size_t operator()(const Object* key) const { return key->hash(); }
    };
    struct KeyEqual {
        bool operator()(const Object* a, const Object* b) const { return a == b || a->isEqual(b); }
    };

    std::vector<Entry> _entries;
    // Key object (owned by _entries) to its index in _entries.
    std::unordered_map<const Object*, size_t, KeyHash, KeyEqual> _index;
};

} // namespace yk
