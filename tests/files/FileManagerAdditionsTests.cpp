#include <Yarkit/FileManagerAdditions.h>

#include <Yarkit/ExtendedAttributes.h>
#include <Yarkit/PathExtensions.h>
#include <Yarkit/YFile.h>
#include <Yarkit/YFileFilter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Number.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <tuple>

#include "core/LogCapture.h"
#include "files/FilesTestSupport.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::pathIn;
using yk::test::str;

// A delegate that refuses every rename.
class RenameRefuser : public Object {
    YK_OBJECT(RenameRefuser, Object)
public:
    bool shouldRename(FileManager*, String*, String*) { return false; }
};
YK_DEFINE_CLASS(RenameRefuser, [](MethodListBuilder& c) {
    c.method("fileManager:shouldRenameItemAtPath:toPath:", &RenameRefuser::shouldRename);
});

namespace {

FileManager* manager()
{
    return FileManager::defaultManager();
}

TEST(FileManagerAdditions, CreatePathReportsEveryCode)
{
    yk::test::TemporaryFolder folder;
    folder.write("plain", "");
    fs::create_directory(folder.path() / "exists");
    auto cwd = fs::current_path();
    fs::current_path(folder.path());
    // Path, to a file rather than a folder, created, error code.
    const std::tuple<Ref<String>, bool, bool, int64_t> cases[] = {
        { nullptr, false, false, 14 },
        { str(""), false, false, 2 },
        { str("/"), false, false, 21 },
        { pathIn(folder, "plain/sub"), false, false, 20 },
        { pathIn(folder, "exists"), false, false, 17 },
        { pathIn(folder, "plain"), false, false, 20 },
        { pathIn(folder, "new/deeper/deepest"), false, true, 0 },
        { str("file.txt"), true, false, 2 }, // one-component relative: its parent is ""
        { pathIn(folder, "made/for/file.txt"), true, true, 0 },
    };
    for (const auto& [path, toFile, expected, code] : cases) {
        Ref<Error> error;
        bool created = toFile ? YK_createPathToFile(manager(), path.get(), nullptr, &error)
                                : YK_createPath(manager(), path.get(), nullptr, &error);
        EXPECT_EQ(created, expected) << yk::test::describe(path.get());
        EXPECT_EQ(error ? error->code() : 0, code) << yk::test::describe(path.get());
        if (error) {
            EXPECT_EQ(error->domain()->utf8(), NSPOSIXErrorDomain);
        }
    }
    fs::current_path(cwd);
    EXPECT_TRUE(fs::is_directory(folder.path() / "made/for"));
}

TEST(FileManagerAdditions, NumberedFilesCountFromTwo)
{
    yk::test::TemporaryFolder folder;
    auto report = pathIn(folder, "report.txt");
    std::vector<std::string> made;
    for (int i = 0; i < 3; ++i)
        made.push_back(fs::path(YK_createNumberedFileUsingPath(manager(), report.get())->utf8()).filename());
    EXPECT_EQ(made, (std::vector<std::string> { "report.txt", "report 2.txt", "report 3.txt" }));
    auto bare = pathIn(folder, "notes");
    EXPECT_EQ(YK_createNumberedFileUsingPath(manager(), bare.get())->utf8(), (folder.path() / "notes").string());
    EXPECT_EQ(YK_createNumberedFileUsingPath(manager(), bare.get())->utf8(), (folder.path() / "notes 2").string());

    // A format without a number has one name; once taken the call ends in nil.
    auto copy = str("-copy");
    EXPECT_NE(YK_createNumberedFileUsingPath(manager(), report.get(), copy.get(), 2, 4), nullptr);
    EXPECT_EQ(YK_createNumberedFileUsingPath(manager(), report.get(), copy.get(), 2, 4), nullptr);
    EXPECT_EQ(YK_createNumberedFileUsingPath(manager(), report.get(), nullptr, 2, 4), nullptr);

    LogCapture capture;
    EXPECT_EQ(YK_createNumberedFileUsingPath(manager(), pathIn(folder, "missing/x").get()), nullptr);
    EXPECT_EQ(capture.text(), "-[FileManager YK_createNumberedFileUsingPath:numberFormat:startNumber:suffixLength:]: "
                              "open() returned error 2: No such file or directory\n");
}

TEST(FileManagerAdditions, TemporaryFilesReplaceTheWholeXRun)
{
    yk::test::TemporaryFolder folder;
    yk::test::ScopedVariable tmpdir("TMPDIR", folder.path().c_str());
    const std::tuple<Ref<String>, std::string, std::string> cases[] = {
        { nullptr, "temp", "" },
        { str("message.eml"), "message", ".eml" },
        { str("archive.tar.gz"), "archive.tar", ".gz" },
    };
    for (const auto& [given, prefix, suffix] : cases) {
        auto path = YK_createTemporaryFileUsingName(manager(), given.get());
        ASSERT_NE(path, nullptr);
        std::string name = fs::path(path->utf8()).filename();
        EXPECT_EQ(fs::path(path->utf8()).parent_path(), folder.path());
        EXPECT_EQ(name.size(), prefix.size() + 6 + suffix.size()) << name;
        EXPECT_EQ(name.substr(0, prefix.size()), prefix);
        EXPECT_EQ(name.substr(name.size() - suffix.size()), suffix);
        EXPECT_NE(name.substr(prefix.size(), 6), "XXXXXX");
        EXPECT_EQ(fs::status(path->utf8()).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
    }
    auto ten = YK_createTemporaryFileUsingTemplate(manager(), pathIn(folder, "tenXXXXXXXXXX").get(), 0);
    EXPECT_NE(fs::path(ten->utf8()).filename().string().substr(3), "XXXXXXXXXX");

    // No free name left: the mktemp() line instead of a loop.
    folder.write("fixed", "");
    LogCapture capture;
    EXPECT_EQ(YK_createTemporaryFileUsingTemplate(manager(), pathIn(folder, "fixed").get(), 0), nullptr);
    EXPECT_EQ(capture.text(), "-[FileManager YK_createTemporaryFileUsingTemplate:suffixLength:]: mktemp() returned error 17: File exists\n");
}

TEST(FileManagerAdditions, PermissionsNeverTouchALinksTarget)
{
    yk::test::TemporaryFolder folder;
    const auto root = folder.path();
    folder.write("tree/sub/f", "");
    folder.write("target", "");
    fs::permissions(root / "target", fs::perms(0600));
    fs::create_symlink(root / "target", root / "tree/link");

    // Linux cannot change a link's own bits, so the recursive change reports the link as
    // failed; the target keeps its bits.
    EXPECT_FALSE(YK_addPosixPermissionsForMode(manager(), 0070, pathIn(folder, "tree").get(), true));
    EXPECT_EQ(fs::status(root / "target").permissions() & fs::perms::all, fs::perms(0600));
    EXPECT_EQ(fs::status(root / "tree/sub/f").permissions() & fs::perms::group_all, fs::perms::group_all);
    EXPECT_TRUE(YK_removePosixPermissionsForMode(manager(), 0077, pathIn(folder, "tree/sub/f").get(), false));
    EXPECT_EQ(fs::status(root / "tree/sub/f").permissions() & fs::perms::all, fs::perms(0600));
    EXPECT_FALSE(YK_addPosixPermissionsForMode(manager(), 0700, pathIn(folder, "missing").get(), false));

    mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(YK_defaultFilePermissions(manager())->unsignedIntValue(), 0666u & ~mask);
    EXPECT_EQ(YK_defaultDirectoryPermissions(manager())->unsignedIntValue(), 0777u & ~mask);
}

TEST(FileManagerAdditions, ErrorReturningFamilyAnswersAlike)
{
    yk::test::TemporaryFolder folder;
    const std::pair<Ref<String>, int64_t> cases[] = {
        { nullptr, 14 },
        { str(""), 2 },
        { pathIn(folder, "missing"), 2 },
    };
    for (const auto& [path, code] : cases) {
        Ref<Error> e1, e2, e3, e4, e5;
        EXPECT_EQ(YK_attributesOfItemAtPath(manager(), path.get(), &e1), nullptr);
        EXPECT_EQ(YK_contentsOfDirectoryAtPath(manager(), path.get(), &e2), nullptr);
        EXPECT_FALSE(YK_removeItemAtPath(manager(), path.get(), &e3));
        EXPECT_EQ(YK_destinationOfSymbolicLinkAtPath(manager(), path.get(), &e4), nullptr);
        EXPECT_FALSE(YK_renameItemAtPath(manager(), path.get(), pathIn(folder, "b").get(), &e5));
        for (auto* e : { &e1, &e2, &e3, &e4, &e5 })
            EXPECT_EQ((*e)->code(), code) << yk::test::describe(path.get());
    }
    Ref<Error> error;
    YK_removeItemAtPath(manager(), pathIn(folder, "missing").get(), &error);
    EXPECT_EQ(error->userInfo()->objectForKey(std::string_view(NSLocalizedDescriptionKey))->description()->utf8(),
        "No such file or directory");

    // A delegate that refuses a rename makes it succeed without renaming.
    folder.write("a", "");
    auto refuser = make<RenameRefuser>();
    manager()->setDelegate(refuser.get());
    EXPECT_TRUE(YK_renameItemAtPath(manager(), pathIn(folder, "a").get(), pathIn(folder, "b").get(), &error));
    manager()->setDelegate(nullptr);
    EXPECT_TRUE(fs::exists(folder.path() / "a"));
    EXPECT_FALSE(fs::exists(folder.path() / "b"));
}

TEST(FileManagerAdditions, PathArithmetic)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        { "a/b.txt", "a/b~.txt", "a/b.txt" },
        { "/x/mbox", "/x/mbox~", "/x/mbox" },
        { "a//b///", "a//b///~", "a/b" },
        { "////", "////~", "/" },
        { "/", "/~", "/" },
        { "~/.profile", "~/.profile~", "~/.profile" },
        { "//a", "//a~", "/a" },
        { "./a/../b/", "./a/../b/~", "./a/../b" }, // no resolving of dot components
        { "~//x", "~//x~", "~/x" },
        { "", "~", "" },
    };
    for (auto [path, backup, normalized] : cases) {
        EXPECT_EQ(YK_backupPath(str(path).get())->utf8(), backup) << path;
        EXPECT_EQ(YK_stringByNormalizingPath(str(path).get())->utf8(), normalized) << path;
    }
    const std::tuple<const char*, const char*, const char*, const char*> relatives[] = {
        { "/a/b/c", "/a/d", "../../d", "/a" },
        { "/a/b/", "/a/d/e", "../d/e", "/a" },
        { "/a", "/a/b", "b", "/a" },
        { "x/y", "z", "z", "" },
    };
    for (auto [from, to, relative, common] : relatives) {
        EXPECT_EQ(YK_relativePathToPath(str(from).get(), str(to).get())->utf8(), relative) << from << " -> " << to;
        EXPECT_EQ(YK_commonPathPrefixWithPath(str(from).get(), str(to).get())->utf8(), common) << from << " & " << to;
    }
}

