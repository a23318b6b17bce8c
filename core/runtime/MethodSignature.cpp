#include <Yarkit/core/runtime/MethodSignature.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

YK_DEFINE_CLASS(MethodSignature);

uint32_t sizeOfValueKind(ValueKind kind)
{
    switch (kind) {
    case ValueKind::Void:
        return 0;
    case ValueKind::Bool:
        return sizeof(bool);
    case ValueKind::Int32:
        return sizeof(int32_t);
    case ValueKind::Float:
        return sizeof(float);
    case ValueKind::Int64:
        return sizeof(int64_t);
    case ValueKind::Double:
        return sizeof(double);
    case ValueKind::Range:
        return sizeof(Range);
    case ValueKind::Object:
    case ValueKind::Selector:
    case ValueKind::Pointer:
        return sizeof(void*);
    }
    return 0;
}

MethodSignature::MethodSignature(ValueKind returnKind, std::vector<ValueKind> methodArguments)
    : _returnKind(returnKind)
{
    _arguments.reserve(methodArguments.size() + 2);
    _arguments.push_back(ValueKind::Object);
    _arguments.push_back(ValueKind::Selector);
    _arguments.insert(_arguments.end(), methodArguments.begin(), methodArguments.end());
}

void MethodSignature::raiseIndexOutOfBounds(uint32_t index) const
{
    detail::raiseInvalidArgument("-[MethodSignature argumentKindAtIndex:]: index (" + std::to_string(index) + ") out of bounds");
}

bool MethodSignature::isEqual(const Object* other) const
{
    const auto* signature = dynamic_cast<const MethodSignature*>(other);
    return signature && signature->_returnKind == _returnKind && signature->_arguments == _arguments;
}

size_t MethodSignature::hash() const
{
    size_t value = static_cast<size_t>(_returnKind);
    for (ValueKind kind : _arguments)
        value = value * 31 + static_cast<size_t>(kind);
    return value;
}

} // namespace yk
