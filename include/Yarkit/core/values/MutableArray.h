#pragma once

#include <Yarkit/core/values/Array.h>

namespace yk {

// An array that can be changed in place. Not safe to change while another thread reads it.
class MutableArray : public Array {
    YK_OBJECT(MutableArray, Array)
public:
    MutableArray() = default;
    explicit MutableArray(std::vector<Ref<Object>> objects)
        : Array(std::move(objects))
    {
    }

    [[nodiscard]] static Ref<MutableArray> arrayWithCapacity(uint32_t capacity);

    void addObject(Ref<Object> object);
    // index may equal count (appends).
    void insertObject(Ref<Object> object, uint32_t index);
    void replaceObjectAtIndex(uint32_t index, Ref<Object> object);
    void removeObjectAtIndex(uint32_t index);
    // Removes every object isEqual to object.
    void removeObject(const Object* object);
    // Removes every occurrence of this very object.
    void removeObjectIdenticalTo(const Object* object);
    // Raises NSRangeException on an empty array.
    void removeLastObject();
    void removeAllObjects();
    void addObjectsFromArray(const Array* array);
    void setArray(const Array* array);
};

} // namespace yk
