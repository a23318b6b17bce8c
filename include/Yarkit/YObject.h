#pragma once

#include <Yarkit/core/runtime/Object.h>

namespace yk {

// A root class for the framework's objects. Initialising it runs every class's load-time hook
// (YPostLoadProcessor::process), once; the library does that when it is loaded, on the loading
// thread.
class YObject : public Object {
    YK_OBJECT(YObject, Object)
public:
    YObject() = default;

    // +initialize: when the class being initialised is exactly YObject, processes the load-time
    // hooks of every class.
    static void initialize(Class* self);
};

} // namespace yk
