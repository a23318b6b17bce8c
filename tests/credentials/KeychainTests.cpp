#include <Yarkit/YKeychain.h>

#include "KeychainTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/LanguageScope.h"

#include <Yarkit/core/runtime/Class.h>

#include <thread>
#include <vector>

namespace yk {
namespace {

using test::str;
using Operation = YKeychainMemoryStore::Operation;

Ref<URL> url(const char* text)
{
    return URL::URLWithString(text);
}

// Runs every test on the in-memory store and on the real Secret Service store of the private
// daemon that scripts/with-keyring started.
class Keychain : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        const bool real = std::string(GetParam()) == "SecretService";
        if (real && !test::privateKeyringRunning())
            GTEST_SKIP() << "needs the private keyring of scripts/with-keyring";
        _store = real ? Ref<YKeychainStore>(make<YKeychainSecretServiceStore>()) : Ref<YKeychainStore>(make<YKeychainMemoryStore>());
        clear();
        keychain()->setStore(_store);
    }

    static YKeychain* keychain() { return YKeychain::defaultKeychain(); }
    // Deletes every item the store holds (a find with no attributes matches all).
    void clear()
    {
        Ref<YKeychainItem> item;
        while (_store->findInternetPassword({}, nullptr, &item).status == errSecSuccess && item
            && _store->deleteItem(item.get()).status == errSecSuccess)
            item = nullptr;
    }

    Ref<YKeychainStore> _store;
};

TEST_P(Keychain, URLsFindTheItemsTheyShould)
{
    using namespace std::string_literals;
    const struct {
        const char* storedURL;
        std::string password;
        const char* lookupURL;
        const char* expected; // null: nothing found
    } rows[] = {
        { "HTTPS://tim@web.example/", "a", "http://tim@web.example/", "a" },
        { "imaps://tim@mail.example:993/INBOX", "b", "imap://tim@mail.example:993/INBOX", "b" },
        { "imap://tim@any.example/", "c", "gopher://tim@any.example/", "c" },
        { "imap://tim@port.example:143/", "d", "imap://tim@port.example/", "d" },
        { "imap://tim@noport.example/", "e", "imap://tim@noport.example:143/", nullptr },
        { "imap://tim@user.example/", "f", "imap://user.example/", "f" },
        { "imap://tim@path.example/INBOX", "g", "imap://tim@path.example/", nullptr },
        { "imap://tim@other.example/", "h", "imap://anna@other.example/", nullptr },
        { "imap://anna@empty.example/", "", "imap://anna@empty.example/", "" },
        { "pop://%E5%B1%B1%E7%94%B0@jp.example/", "秘密のパスワード", "pop://%E5%B1%B1%E7%94%B0@jp.example/", "秘密のパスワード" },
        { "smtp://nul@nul.example/", "ab\0cd"s, "smtp://nul@nul.example/", "ab" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.storedURL) + " then " + row.lookupURL);
        clear();
        keychain()->setInternetPassword(String::withUTF8(row.password).get(), url(row.storedURL).get());
        EXPECT_EQ(test::describe(keychain()->internetPasswordForURL(url(row.lookupURL).get()).get()), row.expected ? row.expected : "(null)");
    }
    // Removing deletes only the item found, not every item a port-less URL would match.
    keychain()->setInternetPassword(str("143").get(), url("imap://tim@two.example:143/").get());
    keychain()->setInternetPassword(str("993").get(), url("imap://tim@two.example:993/").get());
    keychain()->removeInternetPasswordForURL(url("imap://tim@two.example:993/").get());
    EXPECT_EQ(test::describe(keychain()->internetPasswordForURL(url("imap://tim@two.example/").get()).get()), "143");
}

TEST_P(Keychain, ManyThreadsEachWithTheirOwnAccount)
{
    std::atomic<int> wrong { 0 };
    std::vector<std::jthread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &wrong] {
            auto account = url(("imap://user" + std::to_string(t) + "@threads.example/").c_str());
            for (int i = 0; i < 10; ++i) {
                const std::string password = "p" + std::to_string(t) + "-" + std::to_string(i);
                YKeychain::defaultKeychain()->setInternetPassword(str(password.c_str()).get(), account.get());
                if (test::describe(YKeychain::defaultKeychain()->internetPasswordForURL(account.get()).get()) != password)
                    ++wrong;
            }
            YKeychain::defaultKeychain()->removeInternetPasswordForURL(account.get());
        });
    }
    threads.clear(); // joins them
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Stores, Keychain, testing::Values("Memory", "SecretService"));

