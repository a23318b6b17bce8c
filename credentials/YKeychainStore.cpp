#include <Yarkit/YKeychainStore.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(YKeychainItem);
YK_DEFINE_CLASS(YKeychainStore);

} // namespace yk
