#include <Yarkit/core/threads/Lock.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(Lock);

Ref<String> Lock::description() const
{
    return _state.describe(Object::description());
}

} // namespace yk
