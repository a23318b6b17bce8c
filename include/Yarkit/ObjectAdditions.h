#pragma once

// The object additions of the Yarkit group: calling a method only when it is implemented, and a
// guarded cast. Registered on yk::Object's class as the category "Yarkit".

#include <Yarkit/core/runtime/Class.h>

namespace yk {

// -becomeObjectOfClass: — the object when it is a kind of the class, else null.
Object* becomeObjectOfClass(Object* object, Class* cls);
template <typename T>
T* becomeObjectOfClass(Object* object)
{
    return static_cast<T*>(becomeObjectOfClass(object, T::staticClass()));
}

// -tryToPerformSelector:withObject:withObject:returnValue: and its shorter forms. Sends the
// message when the receiver responds to it and answers whether it did. Object arguments go only
// into the slots the method declares; when returnValue is not null and the method returns
// something, its methodReturnLength() bytes are copied there. What the method raises passes on.
bool tryToPerformSelector(Object* receiver, Selector selector, void* returnValue);
bool tryToPerformSelector(Object* receiver, Selector selector, Object* object, void* returnValue);
bool tryToPerformSelector(Object* receiver, Selector selector, Object* object1, Object* object2, void* returnValue);

} // namespace yk
