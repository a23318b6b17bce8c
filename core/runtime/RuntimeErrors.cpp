#include "core/runtime/RuntimeErrors.h"

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h> // reaches up: the runtime raises exception objects

namespace yk::detail {

namespace {

[[noreturn]] void raiseNamed(const char* name, const std::string& reason)
{
    Exception::exceptionWithName(name, reason.c_str())->raise();
}

} // namespace

void raiseInvalidArgument(const std::string& reason)
{
    raiseNamed(NSInvalidArgumentException, reason);
}

void raiseRange(const std::string& reason)
{
    raiseNamed(NSRangeException, reason);
}

void raiseInternalInconsistency(const std::string& reason)
{
    raiseNamed(NSInternalInconsistencyException, reason);
}

void raiseGeneric(const std::string& reason)
{
    raiseNamed(NSGenericException, reason);
}

void raiseNilArgument(const Object* receiver, const char* selector)
{
    raiseInvalidArgument("*** " + methodName(receiver, selector) + ": nil string (or other) argument");
}

void raiseOutOfBounds(const Object* receiver, const char* selector)
{
    raiseRange("*** " + methodName(receiver, selector) + ": Range or index out of bounds");
}

std::string methodName(const Object* receiver, const char* selector)
{
    const bool isClass = receiver && receiver->isClass();
    const Class* cls = isClass ? static_cast<const Class*>(receiver) : receiver ? receiver->classObject() : nullptr;
    std::string name = isClass ? "+[" : "-[";
    name += cls ? cls->name() : "(Nil)";
    name += ' ';
    name += selector ? selector : "(null)";
    name += ']';
    return name;
}

void raiseUnrecognizedSelector(const Object* receiver, Selector selector)
{
    raiseInvalidArgument(methodName(receiver, selector.name()) + ": unrecognized selector sent to " + (receiver && receiver->isClass() ? "class" : "instance"));
}

void checkArgumentCount(const Object* receiver, Selector selector, const MethodSignature& signature, uint32_t count)
{
    const uint32_t takes = signature.numberOfArguments() - 2;
    if (count != takes)
        raiseInvalidArgument(methodName(receiver, selector.name()) + ": the method takes " + std::to_string(takes) + " arguments, " + std::to_string(count) + " given");
}

std::string argumentMismatch(uint32_t index, ValueKind given, ValueKind slot)
{
    return "argument " + std::to_string(index) + ": " + nameOfValueKind(given) + " does not convert to " + nameOfValueKind(slot);
}

const char* nameOfValueKind(ValueKind kind)
{
    switch (kind) {
    case ValueKind::Void:
        return "void";
    case ValueKind::Object:
        return "object";
    case ValueKind::Bool:
        return "bool";
    case ValueKind::Int32:
        return "int32";
    case ValueKind::Int64:
        return "int64";
    case ValueKind::Float:
        return "float";
    case ValueKind::Double:
        return "double";
    case ValueKind::Selector:
        return "selector";
    case ValueKind::Pointer:
        return "pointer";
    case ValueKind::Range:
        return "range";
    }
    return "?";
}

} // namespace yk::detail
