#include <Yarkit/core/Bundle.h>

namespace yk {

const char NSBundleDidLoadNotification[] = "NSBundleDidLoadNotification";

} // namespace yk
