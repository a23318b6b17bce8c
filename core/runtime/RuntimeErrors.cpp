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

} // namespace yk::detail
