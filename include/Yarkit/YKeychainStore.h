#pragma once

// The password store under YKeychain: internet-password items keyed by server, security
// domain, account, path, port, protocol and authentication type, with find, add, change of the
// data and delete. Each operation answers with a status code of the keychain's (below) and,
// on failure, the back end's own message for the exception's user info.
//
// Matching: in a find, a null server, security domain, account or path, port 0 and protocol 0
// match any value; the other fields must be equal. An add stores the fields as given (a null
// text as the empty one). Stores are used by one YKeychain operation at a time (the keychain's
// lock serialises them), but may be called from any thread.

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace yk {

using OSStatus = int32_t;

// The status codes a store answers with.
enum : OSStatus {
    errSecSuccess = 0,
    userCanceledErr = -128,
    errSecNotAvailable = -25291,
    errSecDuplicateItem = -25299,
    errSecItemNotFound = -25300,
    errSecBufferTooSmall = -25301,
    errSecDataTooLarge = -25302,
    errSecInvalidItemRef = -25304,
    errSecNoDefaultKeychain = -25307,
};

// 'dflt', the only authentication type YKeychain uses.
constexpr uint32_t kSecAuthenticationTypeDefault = 0x64666C74;

// The key of an internet password. Texts are UTF-8; std::nullopt is a null attribute.
struct YKeychainItemAttributes {
    std::optional<std::string> server;
    std::optional<std::string> securityDomain;
    std::optional<std::string> account;
    std::optional<std::string> path;
    uint16_t port { 0 };
    uint32_t protocol { 0 };
    uint32_t authenticationType { kSecAuthenticationTypeDefault };

    bool operator==(const YKeychainItemAttributes&) const = default;
};

// An item a find has found, to change or delete; each store makes its own kind.
class YKeychainItem : public Object {
    YK_OBJECT(YKeychainItem, Object)
protected:
    YKeychainItem() = default;
};

// A status and, when it is not success, the back end's description of what went wrong.
struct YKeychainStoreResult {
    OSStatus status { errSecSuccess };
    std::string message;
};

class YKeychainStore : public Object {
    YK_OBJECT(YKeychainStore, Object)
public:
    // Finds the first item that matches; errSecItemNotFound when none does. The password's
    // bytes (as stored) go to `password` and the item to `item`, when these are given.
    virtual YKeychainStoreResult findInternetPassword(const YKeychainItemAttributes& attributes,
        std::string* password, Ref<YKeychainItem>* item) = 0;
    // Adds an item; errSecDuplicateItem when one with exactly these attributes exists. The
    // label is what the user sees (the URL without its password); it is not part of the key.
    virtual YKeychainStoreResult addInternetPassword(const YKeychainItemAttributes& attributes,
        std::string_view password, std::string_view label) = 0;
    // Replaces the data of an item found by this store; errSecInvalidItemRef for an item that
    // is gone or belongs to another store.
    virtual YKeychainStoreResult modifyItemData(YKeychainItem* item, std::string_view password) = 0;
    // Deletes an item found by this store; errSecInvalidItemRef as above.
    virtual YKeychainStoreResult deleteItem(YKeychainItem* item) = 0;

protected:
    YKeychainStore() = default;
};

} // namespace yk