TEST(FileManagerAdditions, NamesThatAreNotUTF8RoundTrip)
{
    yk::test::TemporaryFolder folder;
    // Shift_JIS "テスト.txt", a lone continuation byte, an encoded surrogate and an overlong "/".
    const std::vector<std::string> names = { "\x83\x65\x83\x58\x83\x67.txt", "a\x80z", "\xED\xB2\x80", "\xC0\xAF", "\xE6\x97\xA5\xE6\x9C\xAC" };
    for (const auto& name : names)
        folder.write(name, name);
    auto listed = manager()->directoryContentsAtPath(str(folder.path().c_str()).get());
    ASSERT_EQ(listed->count(), names.size());
    std::set<std::string> seen;
    for (auto& entry : *listed) {
        auto* name = static_cast<String*>(entry.get());
        char bytes[1024];
        ASSERT_TRUE(name->getFileSystemRepresentation(bytes, sizeof bytes));
        seen.insert(bytes);
        auto data = manager()->contentsAtPath(str(folder.path().c_str())->stringByAppendingPathComponent(name).get());
        ASSERT_NE(data, nullptr) << bytes;
        EXPECT_EQ(data->stringView(), bytes);
    }
    EXPECT_EQ(seen, std::set<std::string>(names.begin(), names.end()));
    EXPECT_EQ(String::stringWithFileSystemRepresentation("a\x80", 2)->units(), std::u16string(u"a\xDC80"));
    char small[4];
    EXPECT_FALSE(str("abcd")->getFileSystemRepresentation(small, sizeof small));
    EXPECT_FALSE(str("")->getFileSystemRepresentation(small, sizeof small));
}

