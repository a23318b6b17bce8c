#include <Yarkit/core/runtime/Invocation.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstring>

namespace yk {

YK_DEFINE_CLASS(Invocation);

Invocation::Invocation(Ref<MethodSignature> signature)
    : _signature(std::move(signature))
    , _arguments(_signature ? _signature->numberOfArguments() : 0)
    , _keptObjects(_arguments.size())
{
    if (!_signature)
        detail::raiseInvalidArgument("*** -[Invocation initWithMethodSignature:]: nil string (or other) argument");
}

Ref<Invocation> Invocation::invocationWithMethodSignature(Ref<MethodSignature> signature)
{
    return make<Invocation>(std::move(signature));
}

Ref<Invocation> Invocation::invocationForMessage(Object* target, Selector selector, uint32_t argumentCount)
{
    const Imp imp = target ? target->methodForSelector(selector) : Imp();
    if (!imp)
        detail::raiseUnrecognizedSelector(target, selector);
    if (argumentCount > imp.signature()->numberOfArguments() - 2)
        detail::checkArgumentCount(target, selector, *imp.signature(), argumentCount);
    auto invocation = make<Invocation>(Ref<MethodSignature>(imp.signature()));
    invocation->setTarget(target);
    invocation->setSelector(selector);
    return invocation;
}

void Invocation::setTarget(Object* target)
{
    _target = target;
    _keptObjects[0] = _retainsArguments ? target : nullptr;
}

void Invocation::checkArgumentIndex(uint32_t index) const
{
    if (index < 2 || index >= _arguments.size())
        detail::raiseInvalidArgument("-[Invocation setArgument:atIndex:]: index (" + std::to_string(index) + ") out of bounds [2, " + std::to_string(_arguments.size()) + ")");
}

ValueKind Invocation::argumentKind(uint32_t index, detail::KindSet accepted, ValueKind given) const
{
    checkArgumentIndex(index);
    const ValueKind kind = _signature->argumentKindAtIndex(index);
    if (!(accepted & detail::kindBit(kind)))
        detail::raiseInvalidArgument("-[Invocation setArgument:atIndex:]: " + detail::argumentMismatch(index, given, kind));
    return kind;
}

void Invocation::storeArgument(const detail::Slot& slot, uint32_t index, bool keep)
{
    _arguments[index] = slot;
    if (_signature->argumentKindAtIndex(index) == ValueKind::Object)
        _keptObjects[index] = keep || _retainsArguments ? slot.object : nullptr;
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
    detail::Slot slot {};
    std::memcpy(&slot, buffer, sizeOfValueKind(_signature->argumentKindAtIndex(index)));
    storeArgument(slot, index, false);
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
    _keptObjects[0] = _target;
    for (uint32_t index = 2; index < _arguments.size(); ++index) {
        if (_signature->argumentKindAtIndex(index) == ValueKind::Object)
            _keptObjects[index] = _arguments[index].object;
    }
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
    if (!imp)
        detail::raiseUnrecognizedSelector(target, _selector);
    if (imp.signature() != _signature.get() && !imp.signature()->isEqual(_signature.get()))
        detail::raiseInvalidArgument(detail::methodName(target, _selector.name()) + ": the invocation's signature does not match the method's");
    // The target may release its last outside reference during the call.
    Ref<Object> protectedTarget(target);
    imp.body()->invoke(*imp.body(), target, _arguments.data() + 2, _returnValue, _returnedObject);
}

void Invocation::getReturnValue(void* buffer) const
{
    std::memcpy(buffer, &_returnValue, _signature->methodReturnLength());
}

} // namespace yk
