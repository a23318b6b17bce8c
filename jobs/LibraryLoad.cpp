// Runs the load-time hooks of every class when the library is loaded, on the loading thread.
// This file is linked last, so its initialiser runs after every class of the library has been
// registered by the initialisers of the files before it.

#include <Yarkit/YObject.h>
#include <Yarkit/core/runtime/Class.h>

namespace {

const bool loadTimeHooksProcessed = [] {
    yk::YObject::staticClass()->ensureInitialized();
    return true;
}();

} // namespace