TEST(FileManagerAdditions, ExtendedAttributesForksAndFinderInformation)
{
    yk::test::TemporaryFolder folder;
    folder.write("f", "");
    auto path = pathIn(folder, "f");
    Ref<Error> error;
    EXPECT_EQ(YK_extendedAttributeNamesAtPath(manager(), nullptr, &error), nullptr);
    EXPECT_EQ(error->domain()->utf8(), "NSCocoaErrorDomain");
    EXPECT_EQ(error->code(), 258);
    EXPECT_EQ(error->userInfo()->count(), 0u);
    if (!yk::test::supportsUserAttributes(folder))
        GTEST_SKIP() << "the temporary folder's file system keeps no user extended attributes";
    EXPECT_EQ(YK_extendedAttributeForName(manager(), str("user.missing").get(), path.get(), &error), nullptr);
    EXPECT_EQ(error->code(), ENODATA);
    auto value = Data::dataWithString("value");
    EXPECT_TRUE(YK_setExtendedAttribute(manager(), value.get(), str("user.yk.test").get(), path.get(), &error));
    EXPECT_TRUE(YK_extendedAttributeForName(manager(), str("user.yk.test").get(), path.get(), &error)->isEqualToData(value.get()));
    auto names = YK_extendedAttributeNamesAtPath(manager(), path.get(), &error);
    EXPECT_TRUE(names->containsObject(str("user.yk.test").get()));
    EXPECT_TRUE(YK_removeExtendedAttributeForName(manager(), str("user.yk.test").get(), path.get(), &error));
    EXPECT_FALSE(YK_removeExtendedAttributeForName(manager(), str("user.yk.test").get(), path.get(), &error));
    EXPECT_EQ(error->code(), ENODATA);

    // Resource forks and Finder information live in attributes too.
    LogCapture capture;
    Ref<Data> fork;
    EXPECT_FALSE(YK_getResourceFork(manager(), &fork, path.get())); // none: quietly
    // ext4 keeps values up to about a block (4 KiB) in one attribute: stay below.
    std::string bytes(3000, 'r');
    EXPECT_TRUE(YK_setResourceFork(manager(), Data::dataWithString(bytes).get(), path.get()));
    EXPECT_TRUE(YK_getResourceFork(manager(), &fork, path.get()));
    EXPECT_EQ(fork->stringView(), bytes);
    EXPECT_TRUE(YK_setResourceFork(manager(), nullptr, path.get()));
    EXPECT_FALSE(YK_getResourceFork(manager(), &fork, path.get()));
    EXPECT_EQ(capture.text(), "");

    Ref<Data> info, extended;
    bool isDirectory = true;
    EXPECT_TRUE(YK_getFinderInfo(manager(), &info, &extended, &isDirectory, path.get()));
    EXPECT_EQ(std::string(info->stringView()), std::string(16, '\0'));
    EXPECT_FALSE(isDirectory);
    auto ext = Data::dataWithString("0123456789abcdef");
    EXPECT_TRUE(YK_setFinderInfo(manager(), nullptr, ext.get(), path.get()));
    EXPECT_TRUE(YK_getFinderInfo(manager(), &info, &extended, nullptr, path.get()));
    EXPECT_TRUE(extended->isEqualToData(ext.get()));
    EXPECT_FALSE(YK_setFinderInfo(manager(), Data::dataWithString("short").get(), nullptr, path.get()));
    EXPECT_FALSE(YK_getFinderInfo(manager(), nullptr, nullptr, nullptr, path.get()));

    // The invisible flag, 0x4000 of the big-endian flags at offset 8, hides from a filter.
    auto filter = make<YFileFilter>(0, str("%").get(), false, nullptr, false);
    auto file = YFile::fileWithPath(path.get());
    EXPECT_TRUE(filter->acceptWithFile(file.get()));
    uint8_t invisible[16] = {};
    invisible[8] = 0x40;
    EXPECT_TRUE(YK_setFinderInfo(manager(), Data::dataWithBytes(invisible, 16).get(), nullptr, path.get()));
    EXPECT_FALSE(filter->acceptWithFile(file.get()));

    FSRef reference;
    EXPECT_TRUE(YK_getFSRef(manager(), &reference, path.get()));
    EXPECT_EQ(YK_pathWithFSRef(manager(), &reference)->utf8(), fs::canonical(folder.path() / "f").string());
    folder.write("g", "another file, another identity");
    fs::rename(folder.path() / "g", folder.path() / "f");
    EXPECT_EQ(YK_pathWithFSRef(manager(), &reference), nullptr);
}

