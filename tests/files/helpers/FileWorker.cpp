// A helper process for the files tests, spawned (never forked from the threaded test program).
//
//   file_worker temporary DIR COUNT        creates COUNT temporary files in DIR, prints each path
//   file_worker numbered PATH COUNT        creates COUNT numbered files from PATH, prints each
//   file_worker failed-writes DIR          in a mount namespace of its own, checks that failed
//                                          writes on a full and on a read-only file system
//                                          keep the old bytes
//   file_worker no-xattrs DIR              in a mount namespace of its own, checks the quiet and
//                                          logged failures on a ramfs, which keeps no user
//                                          attributes
//
// Exit status: 0 when everything held, 1 with a line on standard error when something did not,
// 77 when the namespace or mount cannot be had (the test skips, saying why).

#include <Yarkit/DataAdditions.h>
#include <Yarkit/ExtendedAttributes.h>
#include <Yarkit/FileManagerAdditions.h>
#include <Yarkit/PathExtensions.h>
#include <Yarkit/core/values/Log.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace {

int failures = 0;
std::string logged;

void expect(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "file_worker: %s\n", what);
        ++failures;
    }
}

std::string readAll(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

yk::Ref<yk::String> str(const std::string& text)
{
    return yk::String::withUTF8(text);
}

// A mount namespace of our own (and a user namespace when not root) with a fresh file system
// of `type` at dir. False when the system does not allow it.
bool privateMount(const std::string& dir, const char* type, const char* options)
{
    int flags = CLONE_NEWNS | (geteuid() ? CLONE_NEWUSER : 0);
    if (unshare(flags) < 0) {
        std::fprintf(stderr, "file_worker: unshare: %s\n", std::strerror(errno));
        return false;
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0 || mount(type, dir.c_str(), type, 0, options) < 0) {
        std::fprintf(stderr, "file_worker: mount %s: %s\n", type, std::strerror(errno));
        return false;
    }
    return true;
}

int failedWrites(const std::string& dir)
{
    if (!privateMount(dir, "tmpfs", "size=64k"))
        return 77;
    auto* manager = yk::FileManager::defaultManager();
    const std::string mbox = dir + "/inbox.mbox";
    const std::string old = "old bytes that must survive\n";
    std::ofstream(mbox) << old;
    // Fill the file system, then ask for more than is left.
    std::ofstream(dir + "/filler") << std::string(60 * 1024 - old.size(), 'f');
    auto big = yk::Data::dataWithBytes(std::string(32 * 1024, 'n').data(), 32 * 1024);
    // The atomic write first: it must leave the old bytes at the path too.
    for (bool atomically : { true, false }) {
        expect(!yk::writeWithBackupToFile(big.get(), str(mbox).get(), atomically), "a write to a full file system succeeded");
        expect(readAll(dir + "/inbox~.mbox") == old, "the backup lost the old bytes (full)");
        if (atomically)
            expect(readAll(mbox) == old, "a failed atomic write lost the old bytes");
    }
    // Room again for the old bytes at the path (the non-atomic write left a new file there).
    std::remove((dir + "/filler").c_str());
    std::ofstream(mbox) << old;

    if (mount(nullptr, dir.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) < 0) {
        std::fprintf(stderr, "file_worker: remount read-only: %s\n", std::strerror(errno));
        return failures ? 1 : 77;
    }
    auto small = yk::Data::dataWithBytes("new", 3);
    for (bool atomically : { true, false }) {
        expect(!yk::writeWithBackupToFile(small.get(), str(mbox).get(), atomically), "a write to a read-only file system succeeded");
        expect(readAll(dir + "/inbox~.mbox") == old, "the backup lost the old bytes (read-only)");
        expect(readAll(mbox) == old, "a write to a read-only file system changed the file");
    }
    logged.clear();
    expect(!yk::YK_createTemporaryFileUsingTemplate(manager, str(dir + "/tXXXXXX").get(), 0), "a temporary file on a read-only file system");
    expect(logged.find("open() returned error 30") != std::string::npos, "no open() line for the read-only file system");
    expect(!yk::YK_createNumberedFileUsingPath(manager, str(mbox).get()), "a numbered file on a read-only file system");
    return failures ? 1 : 0;
}

int noExtendedAttributes(const std::string& dir)
{
    if (!privateMount(dir, "ramfs", nullptr))
        return 77;
    auto* manager = yk::FileManager::defaultManager();
    const std::string path = dir + "/message";
    std::ofstream(path) << "x";
    yk::Ref<yk::Error> error;
    expect(!yk::YK_setExtendedAttribute(manager, yk::Data::dataWithBytes("1", 1).get(), str("user.a").get(), str(path).get(), &error),
        "a user attribute was set on ramfs");
    expect(error && error->code() == ENOTSUP, "setting an attribute on ramfs did not fail with ENOTSUP");
    expect(!yk::YK_isHiddenFileAtPath(manager, str(path).get()), "a visible name was hidden");
    std::ofstream(dir + "/.dot") << "x";
    expect(yk::YK_isHiddenFileAtPath(manager, str(dir + "/.dot").get()), "a dot name was not hidden");
    yk::Ref<yk::Data> info;
    expect(yk::YK_getFinderInfo(manager, &info, nullptr, nullptr, str(path).get()), "no Finder information on ramfs");
    expect(info && info->length() == 16 && std::string(info->stringView()) == std::string(16, '\0'), "Finder information not zeros");
    logged.clear();
    yk::Ref<yk::Data> fork;
    expect(!yk::YK_getResourceFork(manager, &fork, str(path).get()), "a fork was read on ramfs");
    expect(logged.empty(), "reading a missing fork logged");
    expect(!yk::YK_setResourceFork(manager, yk::Data::dataWithBytes("r", 1).get(), str(path).get()), "a fork was written on ramfs");
    expect(logged == "-[FileManager YK_setResourceFork:withPath:]: FSWriteFork() returned error 95\n", "no FSWriteFork() line");
    return failures ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    yk::setLogSink([](const yk::String& message) { logged += message.utf8() + "\n"; });
    const std::string command = argv[1];
    const std::string target = argv[2];
    auto* manager = yk::FileManager::defaultManager();
    if (command == "temporary" || command == "numbered") {
        int count = argc > 3 ? std::atoi(argv[3]) : 1;
        auto templatePath = str(target + "/tempXXXXXX.eml");
        auto numberedPath = str(target);
        for (int i = 0; i < count; ++i) {
            auto path = command == "temporary" ? yk::YK_createTemporaryFileUsingTemplate(manager, templatePath.get(), 4)
                                               : yk::YK_createNumberedFileUsingPath(manager, numberedPath.get());
            if (!path) {
                std::fprintf(stderr, "file_worker: no file: %s", logged.c_str());
                return 1;
            }
            std::printf("%s\n", path->utf8().c_str());
        }
        return 0;
    }
    if (command == "failed-writes")
        return failedWrites(target);
    if (command == "no-xattrs")
        return noExtendedAttributes(target);
    return 2;
}
