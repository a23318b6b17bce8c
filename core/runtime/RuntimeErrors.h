#pragma once

// Raising the platform's standard exceptions from inside the core, where the runtime must not
// depend on the value classes' headers.

#include <Yarkit/core/runtime/MethodSignature.h>

#include <string>

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

// NSInvalidArgumentException "-[<class> <selector>]: unrecognized selector sent to instance"
// (or "class"): the one reason every way of sending a message gives for a missing method.
[[noreturn]] void raiseUnrecognizedSelector(const Object* receiver, Selector selector);
// Raises NSInvalidArgumentException unless the method takes exactly count arguments.
void checkArgumentCount(const Object* receiver, Selector selector, const MethodSignature& signature, uint32_t count);
// "argument <index>: <given kind> does not convert to <slot kind>".
std::string argumentMismatch(uint32_t index, ValueKind given, ValueKind slot);
// "int32", "object", ...: a kind as messages name it.
const char* nameOfValueKind(ValueKind kind);

} // namespace yk::detail
