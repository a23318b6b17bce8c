#include <Yarkit/core/runtime/Invocation.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstring>

namespace yk {

YK_DEFINE_CLASS(Invocation);

Invocation::Invocation(Ref<MethodSignature> signature)
    : _signature(std::move(signature))
    , _arguments(_signature ? _signature->numberOfArguments() : 0)
{
    if (!_signature)
        detail::raiseInvalidArgument("*** -[Invocation initWithMethodSignature:]: nil string (or other) argument");
}

Ref<Invocation> Invocation::invocationWithMethodSignature(Ref<MethodSignature> signature)
{
    return make<Invocation>(std::move(signature));
}

void Invocation::setTarget(Object* target)
{
    _target = target;
    keepAlive(target);
}

void Invocation::checkArgumentIndex(uint32_t index) const
{
    if (index < 2 || index >= _arguments.size())
        detail::raiseInvalidArgument("-[Invocation setArgument:atIndex:]: index (" + std::to_string(index) + ") out of bounds [2, " + std::to_string(_arguments.size()) + ")");
}

void Invocation::storeArgument(const detail::Slot& slot, ValueKind kind, uint32_t index)
{
    checkArgumentIndex(index);
    if (_signature->argumentKindAtIndex(index) != kind)
        detail::raiseInvalidArgument("-[Invocation setArgument:atIndex:]: argument " + std::to_string(index) + " has another kind");
    _arguments[index] = slot;
    if (kind == ValueKind::Object)
        keepAlive(slot.object);
}

const detail::Slot& Invocation::loadArgument(ValueKind kind, uint32_t index) const
{
    checkArgumentIndex(index);
    if (_signature->argumentKindAtIndex(index) != kind)
        detail::raiseInvalidArgument("-[Invocation getArgument:atIndex:]: argument " + std::to_string(index) + " has another kind");
    return _arguments[index];
}

const detail::Slot& Invocation::loadReturnValue(ValueKind kind) const
{
    if (_signature->methodReturnKind() != kind)
        detail::raiseInvalidArgument("-[Invocation getReturnValue:]: the method returns another kind");
    return _returnValue;
}

void Invocation::setArgumentBytes(const void* buffer, uint32_t index)
{
    checkArgumentIndex(index);
    const ValueKind kind = _signature->argumentKindAtIndex(index);
    detail::Slot slot {};
    std::memcpy(&slot, buffer, sizeOfValueKind(kind));
    storeArgument(slot, kind, index);
}

void Invocation::getArgumentBytes(void* buffer, uint32_t index) const
{
    checkArgumentIndex(index);
    std::memcpy(buffer, &_arguments[index], sizeOfValueKind(_signature->argumentKindAtIndex(index)));
}

void Invocation::retainArguments()
{
    if (_retainsArguments)
        return;
    _retainsArguments = true;
    keepAlive(_target);
    for (uint32_t index = 2; index < _arguments.size(); ++index) {
        if (_signature->argumentKindAtIndex(index) == ValueKind::Object)
            keepAlive(_arguments[index].object);
    }
}

void Invocation::keepAlive(Object* object)
{
    if (_retainsArguments && object)
        _retainedObjects.emplace_back(object);
}

void Invocation::invoke()
{
    invokeWithTarget(_target);
}

void Invocation::invokeWithTarget(Object* target)
{
    if (!target)
        return;
    const Imp imp = target->methodForSelector(_selector);
    if (!imp) {
        detail::raiseInvalidArgument(detail::methodName(target, _selector.name()) + ": unrecognized selector sent to "
            + (target->isClass() ? "class" : "instance"));
    }
    if (imp.signature() != _signature.get() && !imp.signature()->isEqual(_signature.get()))
        detail::raiseInvalidArgument(detail::methodName(target, _selector.name()) + ": the invocation's signature does not match the method's");
    // The target may release its last outside reference during the call.
    Ref<Object> protectedTarget(target);
    imp.invoke(target, *this);
}

void Invocation::getReturnValue(void* buffer) const
{
    std::memcpy(buffer, &_returnValue, _signature->methodReturnLength());
}

namespace detail {

const Slot& invocationArgumentSlot(const Invocation& invocation, uint32_t index)
{
    return invocation._arguments[index];
}

void setInvocationReturnValue(Invocation& invocation, const Slot& value, Ref<Object> keepAlive)
{
    invocation._returnValue = value;
    invocation._returnedObject = std::move(keepAlive);
}

} // namespace detail

} // namespace yk