TEST(KeychainInstance, EveryWayOfMakingOneGivesTheSharedInstanceAndSchemesGiveProtocolCodes)
{
    YKeychain* shared = YKeychain::defaultKeychain();
    EXPECT_EQ(Class::named("YKeychain")->createInstance().get(), shared);
    EXPECT_EQ(YKeychain::newInstance().get(), shared);

    const struct {
        const char* scheme;
        uint32_t code;
    } rows[] = {
        { "ftp", 0x66747020 }, { "FTPS", 0x66747020 }, { "Https", 0x68747470 }, { "nntps", 0x6E6E7470 },
        { "pops", 0x706F7033 }, { "SMTPS", 0x736D7470 }, { "imaps", 0x696D6170 }, { "ldaps", 0x6C646170 },
        { "telnets", 0x74656C6E }, { "gopher", 0 }, { "", 0 }, { "imap ", 0 },
    };
    for (const auto& row : rows)
        EXPECT_EQ(YKeychain::_protocolTypeForScheme(str(row.scheme).get()), row.code) << row.scheme;
    EXPECT_EQ(YKeychain::_protocolTypeForScheme(nullptr), 0u);
}

// Failures driven through the in-memory store's injected statuses.
class KeychainStatus : public testing::Test {
protected:
    void SetUp() override { YKeychain::defaultKeychain()->setStore(_store); }

    Ref<YKeychainMemoryStore> _store { make<YKeychainMemoryStore>() };
};

TEST_F(KeychainStatus, ArgumentsAreCheckedFirst)
{
    auto* keychain = YKeychain::defaultKeychain();
    test::expectRaise([&] { keychain->setInternetPassword(nullptr, nullptr); }, NSInvalidArgumentException, "attempt to insert nil URL");
    test::expectRaise([&] { keychain->setInternetPassword(nullptr, url("imap://h/").get()); }, NSInvalidArgumentException, "attempt to insert nil password");
    test::expectRaise([&] { keychain->removeInternetPasswordForURL(nullptr); }, NSInvalidArgumentException, "attempt to remove nil URL");
    EXPECT_EQ(_store->callCount(Operation::Find), 0u);
}

TEST_F(KeychainStatus, StoreChangeAndRemoveWriteOnlyWhatChanged)
{
    auto* keychain = YKeychain::defaultKeychain();
    auto account = url("imap://tim@life.example/");
    keychain->setInternetPassword(str("one").get(), account.get());
    keychain->setInternetPassword(str("one").get(), account.get());
    EXPECT_EQ(_store->callCount(Operation::Add), 1u);
    EXPECT_EQ(_store->callCount(Operation::Modify), 0u);
    keychain->setInternetPassword(str("two").get(), url("imaps://tim@life.example/").get());
    EXPECT_EQ(_store->callCount(Operation::Modify), 1u);
    EXPECT_EQ(test::describe(keychain->internetPasswordForURL(account.get()).get()), "two");

    keychain->removeInternetPasswordForURL(account.get());
    EXPECT_EQ(test::describe(keychain->internetPasswordForURL(account.get()).get()), "(null)");
    keychain->removeInternetPasswordForURL(account.get());
    EXPECT_EQ(_store->callCount(Operation::Delete), 1u);
    EXPECT_FALSE(keychain->internetPasswordForURL(nullptr));
}

TEST_F(KeychainStatus, ADuplicateFromARaceIsIgnoredAndBytesThatAreNotUTF8ReadAsNull)
{
    _store->injectStatus(Operation::Add, errSecDuplicateItem);
    YKeychain::defaultKeychain()->setInternetPassword(str("x").get(), url("imap://tim@race.example/").get());
    EXPECT_EQ(_store->callCount(Operation::Add), 1u);
    EXPECT_EQ(_store->itemCount(), 0u);

    YKeychainItemAttributes attributes;
    attributes.server = "bytes.example";
    ASSERT_EQ(_store->addInternetPassword(attributes, "\xff\xfe", "").status, errSecSuccess);
    EXPECT_FALSE(YKeychain::defaultKeychain()->internetPasswordForURL(url("imap://bytes.example/").get()));
}

