#include <Yarkit/core/values/MutableArray.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <algorithm>

namespace yk {

YK_DEFINE_CLASS(MutableArray);

Ref<MutableArray> MutableArray::arrayWithCapacity(uint32_t capacity)
{
    auto array = make<MutableArray>();
    array->_objects.reserve(capacity);
    return array;
}

void MutableArray::addObject(Ref<Object> object)
{
    checkObject(object.get(), "addObject:");
    _objects.push_back(std::move(object));
}

void MutableArray::insertObject(Ref<Object> object, uint32_t index)
{
    checkObject(object.get(), "insertObject:atIndex:");
    checkIndex(index, count() + 1, "insertObject:atIndex:");
    _objects.insert(_objects.begin() + index, std::move(object));
}

void MutableArray::replaceObjectAtIndex(uint32_t index, Ref<Object> object)
{
    checkObject(object.get(), "replaceObjectAtIndex:withObject:");
    checkIndex(index, count(), "replaceObjectAtIndex:withObject:");
    // The old object is released after the slot holds the new one.
    std::swap(_objects[index], object);
}

void MutableArray::removeObjectAtIndex(uint32_t index)
{
    checkIndex(index, count(), "removeObjectAtIndex:");
    Ref<Object> removed = std::move(_objects[index]);
    _objects.erase(_objects.begin() + index);
}

void MutableArray::removeObject(const Object* object)
{
    if (!object)
        return;
    // Keep the argument alive: it may be one of the elements being removed.
    Ref<Object> protectedObject(const_cast<Object*>(object));
    std::erase_if(_objects, [&](const Ref<Object>& element) { return element.get() == object || element->isEqual(object); });
}

void MutableArray::removeObjectIdenticalTo(const Object* object)
{
    Ref<Object> protectedObject(const_cast<Object*>(object));
    std::erase_if(_objects, [&](const Ref<Object>& element) { return element.get() == object; });
}

void MutableArray::removeLastObject()
{
    if (_objects.empty())
        detail::raiseOutOfBounds(this, "removeLastObject");
    Ref<Object> removed = std::move(_objects.back());
    _objects.pop_back();
}

void MutableArray::removeAllObjects()
{
    std::vector<Ref<Object>> removed;
    removed.swap(_objects);
}

void MutableArray::addObjectsFromArray(const Array* array)
{
    if (!array)
        detail::raiseNilArgument(this, "addObjectsFromArray:");
    std::vector<Ref<Object>> objects = array->objects(); // the array may be this one
    _objects.insert(_objects.end(), objects.begin(), objects.end());
}

void MutableArray::setArray(const Array* array)
{
    if (!array)
        detail::raiseNilArgument(this, "setArray:");
    std::vector<Ref<Object>> objects = array->objects();
    _objects.swap(objects);
}

} // namespace yk