TEST(FileManagerAdditions, FolderSearchFollowsXDG)
{
    yk::test::TemporaryFolder folder;
    const std::string home = folder.path().string();
    yk::test::ScopedVariable homeVariable("HOME", home.c_str());
    yk::test::ScopedVariable config("XDG_CONFIG_HOME", (home + "/conf").c_str());
    yk::test::ScopedVariable data("XDG_DATA_HOME", "relative/ignored");
    yk::test::ScopedVariable cache("XDG_CACHE_HOME", "");
    folder.write("conf/user-dirs.dirs", "# comment\nXDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    const std::tuple<const char*, int16_t, bool, std::string> cases[] = {
        { "pref", kUserDomain, false, home + "/conf" },
        { "asup", kUserDomain, true, home + "/.local/share" },
        { "cach", kUserDomain, true, home + "/.cache" },
        { "desk", kUserDomain, false, "(nil)" }, // not made yet
        { "desk", kUserDomain, true, home + "/Schreibtisch" },
        { "docs", kUserDomain, true, "(nil)" }, // not in user-dirs.dirs
        { "zzzz", kUserDomain, true, "(nil)" },
        { "pref", kNetworkDomain, false, "(nil)" },
    };
    LogCapture capture;
    for (const auto& [code, domain, create, path] : cases) {
        uint32_t type = YKFourCharCode(*reinterpret_cast<const char(*)[5]>(code));
        auto found = YKSearchPathForFolderInDomain(type, domain, create);
        EXPECT_EQ(found ? found->utf8() : "(nil)", path) << code;
    }
    EXPECT_EQ(capture.text(), "");
}

} // namespace
