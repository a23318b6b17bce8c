#include <Yarkit/YObject.h>

#include <Yarkit/YPostLoadProcessor.h>
#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(YObject, [](MethodListBuilder& c) {
    c.classMethod("initialize", &YObject::initialize);
});

void YObject::initialize(Class* self)
{
    // Subclasses inherit this method; only YObject's own initialisation processes the hooks.
    // The runtime initialises each class once, so this runs once.
    if (self == YObject::staticClass())
        YPostLoadProcessor::process();
}

} // namespace yk
