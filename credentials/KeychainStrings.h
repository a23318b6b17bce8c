#pragma once

// The keychain's user-visible texts, looked up in the framework's bundle by their English
// text in the "Keychain" table. Mark each key at its call site with
// YK_LOCALIZABLE("Keychain", "...") so the catalogue template holds it.

#include <Yarkit/core/values/String.h>

namespace yk::detail {

Ref<String> localizedKeychainString(const char* english);

} // namespace yk::detail
