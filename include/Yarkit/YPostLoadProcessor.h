#pragma once

#include <Yarkit/core/runtime/Object.h>

namespace yk {

class Notification;

// Runs the load-time hooks: every class-side "postLoad" method of every class and category,
// exactly once per implementation for the life of the process. Processing runs when the library
// is loaded and again whenever a bundle is loaded (NSBundleDidLoadNotification), serialised by a
// process-wide recursive lock so that a hook that loads a bundle re-enters without deadlock.
// A hook that raises a yk::Exception is logged and the next one runs; any other C++ throw passes
// on. Classes an application registers after the library loaded get their hooks at the next
// process(): call it at the start of main() when the application's own classes have hooks.
class YPostLoadProcessor final : public Object {
    YK_OBJECT(YPostLoadProcessor, Object)
public:
    // +process
    static void process();

    // +initialize: creates the lock and the called set, and observes bundle loads, once.
    static void initialize(Class* self);

private:
    // +_bundleDidLoad:
    static void bundleDidLoad(Class* self, Notification* notification);
    // +_processClassesWithSelector:initialize: — whether any hook ran.
    static bool processClassesWithSelector(Selector selector, bool initialize);
    // +_processClass:withSelector:initialize: — whether any hook of the class ran.
    static bool processClass(Class* cls, Selector selector, bool initialize);
};

} // namespace yk
