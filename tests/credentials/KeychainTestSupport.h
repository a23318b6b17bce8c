#pragma once

#include <Yarkit/YKeychain.h>
#include <Yarkit/YKeychainMemoryStore.h>
#include <Yarkit/YKeychainSecretServiceStore.h>

#include <cstdlib>
#include <string>

namespace yk::test {

// True when scripts/with-keyring started a private daemon for this process; the real store is
// never used otherwise, so no test touches the user's own keyring.
inline bool privateKeyringRunning()
{
    const char* marker = std::getenv("YK_PRIVATE_KEYRING");
    return marker && std::string(marker) == "running";
}

} // namespace yk::test
