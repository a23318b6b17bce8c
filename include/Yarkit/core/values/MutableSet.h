#pragma once

#include <Yarkit/core/values/Set.h>

namespace yk {

// A set that can be changed in place. Not safe to change while another thread reads it.
class MutableSet : public Set {
    YK_OBJECT(MutableSet, Set)
public:
    MutableSet() = default;

    // Does nothing when an equal member exists; raises for null.
    void addObject(Ref<Object> object);
    void addObjectsFromArray(const Array* array);
    // Does nothing when no member is equal (or object is null).
    void removeObject(const Object* object);
    void removeAllObjects();
    void unionSet(const Set* other);
    void minusSet(const Set* other);
    void intersectSet(const Set* other);
};

} // namespace yk
