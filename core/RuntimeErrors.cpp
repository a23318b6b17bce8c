#include "core/RuntimeErrors.h"

#include <Yarkit/core/Class.h>

#include <stdexcept>

namespace yk::detail {

void raiseInvalidArgument(const std::string& reason)
{
    throw std::invalid_argument(reason);
}

void raiseRange(const std::string& reason)
{
    throw std::out_of_range(reason);
}

void raiseInternalInconsistency(const std::string& reason)
{
    throw std::logic_error(reason);
}

void raiseGeneric(const std::string& reason)
{
    throw std::runtime_error(reason);
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
