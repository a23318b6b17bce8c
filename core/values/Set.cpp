#include <Yarkit/core/values/Set.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableSet.h>
#include <Yarkit/core/values/String.h>

#include "core/values/CollectionSupport.h"
#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(Set);

Ref<Set> Set::setWithObjects(std::initializer_list<Ref<Object>> objects)
{
    auto set = make<Set>();
    for (const Ref<Object>& object : objects) {
        if (!object)
            detail::raiseNilArgument(set.get(), "initWithObjects:count:");
        set->insert(object);
    }
    return set;
}

Ref<Set> Set::setWithArray(const Array* array)
{
    auto set = make<Set>();
    if (array) {
        for (const Ref<Object>& object : *array)
            set->insert(object);
    }
    return set;
}

size_t Set::indexOf(const Object* object) const
{
    if (!object)
        return npos;
    auto found = _index.find(object);
    return found == _index.end() ? npos : found->second;
}

bool Set::insert(Ref<Object> object)
{
    if (indexOf(object.get()) != npos)
        return false;
    object = detail::storedKey(std::move(object));
    const Object* member = object.get();
    _objects.push_back(std::move(object));
    _index.emplace(member, _objects.size() - 1);
    return true;
}

void Set::removeAt(size_t index)
{
    Ref<Object> removed = std::move(_objects[index]);
    _index.erase(removed.get());
    _objects.erase(_objects.begin() + static_cast<ptrdiff_t>(index));
    for (size_t i = index; i < _objects.size(); ++i)
        _index[_objects[i].get()] = i;
}

void Set::removeEverything()
{
    std::vector<Ref<Object>> removed;
    removed.swap(_objects);
    _index.clear();
}

Ref<Object> Set::member(const Object* object) const
{
    size_t index = indexOf(object);
    return index == npos ? nullptr : _objects[index];
}

Ref<Object> Set::anyObject() const
{
    return _objects.empty() ? nullptr : _objects.front();
}

Ref<Array> Set::allObjects() const
{
    return make<Array>(_objects);
}

bool Set::isSubsetOfSet(const Set* other) const
{
    if (!other)
        return _objects.empty();
    for (const Ref<Object>& object : _objects) {
        if (!other->containsObject(object.get()))
            return false;
    }
    return true;
}

bool Set::intersectsSet(const Set* other) const
{
    if (!other)
        return false;
    for (const Ref<Object>& object : _objects) {
        if (other->containsObject(object.get()))
            return true;
    }
    return false;
}

bool Set::isEqualToSet(const Set* other) const
{
    return other && other->count() == count() && isSubsetOfSet(other);
}

Ref<Set> Set::copy() const
{
    if (!dynamic_cast<const MutableSet*>(this))
        return Ref<Set>(const_cast<Set*>(this));
    auto copy = make<Set>();
    copy->_objects = _objects;
    copy->_index = _index;
    return copy;
}

Ref<MutableSet> Set::mutableCopy() const
{
    auto copy = make<MutableSet>();
    copy->_objects = _objects;
    copy->_index = _index;
    return copy;
}

bool Set::isEqual(const Object* other) const
{
    return other == this || isEqualToSet(dynamic_cast<const Set*>(other));
}

size_t Set::hash() const
{
    return _objects.size();
}

Ref<String> Set::description() const
{
    return make<String>(detail::listDescription(_objects, u"{(", u")}"));
}

} // namespace yk
