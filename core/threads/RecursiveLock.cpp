#include <Yarkit/core/threads/RecursiveLock.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(RecursiveLock);

Ref<String> RecursiveLock::description() const
{
    return _state.describe(Object::description());
}

} // namespace yk
