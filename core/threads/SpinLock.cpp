#include <Yarkit/core/threads/SpinLock.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(SpinLock);

} // namespace yk
