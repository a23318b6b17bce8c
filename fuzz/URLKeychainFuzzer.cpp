// Any text as a URL for the keychain: parsing must not crash, a URL made again from its
// absoluteString must have the same parts, and a password stored under the URL must be found
// under that second URL (the same attributes) and be removed again. Runs on the in-memory
// store.
#include <Yarkit/YKeychain.h>
#include <Yarkit/YKeychainMemoryStore.h>

#include <cstdlib>
#include <string_view>

namespace {

template <typename T>
bool same(const yk::Ref<T>& a, const yk::Ref<T>& b)
{
    return a ? (b && a->isEqual(b.get())) : !b;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const auto store = [] {
        auto memory = yk::make<yk::YKeychainMemoryStore>();
        yk::YKeychain::defaultKeychain()->setStore(memory);
        return memory;
    }();
    auto url = yk::URL::URLWithString(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!url)
        return 0;
    auto again = yk::URL::URLWithString(url->absoluteString().get());
    if (!again || !same(url->scheme(), again->scheme()) || !same(url->user(), again->user()) || !same(url->host(), again->host())
        || !same(url->port(), again->port()) || !same(url->path(), again->path()))
        std::abort();

    auto* keychain = yk::YKeychain::defaultKeychain();
    auto password = yk::String::withUTF8("fuzz");
    keychain->setInternetPassword(password.get(), url.get());
    auto found = keychain->internetPasswordForURL(again.get());
    if (!found || !found->isEqualToString(password.get()))
        std::abort();
    keychain->removeInternetPasswordForURL(again.get());
    if (store->itemCount() != 0)
        std::abort();
    return 0;
}
