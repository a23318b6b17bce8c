#include <Yarkit/core/system/Bundle.h>

namespace yk {

const char NSBundleDidLoadNotification[] = "NSBundleDidLoadNotification";

} // namespace yk
