#include <Yarkit/YKeychain.h>

#include "credentials/KeychainStrings.h"

#include <Yarkit/YKeychainSecretServiceStore.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Format.h>

#include <string>

namespace yk {

const char YKeychainException[] = "YKeychainException";
const char YKeychainUserCanceledException[] = "YKeychainUserCanceledException";
const char YKeychainDataTooLargeException[] = "YKeychainDataTooLargeException";
const char YKeychainInvalidKeychainException[] = "YKeychainInvalidKeychainException";
const char YKeychainNoDefaultKeychainException[] = "YKeychainNoDefaultKeychainException";
const char YKeychainStatusKey[] = "YKeychainStatusKey";
const char YKeychainStoreMessageKey[] = "YKeychainStoreMessageKey";

namespace {

enum class Operation { Find, Add, Change, Remove };

Ref<Dictionary> userInfoFor(const YKeychainStoreResult& result)
{
    auto status = Number::numberWithInt(result.status);
    if (result.message.empty())
        return Dictionary::dictionaryWithEntries({ { String::withUTF8(YKeychainStatusKey), status } });
    return Dictionary::dictionaryWithEntries({
        { String::withUTF8(YKeychainStatusKey), status },
        { String::withUTF8(YKeychainStoreMessageKey), String::withUTF8(result.message) },
    });
}

[[noreturn]] void raiseNamed(const char* name, Ref<String> reason, const YKeychainStoreResult& result)
{
    Exception::exceptionWithName(String::withUTF8(name), std::move(reason), userInfoFor(result))->raise();
}

// Turns a failing status into the exception of the operation's column.
[[noreturn]] void raiseForResult(const YKeychainStoreResult& result, Operation operation)
{
    const bool writes = operation == Operation::Add || operation == Operation::Change;
    const bool usesItem = operation == Operation::Change || operation == Operation::Remove;
    switch (result.status) {
    case errSecNoDefaultKeychain:
        raiseNamed(YKeychainNoDefaultKeychainException, detail::localizedKeychainString(YK_LOCALIZABLE("Keychain", "There is no default keychain")), result);
    case userCanceledErr:
        raiseNamed(YKeychainUserCanceledException, String::withUTF8("Canceled"), result);
    case errSecDataTooLarge:
        if (writes)
            raiseNamed(YKeychainDataTooLargeException, detail::localizedKeychainString(YK_LOCALIZABLE("Keychain", "The password is too long")), result);
        break;
    case errSecInvalidItemRef:
        if (usesItem)
            raiseNamed(NSInternalInconsistencyException, String::withUTF8("The keychain item reference is invalid"), result);
        break;
    default:
        break;
    }
    auto format = detail::localizedKeychainString(YK_LOCALIZABLE("Keychain", "Unexpected error (%ld)"));
    raiseNamed(YKeychainException, yk::format(format->utf8().c_str(), static_cast<long>(result.status)), result);
}

YKeychainItemAttributes attributesForURL(const URL* url)
{
    YKeychainItemAttributes attributes;
    if (url->host())
        attributes.server = url->host()->utf8();
    if (url->user())
        attributes.account = url->user()->utf8();
    if (url->path())
        attributes.path = url->path()->utf8();
    if (url->port())
        attributes.port = static_cast<uint16_t>(url->port()->intValue());
    attributes.protocol = YKeychain::_protocolTypeForScheme(url->scheme().get());
    return attributes;
}

// UTF-8, cut at the first NUL character.
std::string passwordBytes(const String* password)
{
    std::string bytes = password->utf8();
    if (const size_t nul = bytes.find('\0'); nul != std::string::npos)
        bytes.resize(nul);
    return bytes;
}

// What the store's item is called where the user sees it: the URL without its password.
std::string labelForURL(const URL* url)
{
    std::string label;
    if (url->scheme())
        label += url->scheme()->utf8() + "://";
    if (url->user())
        label += url->user()->utf8() + "@";
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict, GCC bug 105651) on a
    // literal joined to a temporary string.
    if (url->host()) {
        const bool bracketed = url->host()->containsString(String::withUTF8(":").get());
        label += bracketed ? "[" : "";
        label += url->host()->utf8();
        label += bracketed ? "]" : "";
    }
    if (url->port()) {
        label += ':';
        label += url->port()->stringValue()->utf8();
    }
    return label + url->path()->utf8();
}

} // namespace

YK_DEFINE_CLASS(YKeychain, [](MethodListBuilder& c) {
    c.classMethod("initialize", &YKeychain::initialize);
});

