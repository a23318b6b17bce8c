#pragma once

// Messages to any object, run on the main thread. Called on the main thread, the method runs at
// once and what it raises reaches the caller. Called on another thread, the message becomes a
// job (YJob) on the main-thread job center and the call returns at once, without waiting; calls
// from one thread run in the order they were made. The IfAbsent forms do not queue a job equal
// to one still waiting (running ones are not compared). The receiver and object arguments are
// retained by the job until it has run or been removed.
//
// The forms with three objects, a bool, one or two ints, a float or a double check the selector
// on every thread ("Null selector passed to - [Class worker]." as NSInvalidArgumentException,
// where worker is the form's _performSelectorInMainThread:...:allowDuplication:) and, on the main
// thread, that the receiver implements it ("Invalid selector passed to - [Class worker]."). The
// forms with up to two objects check nothing: on the main thread they perform the selector, off
// it a null selector makes a job that does nothing.
//
// The float form passes a double when it calls directly on the main thread and a float in the
// queued job; a method whose argument is of another kind raises NSInvalidArgumentException.
// Raises NSInternalInconsistencyException off the main thread while the main-thread center is
// not prepared.

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

#include <cstdint>

namespace yk {

// performSelectorInMainThread:, ...:withObject:, ...:withObject:withObject:, ...:withObject:withObject:withObject:
void performSelectorInMainThread(Object* receiver, Selector selector);
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object);
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object1, Object* object2);
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object1, Object* object2, Object* object3);
// performSelectorInMainThread:withBool:, withInt:, withInt:withInt:, withFloat:, withDouble:
void performSelectorInMainThreadWithBool(Object* receiver, Selector selector, bool value);
void performSelectorInMainThreadWithInt(Object* receiver, Selector selector, int32_t value);
void performSelectorInMainThreadWithInt(Object* receiver, Selector selector, int32_t value1, int32_t value2);
void performSelectorInMainThreadWithFloat(Object* receiver, Selector selector, float value);
void performSelectorInMainThreadWithDouble(Object* receiver, Selector selector, double value);

// performSelectorInMainThreadIfAbsent:... the same, refusing duplicates of waiting jobs.
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector);
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object);
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object1, Object* object2);
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object1, Object* object2, Object* object3);
void performSelectorInMainThreadIfAbsentWithBool(Object* receiver, Selector selector, bool value);
void performSelectorInMainThreadIfAbsentWithInt(Object* receiver, Selector selector, int32_t value);
void performSelectorInMainThreadIfAbsentWithInt(Object* receiver, Selector selector, int32_t value1, int32_t value2);
void performSelectorInMainThreadIfAbsentWithFloat(Object* receiver, Selector selector, float value);
void performSelectorInMainThreadIfAbsentWithDouble(Object* receiver, Selector selector, double value);

} // namespace yk
