#include <Yarkit/core/runtime/Object.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/values/String.h> // reaches up: the root object's description is a string

#include "core/runtime/RuntimeErrors.h"

#include <algorithm>
#include <cstdio>

namespace yk {

YK_DEFINE_CLASS(Object);

Object::~Object() = default;

Class* Object::classObject() const
{
    return staticClass();
}

void Object::retain() const noexcept
{
    _retainCount.fetch_add(1, std::memory_order_relaxed);
}

void Object::release() const noexcept
{
    if (_retainCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

uint32_t Object::retainCount() const noexcept
{
    return _retainCount.load(std::memory_order_relaxed);
}

bool Object::isKindOfClass(const Class* cls) const
{
    for (const Class* c = classObject(); c; c = c->superclass()) {
        if (c == cls)
            return true;
    }
    return false;
}

bool Object::isMemberOfClass(const Class* cls) const
{
    return classObject() == cls;
}

bool Object::isEqual(const Object* other) const
{
    return this == other;
}

size_t Object::hash() const
{
    return reinterpret_cast<uintptr_t>(this);
}

Ref<String> Object::description() const
{
    char text[256];
    std::snprintf(text, sizeof(text), "<%s: %p>", classObject()->name().c_str(), static_cast<const void*>(this));
    return String::withUTF8(text);
}

bool Object::respondsToSelector(Selector selector) const
{
    return classObject()->lookupMethod(selector) != nullptr;
}

Imp Object::methodForSelector(Selector selector) const
{
    const Method* method = classObject()->lookupMethod(selector);
    return method ? method->implementation() : Imp();
}

Ref<MethodSignature> Object::methodSignatureForSelector(Selector selector) const
{
    return Ref<MethodSignature>(methodForSelector(selector).signature());
}

namespace {

template <typename R>
R sendObjects(Object* receiver, Selector selector, uint32_t count, Object* argument1, Object* argument2)
{
    switch (count) {
    case 0:
        return send<R>(receiver, selector);
    case 1:
        return send<R>(receiver, selector, argument1);
    default:
        return send<R>(receiver, selector, argument1, argument2);
    }
}

Ref<Object> performWithObjects(Object* receiver, Selector selector, Object* argument1, Object* argument2)
{
    const Imp imp = receiver->methodForSelector(selector);
    if (!imp)
        detail::raiseUnrecognizedSelector(receiver, selector);
    // Up to two arguments are passed, as many as the method takes; a method that takes more
    // gets two and send raises.
    const uint32_t count = std::min(imp.signature()->numberOfArguments() - 2, 2u);
    if (imp.signature()->methodReturnKind() != ValueKind::Object) {
        sendObjects<void>(receiver, selector, count, argument1, argument2);
        return nullptr;
    }
    return sendObjects<Ref<Object>>(receiver, selector, count, argument1, argument2);
}

} // namespace

Ref<Object> Object::performSelector(Selector selector)
{
    return performWithObjects(this, selector, nullptr, nullptr);
}

Ref<Object> Object::performSelector(Selector selector, Object* argument)
{
    return performWithObjects(this, selector, argument, nullptr);
}

Ref<Object> Object::performSelector(Selector selector, Object* argument1, Object* argument2)
{
    return performWithObjects(this, selector, argument1, argument2);
}

} // namespace yk
