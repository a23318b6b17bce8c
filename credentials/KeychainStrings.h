#pragma once

// The keychain's user-visible texts, looked up by their English text in the "Keychain" table.

#include <Yarkit/core/values/String.h>

namespace yk::detail {

Ref<String> localizedKeychainString(const char* english);

} // namespace yk::detail
