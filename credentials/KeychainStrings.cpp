#include "credentials/KeychainStrings.h"

#include <Yarkit/YKeychain.h>
#include <Yarkit/core/system/Bundle.h>

namespace yk::detail {

Ref<String> localizedKeychainString(const char* english)
{
    static const Ref<String> table = String::withUTF8("Keychain");
    static const Ref<String> noValue = make<String>();
    auto bundle = Bundle::bundleForClass(YKeychain::staticClass());
    if (!bundle)
        return String::withUTF8(english);
    return bundle->localizedStringForKey(String::withUTF8(english).get(), noValue.get(), table.get());
}

} // namespace yk::detail
