#include <Yarkit/HostAdditions.h>
#include <Yarkit/SystemFunctions.h>
#include <Yarkit/YInternetConfig.h>

#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/MutableArray.h>

#include <deque>
#include <filesystem>
#include <gio/gio.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <tuple>
#include <unistd.h>

#include "core/LogCapture.h"
#include "files/FilesTestSupport.h"
#include "files/SharedMimeInfo.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

namespace {

// Private XDG folders holding a small shared-mime-info database, two desktop entries and the
// mimeapps.list files; the variables are restored when the fixture ends.
class XDGFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::string root = _folder.path().string();
        _variables.emplace_back("XDG_DATA_HOME", (root + "/home").c_str());
        _variables.emplace_back("XDG_DATA_DIRS", (root + "/system:relative/ignored").c_str());
        _variables.emplace_back("XDG_CONFIG_HOME", (root + "/config").c_str());
        _variables.emplace_back("XDG_CONFIG_DIRS", (root + "/etc").c_str());
        _variables.emplace_back("XDG_CURRENT_DESKTOP", nullptr);
        _folder.write("home/mime/globs2", "50:text/x-home:*.home\n50:text/x-cleared:__NOGLOBS__\n");
        _folder.write("system/mime/globs2",
            "# comment\n"
            "50:message/rfc822:*.eml\n"
            "50:text/x-csrc:*.c:cs\n"
            "50:text/x-c++src:*.C:cs\n"
            "50:application/gzip:*.gz\n"
            "50:application/x-compressed-tar:*.tar.gz\n"
            "40:text/x-low:*.dup\n"
            "60:text/x-high:*.dup\n"
            "50:text/x-cleared:*.clr\n"
            "50:text/x-makefile:Makefile\n"
            "50:text/x-readme:README*\n"
            "99999999999:text/x-huge:*.huge\n" // no weight: skipped
            "broken line\n");
        _folder.write("system/mime/message/rfc822.xml",
            "<?xml version=\"1.0\"?>\n<mime-type type=\"message/rfc822\">\n"
            "  <comment>email message</comment>\n  <comment xml:lang=\"ja\">\xE9\x9B\xBB\xE5\xAD\x90\xE3\x83\xA1\xE3\x83\xBC\xE3\x83\xAB</comment>\n"
            "</mime-type>\n");
        _folder.write("home/applications/mutt.desktop", "[Desktop Entry]\nName=Mutt\nExec=mutt %u\n");
        _folder.write("system/applications/thunderbird.desktop", "[Desktop Entry]\nName=Thunderbird\n");
        _folder.write("system/applications/mimeapps.list", "[Default Applications]\nx-scheme-handler/mailto=thunderbird.desktop\n");
    }

    yk::test::TemporaryFolder _folder;
    std::deque<yk::test::ScopedVariable> _variables; // a deque: they cannot move
};

TEST(HostAdditions, NamesAndSocketAddresses)
{
    const std::pair<const char*, bool> cases[] = {
        { "mail-1.example", true },
        { "1.2.3.4", true },
        { "printer.local", false },
        { "PRINTER.LOCAL", false },
        { "my.local.net", false },
        { "localhost", false },
        { "", false },
        { "under_score.example", false },
        { "\xE4\xBE\x8B.jp", false },
        { "a.localnet", true },
    };
    for (auto [name, qualified] : cases)
        EXPECT_EQ(_isFQDN(str(name).get()), qualified) << name;

    auto host = make<Host>(Array::arrayWithObjects({ str("mail"), str("mail.example.org"), str("mx.local"), str("smtp.example.org") }),
        Array::arrayWithObjects({ str("fe80::1"), str("192.0.2.1"), str("not an address"), str("::1") }));
    EXPECT_EQ(fullyQualifiedDomainName(host.get())->utf8(), "mail.example.org");
    EXPECT_EQ(fullyQualifiedDomainNames(host.get())->count(), 2u);
    EXPECT_EQ(IPv4Address(host.get())->utf8(), "192.0.2.1");
    EXPECT_EQ(IPv6Addresses(host.get())->count(), 2u);
    EXPECT_EQ(IPv6Address(host.get())->utf8(), "fe80::1");

    // Hosts from socket addresses.
    sockaddr_in v4 {};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6 {};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_loopback;
    sockaddr_un local {};
    local.sun_family = AF_UNIX;
    const sa_family_t inet = AF_INET;
    // Only loopback is looked up (in /etc/hosts); the other rows check the address read.
    const std::pair<Ref<Data>, const char*> addresses[] = {
        { Data::dataWithBytes(&v4, sizeof v4), "127.0.0.1" },
        { Data::dataWithBytes(&v6, sizeof v6), "::1" },
        { Data::dataWithBytes(&local, sizeof local), "" },
        { Data::dataWithBytes(&inet, sizeof inet), "0.0.0.0" }, // short: the rest reads as zeros
        { Data::dataWithBytes(nullptr, 0), "" },
        { nullptr, "" },
    };
    for (const auto& [data, address] : addresses)
        EXPECT_EQ(detail::numericTextOfSocketAddress(data.get()), address);
    EXPECT_EQ(YK_hostWithAddress(addresses[0].first.get())->address()->utf8(), "127.0.0.1");
    EXPECT_EQ(YK_hostWithAddress(addresses[1].first.get())->address()->utf8(), "::1");
    EXPECT_EQ(YK_hostWithAddress(addresses[2].first.get()), nullptr);
    EXPECT_EQ(YK_hostWithAddress(nullptr), nullptr);
}

