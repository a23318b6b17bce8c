#include <Yarkit/core/values/Array.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/String.h>

#include "core/values/CollectionSupport.h"
#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(Array);

Array::Array(std::vector<Ref<Object>> objects)
    : _objects(std::move(objects))
{
    for (const auto& object : _objects)
        checkObject(object.get(), "initWithObjects:count:");
}

Ref<Array> Array::arrayWithObjects(std::initializer_list<Ref<Object>> objects)
{
    return make<Array>(std::vector<Ref<Object>>(objects));
}

Ref<Array> Array::arrayWithArray(const Array* array)
{
    if (!array)
        return make<Array>();
    return make<Array>(array->_objects);
}

void Array::checkObject(const Object* object, const char* selector) const
{
    if (!object)
        detail::raiseNilArgument(this, selector);
}

void Array::checkIndex(uint32_t index, uint32_t limit, const char* selector) const
{
    if (index >= limit)
        detail::raiseOutOfBounds(this, selector);
}

Ref<Object> Array::objectAtIndex(uint32_t index) const
{
    checkIndex(index, count(), "objectAtIndex:");
    return _objects[index];
}

Ref<Object> Array::firstObject() const
{
    return _objects.empty() ? nullptr : _objects.front();
}

Ref<Object> Array::lastObject() const
{
    return _objects.empty() ? nullptr : _objects.back();
}

uint32_t Array::indexOfObject(const Object* object) const
{
    if (!object)
        return NotFound;
    for (size_t i = 0; i < _objects.size(); ++i) {
        if (_objects[i].get() == object || _objects[i]->isEqual(object))
            return static_cast<uint32_t>(i);
    }
    return NotFound;
}

uint32_t Array::indexOfObjectIdenticalTo(const Object* object) const
{
    for (size_t i = 0; i < _objects.size(); ++i) {
        if (_objects[i].get() == object)
            return static_cast<uint32_t>(i);
    }
    return NotFound;
}

Ref<Array> Array::subarrayWithRange(Range range) const
{
    if (range.location > count() || range.length > count() - range.location)
        detail::raiseOutOfBounds(this, "subarrayWithRange:");
    auto first = _objects.begin() + range.location;
    return make<Array>(std::vector<Ref<Object>>(first, first + range.length));
}

Ref<Array> Array::arrayByAddingObject(Ref<Object> object) const
{
    checkObject(object.get(), "arrayByAddingObject:");
    std::vector<Ref<Object>> objects = _objects;
    objects.push_back(std::move(object));
    return make<Array>(std::move(objects));
}

Ref<String> Array::componentsJoinedByString(const String* separator) const
{
    std::u16string text;
    for (size_t i = 0; i < _objects.size(); ++i) {
        if (i && separator)
            text += separator->units();
        text += _objects[i]->description()->units();
    }
    return make<String>(std::move(text));
}

bool Array::isEqualToArray(const Array* other) const
{
    if (!other || other->count() != count())
        return false;
    for (size_t i = 0; i < _objects.size(); ++i) {
        if (_objects[i] != other->_objects[i] && !_objects[i]->isEqual(other->_objects[i].get()))
            return false;
    }
    return true;
}

Ref<Array> Array::copy() const
{
    if (!dynamic_cast<const MutableArray*>(this))
        return Ref<Array>(const_cast<Array*>(this));
    return make<Array>(_objects);
}

Ref<MutableArray> Array::mutableCopy() const
{
    return make<MutableArray>(_objects);
}

bool Array::isEqual(const Object* other) const
{
    return other == this || isEqualToArray(dynamic_cast<const Array*>(other));
}

size_t Array::hash() const
{
    return _objects.size();
}

Ref<String> Array::description() const
{
    return make<String>(detail::listDescription(_objects, u"(", u")"));
}

} // namespace yk
