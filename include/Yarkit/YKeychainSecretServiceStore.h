#pragma once

// The YKeychainStore of the user's own password store, through the Secret Service D-Bus API
// (gnome-keyring, KeePassXC, ...) on the session bus. Items use a schema of their own,
// "org.yarkit.InternetPassword", with one attribute per key field and a label the user can
// read; passwords are read as bytes. It connects on first use and again after a failure.
//
// Failures answer: no session bus, no Secret Service on it, or no default collection for an
// add: errSecNoDefaultKeychain (-25307); an item or collection still locked after the unlock
// attempt (the prompt was dismissed or could not be shown): userCanceledErr (-128); an item
// that is gone: errSecInvalidItemRef (-25304); anything else: errSecNotAvailable (-25291).
// The back end's own message comes with each. Safe to use from any thread.

#include <Yarkit/YKeychainStore.h>
#include <Yarkit/core/runtime/Mutex.h>

typedef struct _SecretService SecretService;

namespace yk {

class YKeychainSecretServiceStore final : public YKeychainStore {
    YK_OBJECT(YKeychainSecretServiceStore, YKeychainStore)
public:
    YKeychainSecretServiceStore() = default;
    ~YKeychainSecretServiceStore() override;

    YKeychainStoreResult findInternetPassword(const YKeychainItemAttributes& attributes,
        std::string* password, Ref<YKeychainItem>* item) override;
    YKeychainStoreResult addInternetPassword(const YKeychainItemAttributes& attributes,
        std::string_view password, std::string_view label) override;
    YKeychainStoreResult modifyItemData(YKeychainItem* item, std::string_view password) override;
    YKeychainStoreResult deleteItem(YKeychainItem* item) override;

    // The schema's name, which its items carry as "xdg:schema".
    static const char schemaName[];

private:
    // The connection, made when first needed; null with `failure` set when there is none.
    SecretService* service(YKeychainStoreResult& failure);
    // The same, and the object path of an item this store found (errSecInvalidItemRef for
    // another kind of item).
    SecretService* serviceForItem(const YKeychainItem* item, const char*& path, YKeychainStoreResult& failure);

    Mutex _lock;
    SecretService* _service YK_GUARDED_BY(_lock) { nullptr };
};

} // namespace yk