// The reason as a Japanese user reads it: three reasons are localised, the others stay English.
std::string japanese(const std::string& reason)
{
    if (reason.starts_with("Unexpected error ("))
        return "予期しないエラーが発生しました " + reason.substr(reason.find('('));
    return reason == "There is no default keychain" ? "デフォルトのキーチェーンがありません"
        : reason == "The password is too long"      ? "パスワードが長すぎます"
                                                    : reason;
}

TEST_F(KeychainStatus, EveryOperationAndStatusRaisesItsExceptionInEachLanguage)
{
    // Find: internetPasswordForURL; Add: set with nothing stored; Modify: set of a new password;
    // Delete: remove of a stored item.
    const struct {
        Operation injected;
        OSStatus status;
        const char* name;
        const char* reason;
    } rows[] = {
        { Operation::Find, errSecNoDefaultKeychain, YKeychainNoDefaultKeychainException, "There is no default keychain" },
        { Operation::Find, errSecDataTooLarge, YKeychainException, "Unexpected error (-25302)" },
        { Operation::Find, errSecInvalidItemRef, YKeychainException, "Unexpected error (-25304)" },
        { Operation::Add, userCanceledErr, YKeychainUserCanceledException, "Canceled" },
        { Operation::Add, errSecDataTooLarge, YKeychainDataTooLargeException, "The password is too long" },
        { Operation::Add, errSecInvalidItemRef, YKeychainException, "Unexpected error (-25304)" },
        { Operation::Modify, userCanceledErr, YKeychainUserCanceledException, "Canceled" },
        { Operation::Modify, errSecDataTooLarge, YKeychainDataTooLargeException, "The password is too long" },
        { Operation::Modify, errSecInvalidItemRef, NSInternalInconsistencyException, "The keychain item reference is invalid" },
        { Operation::Modify, errSecDuplicateItem, YKeychainException, "Unexpected error (-25299)" },
        { Operation::Delete, errSecNoDefaultKeychain, YKeychainNoDefaultKeychainException, "There is no default keychain" },
        { Operation::Delete, errSecDataTooLarge, YKeychainException, "Unexpected error (-25302)" },
        { Operation::Delete, errSecInvalidItemRef, NSInternalInconsistencyException, "The keychain item reference is invalid" },
        { Operation::Delete, -1, YKeychainException, "Unexpected error (-1)" },
    };
    auto* keychain = YKeychain::defaultKeychain();
    auto account = url("imap://tim@status.example/");
    for (const bool inJapanese : { false, true }) {
        test::LanguageScope language(inJapanese ? "ja" : "en");
        for (const auto& row : rows) {
            SCOPED_TRACE(std::to_string(static_cast<int>(row.injected)) + " " + std::to_string(row.status));
            _store->reset();
            if (row.injected == Operation::Modify || row.injected == Operation::Delete)
                keychain->setInternetPassword(str("stored").get(), account.get());
            _store->injectStatus(row.injected, row.status, "what the store said");
            try {
                if (row.injected == Operation::Find)
                    (void)keychain->internetPasswordForURL(account.get());
                else if (row.injected == Operation::Delete)
                    keychain->removeInternetPasswordForURL(account.get());
                else
                    keychain->setInternetPassword(str("new").get(), account.get());
                ADD_FAILURE() << "nothing raised";
            } catch (const Exception& e) {
                EXPECT_EQ(e.name()->utf8(), row.name);
                EXPECT_EQ(e.what(), inJapanese ? japanese(row.reason) : std::string(row.reason));
                auto status = e.userInfo()->objectForKey(YKeychainStatusKey);
                EXPECT_TRUE(status && status->isEqual(Number::numberWithInt(row.status).get()));
                EXPECT_EQ(test::describe(e.userInfo()->objectForKey(YKeychainStoreMessageKey).get()), "what the store said");
            }
        }
    }
    // The lock was released after every exception.
    _store->reset();
    EXPECT_FALSE(keychain->internetPasswordForURL(account.get()));
}

} // namespace
} // namespace yk