TEST(ProcessInfoAdditions, VersionFromTheKernelRelease)
{
    const std::pair<const char*, OperatingSystemVersion> cases[] = {
        { "6.1.0-18-amd64", { 6, 1, 0 } },
        { "5.15", { 5, 15, 0 } },
        { "4.19.260+", { 4, 19, 260 } },
        { "unknown", { 0, 0, 0 } },
    };
    for (const auto& [release, expected] : cases) {
        auto version = ProcessInfo::versionFromRelease(release);
        EXPECT_EQ(std::tie(version.majorVersion, version.minorVersion, version.patchVersion),
            std::tie(expected.majorVersion, expected.minorVersion, expected.patchVersion)) << release;
    }
    auto* info = ProcessInfo::processInfo();
    auto running = yk_operatingSystemVersion(info);
    EXPECT_GT(running.majorVersion, 0);
    EXPECT_TRUE(yk_isOperatingSystemAtLeastVersion(info, running));
    EXPECT_FALSE(yk_isOperatingSystemAtLeastVersion(info, { running.majorVersion, running.minorVersion, running.patchVersion + 1 }));
    EXPECT_TRUE(yk_isOperatingSystemAtLeastVersion(info, { running.majorVersion - 1, 99, 99 }));

    char name[512] = {};
    gethostname(name, sizeof name - 1);
    EXPECT_STREQ(y_get_domain_name(), name);
    EXPECT_EQ(y_get_domain_name(), y_get_domain_name());
    EXPECT_EQ(y_is_process_native(0), 1);
    EXPECT_EQ(y_is_process_native(getpid()), 1);
}

TEST_F(XDGFixture, FileNameMappings)
{
    auto config = YInternetConfig::internetConfig();
    const std::pair<const char*, const char*> cases[] = {
        { "a.eml", "message/rfc822" },
        { "A.EML", "message/rfc822" },
        { "a.c", "text/x-csrc" },
        { "a.C", "text/x-c++src" }, // "cs": case decides
        { "a.tar.gz", "application/x-compressed-tar" }, // the longest pattern
        { "b.gz", "application/gzip" },
        { "x.dup", "text/x-high" }, // the higher weight
        { "x.home", "text/x-home" }, // the data home's own database
        { "x.clr", "" }, // cleared by the more important folder's __NOGLOBS__
        { "makefile", "text/x-makefile" }, // a literal name, case ignored
        { "README.first", "text/x-readme" },
        { "nothing.zzz", "" },
        { "x.huge", "" },
    };
    LogCapture capture;
    YKMapEntry entry;
    for (auto [fileName, type] : cases) {
        bool found = config->getMapEntryForFileName(&entry, str(fileName).get());
        EXPECT_EQ(found ? entry.MIMEType->utf8() : "", type) << fileName;
    }
    ASSERT_TRUE(config->getMapEntry(&entry, str("eml").get()));
    EXPECT_EQ(entry.MIMEType->utf8(), "message/rfc822");
    EXPECT_EQ(entry.extension->utf8(), "eml");
    EXPECT_EQ(entry.description->utf8(), "email message");
    EXPECT_FALSE(config->getMapEntry(&entry, str("").get()));
    EXPECT_FALSE(config->getMapEntry(&entry, str("'zzzz'").get()));
    EXPECT_EQ(capture.text(), ""); // not found is quiet

    // HFS types: the extension chooses among a type's rows; an unknown type maps by extension.
    // Type, extension asked for, MIME type and extension of the entry found.
    const std::tuple<const char*, const char*, const char*, const char*> hfsCases[] = {
        { "'TEXT'", nullptr, "text/plain", "txt" },
        { "'TEXT'", "HTML", "text/html", "html" },
        { "'TEXT'", "zzz", "text/plain", "txt" },
        { "'PDF '", nullptr, "application/pdf", "pdf" },
        { "'zzzz'", "eml", "message/rfc822", "eml" },
        { "''", "eml", "message/rfc822", "eml" }, // not a type code: 0
    };
    for (auto [typeText, asked, MIMEType, entryExtension] : hfsCases) {
        uint32_t type = NSHFSTypeCodeFromFileType(str(typeText).get());
        auto extension = asked ? str(asked) : nullptr;
        ASSERT_TRUE(config->getMapEntry(&entry, type, 0, extension.get())) << typeText;
        EXPECT_EQ(entry.MIMEType->utf8(), MIMEType) << typeText;
        EXPECT_EQ(entry.extension->utf8(), entryExtension) << typeText;
        if (type) {
            EXPECT_EQ(NSFileTypeForHFSTypeCode(type)->utf8(), typeText);
        }
    }
    ASSERT_TRUE(config->getMapEntry(&entry, str("'TEXT'").get()));
    EXPECT_EQ(entry.MIMEType->utf8(), "text/plain");
}

