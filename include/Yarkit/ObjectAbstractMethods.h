#pragma once

// The object additions of the YSCategories group: errors for methods that a class does not
// implement, must not implement, or leaves to its subclasses. Each raises NSGenericException;
// the receiver is described as "class" when it is a class object and "instance" otherwise.
// Registered on yk::Object's class as the category "YSCategories".

#include <Yarkit/core/runtime/Object.h>

namespace yk {

// "method %s not implemented in %s (%s)"
[[noreturn]] void notImplemented(const Object* receiver, Selector selector);
// "%s (%s) should not implement %s"
[[noreturn]] void shouldNotImplement(const Object* receiver, Selector selector);
// "subclass %s (%s) should override %s"
[[noreturn]] void subclassResponsibility(const Object* receiver, Selector selector);

} // namespace yk
