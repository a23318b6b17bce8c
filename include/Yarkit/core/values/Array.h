#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace yk {

class MutableArray;
class String;

// An immutable ordered list of objects, each retained. Safe to share between threads.
// Objects compare with isEqual. Indices beyond the end raise NSRangeException
// "*** -[<class> <selector>]: Range or index out of bounds"; a null object raises
// NSInvalidArgumentException "*** -[<class> <selector>]: nil string (or other) argument".
class Array : public Object {
    YK_OBJECT(Array, Object)
public:
    Array() = default;
    // Raises for a null element.
    explicit Array(std::vector<Ref<Object>> objects);

    // +arrayWithObjects: raises for a null element.
    [[nodiscard]] static Ref<Array> arrayWithObjects(std::initializer_list<Ref<Object>> objects);
    [[nodiscard]] static Ref<Array> arrayWithArray(const Array* array);

    uint32_t count() const { return static_cast<uint32_t>(_objects.size()); }
    Ref<Object> objectAtIndex(uint32_t index) const;
    // Null when the array is empty.
    Ref<Object> firstObject() const;
    Ref<Object> lastObject() const;
    const std::vector<Ref<Object>>& objects() const { return _objects; }
    auto begin() const { return _objects.begin(); }
    auto end() const { return _objects.end(); }

    bool containsObject(const Object* object) const { return indexOfObject(object) != NotFound; }
    // The first index whose object isEqual to object, or NotFound.
    uint32_t indexOfObject(const Object* object) const;
    // The first index holding this very object, or NotFound.
    uint32_t indexOfObjectIdenticalTo(const Object* object) const;

    [[nodiscard]] Ref<Array> subarrayWithRange(Range range) const;
    [[nodiscard]] Ref<Array> arrayByAddingObject(Ref<Object> object) const;
    // The descriptions of the objects joined by the separator.
    [[nodiscard]] Ref<String> componentsJoinedByString(const String* separator) const;

    // Same count and pairwise isEqual objects.
    bool isEqualToArray(const Array* other) const;
    [[nodiscard]] Ref<Array> copy() const;
    [[nodiscard]] Ref<MutableArray> mutableCopy() const;

    bool isEqual(const Object* other) const override;
    // The count, so that equal arrays hash equal cheaply.
    size_t hash() const override;
    // "(\n    a,\n    b\n)", property-list style.
    Ref<String> description() const override;

protected:
    // Raises NSInvalidArgumentException for a null object, naming the selector.
    void checkObject(const Object* object, const char* selector) const;
    void checkIndex(uint32_t index, uint32_t limit, const char* selector) const;

    std::vector<Ref<Object>> _objects;
};

} // namespace yk
