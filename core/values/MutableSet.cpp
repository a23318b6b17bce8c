#include <Yarkit/core/values/MutableSet.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(MutableSet);

void MutableSet::addObject(Ref<Object> object)
{
    if (!object)
        detail::raiseNilArgument(this, "addObject:");
    insert(std::move(object));
}

void MutableSet::addObjectsFromArray(const Array* array)
{
    if (!array)
        detail::raiseNilArgument(this, "addObjectsFromArray:");
    for (const Ref<Object>& object : *array)
        insert(object);
}

void MutableSet::removeObject(const Object* object)
{
    size_t index = indexOf(object);
    if (index != npos)
        removeAt(index);
}

void MutableSet::removeAllObjects()
{
    removeEverything();
}

void MutableSet::unionSet(const Set* other)
{
    if (!other)
        detail::raiseNilArgument(this, "unionSet:");
    std::vector<Ref<Object>> objects = other->objects(); // other may be this set
    for (Ref<Object>& object : objects)
        insert(std::move(object));
}

void MutableSet::minusSet(const Set* other)
{
    if (!other)
        detail::raiseNilArgument(this, "minusSet:");
    if (other == this)
        return removeEverything();
    for (const Ref<Object>& object : *other)
        removeObject(object.get());
}

void MutableSet::intersectSet(const Set* other)
{
    if (!other)
        detail::raiseNilArgument(this, "intersectSet:");
    std::vector<Ref<Object>> kept;
    for (const Ref<Object>& object : _objects) {
        if (other->containsObject(object.get()))
            kept.push_back(object);
    }
    removeEverything();
    for (Ref<Object>& object : kept)
        insert(std::move(object));
}

} // namespace yk