YKeychain::YKeychain()
{
    Locker guard(_lock);
    _keychain = make<YKeychainSecretServiceStore>();
}

void YKeychain::initialize(Class* self)
{
    if (self == YKeychain::staticClass())
        defaultKeychain();
}

YKeychain* YKeychain::defaultKeychain()
{
    static YKeychain* const shared = Ref<YKeychain>::adopt(new YKeychain).leakRef(); // lives for the whole process
    return shared;
}

Ref<YKeychainStore> YKeychain::store() const
{
    Locker guard(_lock);
    return _keychain;
}

void YKeychain::setStore(Ref<YKeychainStore> store)
{
    if (!store)
        raise(NSInvalidArgumentException, "attempt to set nil store");
    Locker guard(_lock);
    _keychain = std::move(store);
}

uint32_t YKeychain::_protocolTypeForScheme(const String* scheme)
{
    static const struct {
        const char* scheme;
        uint32_t protocol;
    } table[] = {
        { "ftp", 0x66747020 }, { "http", 0x68747470 }, { "nntp", 0x6E6E7470 }, { "pop", 0x706F7033 },
        { "smtp", 0x736D7470 }, { "imap", 0x696D6170 }, { "ldap", 0x6C646170 }, { "telnet", 0x74656C6E },
        { "ftps", 0x66747020 }, { "https", 0x68747470 }, { "nntps", 0x6E6E7470 }, { "ldaps", 0x6C646170 },
        { "telnets", 0x74656C6E }, { "imaps", 0x696D6170 }, { "pops", 0x706F7033 }, { "smtps", 0x736D7470 },
    };
    if (!scheme || !scheme->length())
        return 0;
    auto lowercase = scheme->lowercaseString();
    for (const auto& row : table) {
        if (lowercase->isEqualToString(std::string_view(row.scheme)))
            return row.protocol;
    }
    return 0;
}

Ref<String> YKeychain::internetPasswordForURL(const URL* url)
{
    if (!url)
        return nullptr;
    Locker guard(_lock);
    Ref<String> password;
    _getInternetPassword(&password, nullptr, url);
    return password;
}

void YKeychain::setInternetPassword(const String* password, const URL* url)
{
    if (!url)
        raise(NSInvalidArgumentException, "attempt to insert nil URL");
    if (!password)
        raise(NSInvalidArgumentException, "attempt to insert nil password");
    Locker guard(_lock);
    _setInternetPassword(password, url);
}

void YKeychain::removeInternetPasswordForURL(const URL* url)
{
    if (!url)
        raise(NSInvalidArgumentException, "attempt to remove nil URL");
    Locker guard(_lock);
    _removeInternetPasswordForURL(url);
}

bool YKeychain::_getInternetPassword(Ref<String>* password, Ref<YKeychainItem>* item, const URL* url)
{
    std::string bytes;
    const auto result = _keychain->findInternetPassword(attributesForURL(url), password ? &bytes : nullptr, item);
    if (result.status == errSecItemNotFound)
        return false;
    if (result.status != errSecSuccess)
        raiseForResult(result, Operation::Find);
    if (password) {
        // Strict UTF-8: bytes that are not UTF-8 give null; no bytes give "", never null.
        *password = bytes.empty() ? make<String>() : String::stringWithBytes(bytes.data(), bytes.size(), kCFStringEncodingUTF8);
    }
    return true;
}

void YKeychain::_setInternetPassword(const String* password, const URL* url)
{
    Ref<String> stored;
    Ref<YKeychainItem> item;
    if (!_getInternetPassword(&stored, &item, url)) {
        // A duplicate means another process added the item meanwhile: it is left as it is.
        (void)_addInternetPassword(password, url);
        return;
    }
    if (stored && stored->isEqualToString(password))
        return;
    const auto result = _keychain->modifyItemData(item.get(), passwordBytes(password));
    if (result.status != errSecSuccess)
        raiseForResult(result, Operation::Change);
}

bool YKeychain::_addInternetPassword(const String* password, const URL* url)
{
    const auto result = _keychain->addInternetPassword(attributesForURL(url), passwordBytes(password), labelForURL(url));
    if (result.status == errSecDuplicateItem)
        return false;
    if (result.status != errSecSuccess)
        raiseForResult(result, Operation::Add);
    return true;
}

void YKeychain::_removeInternetPasswordForURL(const URL* url)
{
    Ref<YKeychainItem> item;
    if (!_getInternetPassword(nullptr, &item, url))
        return;
    const auto result = _keychain->deleteItem(item.get());
    if (result.status != errSecSuccess)
        raiseForResult(result, Operation::Remove);
}

} // namespace yk
