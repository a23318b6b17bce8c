#include <Yarkit/YKeychain.h>

#include "KeychainTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace yk {
namespace {

// Sends standard output and standard error to a file while it lives (GLib's debug messages
// go to either).
class OutputCapture {
public:
    explicit OutputCapture(const std::string& path)
        : _path(path)
    {
        std::fflush(stdout);
        std::fflush(stderr);
        _savedOut = dup(STDOUT_FILENO);
        _savedErr = dup(STDERR_FILENO);
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
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
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

private:
    void restore()
    {
        if (_savedOut < 0)
            return;
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(_savedOut, STDOUT_FILENO);
        dup2(_savedErr, STDERR_FILENO);
        close(_savedOut);
        close(_savedErr);
        _savedOut = _savedErr = -1;
    }

    std::string _path;
    int _savedOut { -1 };
    int _savedErr { -1 };
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
        const std::string first = marker + std::to_string(cycle) + "a";
        const std::string second = marker + std::to_string(cycle) + "b";
        keychain->setInternetPassword(String::withUTF8(first).get(), url.get());
        wrong += !keychain->internetPasswordForURL(url.get())->isEqualToString(std::string_view(first));
        keychain->setInternetPassword(String::withUTF8(second).get(), url.get());
        wrong += !keychain->internetPasswordForURL(url.get())->isEqualToString(std::string_view(second));
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
