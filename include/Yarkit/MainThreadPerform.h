#pragma once

// The NSObject(YarkitNSMainThreadPerformAdditions) group: one message with one object argument,
// sent on the main thread, optionally waiting until it has run.

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

namespace yk {

class Array;

// YK_performSelectorOnMainThread:withObject:waitUntilDone:modes:
// Null modes: nothing happens. Off the main thread the request goes through the main-thread
// performer and runs on the main loop in one of the modes (once, even when several apply); a
// waiting caller returns once it has run (or raised). On the main thread without waiting it
// runs on a later pass of the loop, never now; with waiting it runs at once, and an exception
// from it is logged ("*** NSThread ignoring exception ...") and not passed on.
void YK_performSelectorOnMainThread(Object* receiver, Selector selector, Object* argument, bool waitUntilDone, const Array* modes);
// The same in the common modes.
void YK_performSelectorOnMainThread(Object* receiver, Selector selector, Object* argument, bool waitUntilDone);

} // namespace yk
