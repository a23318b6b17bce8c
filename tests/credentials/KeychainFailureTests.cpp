#include <Yarkit/YKeychain.h>

#include "KeychainTestSupport.h"

#include <Yarkit/core/values/Exception.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

namespace yk {
namespace {

// Locks the default collection of the private daemon, as a session that locked the screen would.
void lockDefaultCollection()
{
    GError* error = nullptr;
    SecretService* service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &error);
    ASSERT_TRUE(service) << error->message;
    gchar* collection = secret_service_read_alias_dbus_path_sync(service, "default", nullptr, &error);
    ASSERT_TRUE(collection);
    const gchar* paths[] = { collection, nullptr };
    gchar** locked = nullptr;
    EXPECT_EQ(secret_service_lock_dbus_paths_sync(service, paths, nullptr, &locked, &error), 1);
    g_strfreev(locked);
    g_free(collection);
    g_object_unref(service);
}

// Each case runs in a process of its own, set up by the test script and named by
// YK_KEYCHAIN_FAILURE: "no-bus" (no session bus), "no-service" (a bus without the Secret
// Service) or "locked" (the private daemon, its collection locked). Every operation must raise
// within a second, never answer null and never hang.
TEST(KeychainFailure, EveryOperationRaises)
{
    const char* failure = std::getenv("YK_KEYCHAIN_FAILURE");
    if (!failure)
        GTEST_SKIP() << "run by the test script with YK_KEYCHAIN_FAILURE set";
    const std::string kind = failure;
    auto* keychain = YKeychain::defaultKeychain();
    keychain->setStore(make<YKeychainSecretServiceStore>());
    auto stored = URL::URLWithString("imap://tim@locked.example/");
    auto fresh = URL::URLWithString("imap://anna@locked.example/");
    if (kind == "locked") {
        ASSERT_TRUE(test::privateKeyringRunning());
        keychain->setInternetPassword(String::withUTF8("secret").get(), stored.get());
        lockDefaultCollection();
    }
    const char* expected = kind == "locked" ? YKeychainUserCanceledException : YKeychainNoDefaultKeychainException;

    const std::pair<const char*, std::function<void()>> operations[] = {
        { "find", [&] { (void)keychain->internetPasswordForURL(stored.get()); } },
        { "change", [&] { keychain->setInternetPassword(String::withUTF8("other").get(), stored.get()); } },
        { "add", [&] { keychain->setInternetPassword(String::withUTF8("new").get(), fresh.get()); } },
        { "remove", [&] { keychain->removeInternetPasswordForURL(stored.get()); } },
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        const auto start = std::chrono::steady_clock::now();
        try {
            operation();
            ADD_FAILURE() << "nothing raised";
        } catch (const Exception& e) {
            EXPECT_EQ(e.name()->utf8(), expected) << e.what();
        }
        // A hang would be D-Bus's 25 s call timeout; 10 s leaves room for a loaded machine.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << "no hang";
    }
}

} // namespace
} // namespace yk
