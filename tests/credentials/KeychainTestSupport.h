#pragma once

// Helpers of the keychain tests: the store under test, a store that counts what it forwards,
// and clearing a store between cases.

#include <Yarkit/YKeychain.h>
#include <Yarkit/YKeychainMemoryStore.h>
#include <Yarkit/YKeychainSecretServiceStore.h>

#include <atomic>
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

// Forwards to another store and counts the writes.
class CountingStore final : public YKeychainStore {
    YK_OBJECT(CountingStore, YKeychainStore)
public:
    explicit CountingStore(Ref<YKeychainStore> inner)
        : _inner(std::move(inner))
    {
    }

    YKeychainStoreResult findInternetPassword(const YKeychainItemAttributes& attributes, std::string* password, Ref<YKeychainItem>* item) override
    {
        return _inner->findInternetPassword(attributes, password, item);
    }
    YKeychainStoreResult addInternetPassword(const YKeychainItemAttributes& attributes, std::string_view password, std::string_view label) override
    {
        ++adds;
        return _inner->addInternetPassword(attributes, password, label);
    }
    YKeychainStoreResult modifyItemData(YKeychainItem* item, std::string_view password) override
    {
        ++modifications;
        return _inner->modifyItemData(item, password);
    }
    YKeychainStoreResult deleteItem(YKeychainItem* item) override
    {
        ++deletions;
        return _inner->deleteItem(item);
    }

    std::atomic<int> adds { 0 }, modifications { 0 }, deletions { 0 };

private:
    Ref<YKeychainStore> _inner;
};

// Deletes every item the store holds (a find with no attributes matches all).
inline void clearStore(YKeychainStore* store)
{
    Ref<YKeychainItem> item;
    while (store->findInternetPassword({}, nullptr, &item).status == errSecSuccess && item) {
        if (store->deleteItem(item.get()).status != errSecSuccess)
            return;
        item = nullptr;
    }
}

} // namespace yk::test
