#include <Yarkit/core/SpinLock.h>

#include <Yarkit/core/Class.h>

namespace yk {

YK_DEFINE_CLASS(SpinLock);

} // namespace yk
