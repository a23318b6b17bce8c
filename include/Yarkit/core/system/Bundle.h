#pragma once

// Bundles: the framework's own resources and loadable plug-ins. For now only the notification
// that a bundle was loaded; the loading and localised strings come with the classes that use
// them.

namespace yk {

// Posted after a bundle's code was loaded; load-time hooks run again when it is.
extern const char NSBundleDidLoadNotification[];

} // namespace yk
