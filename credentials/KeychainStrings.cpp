#include "credentials/KeychainStrings.h"

namespace yk::detail {

// English until the framework's string tables are in place.
Ref<String> localizedKeychainString(const char* english)
{
    return String::withUTF8(english);
}

} // namespace yk::detail