TEST_F(XDGFixture, SchemeHelpersRoundTripAndKeepOtherLines)
{
    auto config = YInternetConfig::internetConfig();
    EXPECT_EQ(YInternetConfig::_helperKeyForScheme(str("mailto").get())->utf8(), "Helper\xE2\x80\xA2mailto");
    uint32_t creator = 1;
    Ref<String> name;
    ASSERT_TRUE(config->getApplicationCreator(&creator, &name, str("mailto").get()));
    EXPECT_EQ(name->utf8(), "thunderbird.desktop");
    EXPECT_EQ(creator, 0u);
    LogCapture capture;
    EXPECT_FALSE(config->getApplicationCreator(&creator, &name, str("news").get()));
    EXPECT_EQ(capture.text(), "");

    _folder.write("config/mimeapps.list", "# mine\n[Added Associations]\ntext/plain=mutt.desktop;\n\n[Default Applications]\n"
                                  "text/html=firefox.desktop\nx-scheme-handler/mailto=gone.desktop;\n");
    // An entry that is not installed is skipped for the next file in the lookup order.
    ASSERT_TRUE(config->getApplicationCreator(nullptr, &name, str("mailto").get()));
    EXPECT_EQ(name->utf8(), "thunderbird.desktop");

    EXPECT_TRUE(config->setApplicationCreator(0, str("mutt.desktop").get(), str("MailTo").get()));
    ASSERT_TRUE(config->getApplicationCreator(nullptr, &name, str("mailto").get()));
    EXPECT_EQ(name->utf8(), "mutt.desktop");
    EXPECT_EQ(_folder.read(_folder.path() / "config/mimeapps.list"), "# mine\n[Added Associations]\ntext/plain=mutt.desktop;\n"
        "\n[Default Applications]\ntext/html=firefox.desktop\nx-scheme-handler/mailto=mutt.desktop;\n");
    EXPECT_FALSE(config->setApplicationCreator(0, str(std::string(64, 'n').c_str()).get(), str("mailto").get()));

    // The answers are kept until a watched folder changes: an uninstalled entry is noticed.
    fs::remove(_folder.path() / "home/applications/mutt.desktop");
    ASSERT_TRUE(config->getApplicationCreator(nullptr, &name, str("mailto").get()));
    EXPECT_EQ(name->utf8(), "thunderbird.desktop");
}

TEST(SharedMimeInfo, ExtensionsAgreeWithGIOWhereItIsCertain)
{
    const std::string text = yk::test::TemporaryFolder::read("/usr/share/mime/globs2");
    if (text.empty())
        GTEST_SKIP() << "no system shared-mime-info database";
    detail::MimeDatabase database(std::vector<std::string> { "/usr/share/mime" });
    int compared = 0;
    for (auto& glob : detail::parseGlobs2(text)) {
        if (glob.pattern.size() < 3 || glob.pattern.substr(0, 2) != "*." || glob.pattern.find_first_of("*?[", 1) != std::string::npos)
            continue;
        std::string name = "a" + glob.pattern.substr(1);
        gboolean uncertain = FALSE;
        gchar* guessed = g_content_type_guess(name.c_str(), nullptr, 0, &uncertain);
        std::string gio = guessed ? guessed : "";
        g_free(guessed);
        if (uncertain || gio == "application/octet-stream")
            continue;
        EXPECT_EQ(database.mimeTypeForFileName(name), gio) << name;
        ++compared;
    }
    EXPECT_GT(compared, 500);
}

} // namespace
