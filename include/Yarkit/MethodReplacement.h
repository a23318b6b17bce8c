#pragma once

// Swapping and locating method implementations at run time.

#include <Yarkit/core/runtime/Class.h>

extern "C" {

// Give the selector of the class's instance (or class) side the implementation of the other
// selector; returns the previous implementation (wrap it in a yk::Imp to call it), so new code
// can call the old, or null (after logging "%c[%s %s] not found") when either method is missing.
IMP YKReplaceInstanceMethod(yk::Class* cls, yk::Selector selector, yk::Selector otherSelector);
IMP YKReplaceClassMethod(yk::Class* cls, yk::Selector selector, yk::Selector otherSelector);

// The class in cls's superclass chain that actually provides the method cls uses, or null.
yk::Class* YKGetClassImplementingInstanceMethod(yk::Class* cls, yk::Selector selector);
yk::Class* YKGetClassImplementingClassMethod(yk::Class* cls, yk::Selector selector);

}
