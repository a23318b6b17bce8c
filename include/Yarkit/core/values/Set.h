#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <initializer_list>
#include <unordered_map>
#include <vector>

namespace yk {

class Array;
class MutableSet;

// An immutable collection of distinct objects (by isEqual and hash), each retained; a mutable
// string or data member is stored as an immutable copy. Enumeration follows insertion order.
// Safe to share between threads. A null object raises NSInvalidArgumentException
// "*** -[<class> <selector>]: nil string (or other) argument".
class Set : public Object {
    YK_OBJECT(Set, Object)
public:
    Set() = default;

    [[nodiscard]] static Ref<Set> setWithObjects(std::initializer_list<Ref<Object>> objects);
    [[nodiscard]] static Ref<Set> setWithArray(const Array* array);

    uint32_t count() const { return static_cast<uint32_t>(_objects.size()); }
    bool containsObject(const Object* object) const { return indexOf(object) != npos; }
    // The member isEqual to object, or null.
    Ref<Object> member(const Object* object) const;
    // Null when empty.
    Ref<Object> anyObject() const;
    const std::vector<Ref<Object>>& objects() const { return _objects; }
    auto begin() const { return _objects.begin(); }
    auto end() const { return _objects.end(); }
    [[nodiscard]] Ref<Array> allObjects() const;

    bool isSubsetOfSet(const Set* other) const;
    bool intersectsSet(const Set* other) const;
    bool isEqualToSet(const Set* other) const;
    [[nodiscard]] Ref<Set> copy() const;
    [[nodiscard]] Ref<MutableSet> mutableCopy() const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "{(\n    a,\n    b\n)}".
    Ref<String> description() const override;

protected:
    static constexpr size_t npos = static_cast<size_t>(-1);

    size_t indexOf(const Object* object) const;
    // Adds object unless an equal member exists; returns whether it was added.
    bool insert(Ref<Object> object);
    void removeAt(size_t index);
    void removeEverything();

    struct MemberHash {
        size_t operator()(const Object* object) const { return object->hash(); }
    };
    struct MemberEqual {
        bool operator()(const Object* a, const Object* b) const { return a == b || a->isEqual(b); }
    };

    std::vector<Ref<Object>> _objects;
    std::unordered_map<const Object*, size_t, MemberHash, MemberEqual> _index;
};

} // namespace yk
