#pragma once

// Raising the platform's standard exceptions from inside the core, where the runtime must not
// depend on the value classes' headers.

#include <string>

namespace yk {
class Object;
}

namespace yk::detail {

[[noreturn]] void raiseInvalidArgument(const std::string& reason);
[[noreturn]] void raiseRange(const std::string& reason);
[[noreturn]] void raiseInternalInconsistency(const std::string& reason);
[[noreturn]] void raiseGeneric(const std::string& reason);

// NSInvalidArgumentException "*** -[<class> <selector>]: nil string (or other) argument".
[[noreturn]] void raiseNilArgument(const Object* receiver, const char* selector);
// NSRangeException "*** -[<class> <selector>]: Range or index out of bounds".
[[noreturn]] void raiseOutOfBounds(const Object* receiver, const char* selector);

// "-[Class selector]" or "+[Class selector]" for a receiver, as messages name methods.
std::string methodName(const Object* receiver, const char* selector);

} // namespace yk::detail
