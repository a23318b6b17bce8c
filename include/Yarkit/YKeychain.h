#pragma once

// YKeychain stores, finds, changes and removes internet passwords keyed by a URL, in a
// YKeychainStore: the user's own store through the Secret Service by default. There is one
// shared instance per process (every way of making one answers it, and it is never freed);
// one lock serialises its operations, so any thread may use it.
//
// A URL maps to an item's attributes as follows: server from host (null without one),
// account from user (null without one, so such a URL finds any user's item), path from path,
// port from port (0, any port, without one), protocol from the scheme (see
// _protocolTypeForScheme), authentication type 'dflt', no security domain. The password is
// stored as UTF-8, cut at its first NUL character.
//
// Failures of the store raise (statuses as the store answers them):
//   -25307 (no store, no default collection)  YKeychainNoDefaultKeychainException, "There is no default keychain"
//   -128 (still locked, prompt dismissed)      YKeychainUserCanceledException, "Canceled"
//   -25302 on add or change                    YKeychainDataTooLargeException, "The password is too long"
//   -25304 on change or remove                 NSInternalInconsistencyException, "The keychain item reference is invalid"
//   any other                                  YKeychainException, "Unexpected error (<status>)"
// "There is no default keychain", "The password is too long" and "Unexpected error (%ld)" are
// localised (table "Keychain"). The user info holds the status under YKeychainStatusKey and
// the store's own message, when it gave one, under YKeychainStoreMessageKey.

#include <Yarkit/YKeychainStore.h>
#include <Yarkit/core/system/URL.h>
#include <Yarkit/core/threads/Lock.h>

namespace yk {

extern const char YKeychainException[];
extern const char YKeychainUserCanceledException[];
extern const char YKeychainDataTooLargeException[];
// Exported for callers that catch it; no operation raises it.
extern const char YKeychainInvalidKeychainException[];
extern const char YKeychainNoDefaultKeychainException[];

// User-info keys of the exceptions above: the status (a Number) and the store's message.
extern const char YKeychainStatusKey[];
extern const char YKeychainStoreMessageKey[];

class YKeychain final : public Object {
    YK_OBJECT(YKeychain, Object)
public:
    // +defaultKeychain: the shared instance, created on first use.
    static YKeychain* defaultKeychain();
    // [[YKeychain alloc] init]: the shared instance too (Class::createInstance uses it).
    static Ref<YKeychain> newInstance() { return defaultKeychain(); }

    // -internetPasswordForURL: the password stored for the URL, or null when no item matches
    // (or its bytes are not UTF-8). An item stored with no bytes gives "". Null for a null URL.
    Ref<String> internetPasswordForURL(const URL* url);
    // -setInternetPassword:forURL: changes the item found or adds one. An unchanged password
    // is never written; an item that appeared meanwhile (a duplicate on add) is left as it is.
    // Raises NSInvalidArgumentException "attempt to insert nil URL" and then "attempt to insert
    // nil password" for null arguments.
    void setInternetPassword(const String* password, const URL* url);
    // -removeInternetPasswordForURL: deletes the one item found; nothing found is not an error.
    // Raises NSInvalidArgumentException "attempt to remove nil URL" for a null URL.
    void removeInternetPasswordForURL(const URL* url);

    // The store the keychain works on: the Secret Service store until another is set. Setting
    // one waits for the operation in progress; the keychain never falls back to another store
    // by itself.
    Ref<YKeychainStore> store() const;
    void setStore(Ref<YKeychainStore> store);

    // +_protocolTypeForScheme: the protocol code of a scheme, compared lower-cased; secure
    // schemes give their plain counterpart's code; null, empty and unknown schemes give 0.
    static uint32_t _protocolTypeForScheme(const String* scheme);

private:
    YKeychain();
    static void initialize(Class* self);

    bool _getInternetPassword(Ref<String>* password, Ref<YKeychainItem>* item, const URL* url) YK_REQUIRES(_lock);
    void _setInternetPassword(const String* password, const URL* url) YK_REQUIRES(_lock);
    bool _addInternetPassword(const String* password, const URL* url) YK_REQUIRES(_lock);
    void _removeInternetPasswordForURL(const URL* url) YK_REQUIRES(_lock);

    // Serialises every public operation, from the argument checks' end to the result.
    mutable Lock _lock;
    // The store to search and write.
    Ref<YKeychainStore> _keychain YK_GUARDED_BY(_lock);
};

} // namespace yk
