#include <Yarkit/YKeychain.h>

#include "KeychainTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace yk {
namespace {

// Sends standard output and standard error to a file until finish() or the end of the scope
// (GLib's debug messages go to either).
class OutputCapture {
public:
    explicit OutputCapture(const std::filesystem::path& path)
        : _path(path)
    {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        for (int i = 0; i < 2; ++i) {
            std::fflush(i ? stderr : stdout);
            _saved[i] = dup(i + 1);
            dup2(file, i + 1);
        }
        close(file);
    }
    ~OutputCapture() { restore(); }
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    // Restores the outputs and answers what was written meanwhile.
    std::string finish()
    {
        restore();
        std::ifstream file(_path);
        return { std::istreambuf_iterator<char>(file), {} };
    }

private:
    void restore()
    {
        for (int i = 0; i < 2 && _saved[i] >= 0; ++i) {
            std::fflush(i ? stderr : stdout);
            dup2(_saved[i], i + 1);
            close(_saved[i]);
            _saved[i] = -1;
        }
    }

    std::filesystem::path _path;
    int _saved[2] { -1, -1 }; // standard output and standard error
};

// 1,000 store, find, change, find and remove cycles on the private daemon, with GLib's debug
// messages on (G_MESSAGES_DEBUG=all, set by the test's entry); no password may appear in any
// output. Run by the ctest entry Credentials.Soak (label "long").
TEST(KeychainSoak, ThousandCyclesLeakNoPassword)
{
    if (!std::getenv("YK_SOAK") || !test::privateKeyringRunning())
        GTEST_SKIP() << "run by Credentials.Soak under scripts/with-keyring";
    auto* keychain = YKeychain::defaultKeychain();
    keychain->setStore(make<YKeychainSecretServiceStore>());
    const std::string marker = "soak" + std::to_string(std::random_device {}()) + "x";
    test::TemporaryFolder folder;
    LogCapture log;
    OutputCapture output(folder.path() / "output");
    int wrong = 0;
    for (int cycle = 0; cycle < 1000; ++cycle) {
        auto url = URL::URLWithString("imap://tim@soak.example:" + std::to_string(1000 + cycle % 50) + "/");
        for (const char* suffix : { "a", "b" }) { // a store, then a change
            const std::string password = marker + std::to_string(cycle) + suffix;
            keychain->setInternetPassword(String::withUTF8(password).get(), url.get());
            wrong += test::describe(keychain->internetPasswordForURL(url.get()).get()) != password;
        }
        keychain->removeInternetPasswordForURL(url.get());
        wrong += keychain->internetPasswordForURL(url.get()) != nullptr;
    }
    const std::string written = output.finish();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(written.find(marker), std::string::npos);
    EXPECT_EQ(log.text().find(marker), std::string::npos);
}

} // namespace
} // namespace yk
