#include <Yarkit/core/system/FileManager.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/system/DirectoryEnumerator.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>

#include "core/system/DirectoryReader.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace yk {

const char NSFileType[] = "NSFileType";
const char NSFileTypeDirectory[] = "NSFileTypeDirectory";
const char NSFileTypeRegular[] = "NSFileTypeRegular";
const char NSFileTypeSymbolicLink[] = "NSFileTypeSymbolicLink";
const char NSFileTypeSocket[] = "NSFileTypeSocket";
const char NSFileTypeCharacterSpecial[] = "NSFileTypeCharacterSpecial";
const char NSFileTypeBlockSpecial[] = "NSFileTypeBlockSpecial";
const char NSFileTypeUnknown[] = "NSFileTypeUnknown";
const char NSFileSize[] = "NSFileSize";
const char NSFileModificationDate[] = "NSFileModificationDate";
const char NSFileCreationDate[] = "NSFileCreationDate";
const char NSFileReferenceCount[] = "NSFileReferenceCount";
const char NSFileDeviceIdentifier[] = "NSFileDeviceIdentifier";
const char NSFileOwnerAccountName[] = "NSFileOwnerAccountName";
const char NSFileGroupOwnerAccountName[] = "NSFileGroupOwnerAccountName";
const char NSFilePosixPermissions[] = "NSFilePosixPermissions";
const char NSFileSystemNumber[] = "NSFileSystemNumber";
const char NSFileSystemFileNumber[] = "NSFileSystemFileNumber";
const char NSFileOwnerAccountID[] = "NSFileOwnerAccountID";
const char NSFileGroupOwnerAccountID[] = "NSFileGroupOwnerAccountID";
const char NSFileSystemSize[] = "NSFileSystemSize";
const char NSFileSystemFreeSize[] = "NSFileSystemFreeSize";
const char NSFileSystemNodes[] = "NSFileSystemNodes";
const char NSFileSystemFreeNodes[] = "NSFileSystemFreeNodes";

YK_DEFINE_CLASS(FileManager);

namespace {

// The file-system bytes of a path; false (errno 14 or 2, or ENAMETOOLONG) when there are none.
bool bytesOf(const String* path, std::string& bytes)
{
    if (!path) {
        errno = EFAULT;
        return false;
    }
    bytes = path->fileSystemRepresentation();
    if (bytes.empty()) {
        errno = path->length() ? EINVAL : ENOENT;
        return false;
    }
    return true;
}

Ref<String> stringOf(const std::string& bytes)
{
    return String::stringWithFileSystemRepresentation(bytes.data(), bytes.size());
}

Ref<Date> dateOf(const timespec& time)
{
    return Date::dateWithTimeIntervalSince1970(static_cast<double>(time.tv_sec) + time.tv_nsec / 1e9);
}

const char* typeOf(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFDIR: return NSFileTypeDirectory;
    case S_IFREG: return NSFileTypeRegular;
    case S_IFLNK: return NSFileTypeSymbolicLink;
    case S_IFSOCK: return NSFileTypeSocket;
    case S_IFCHR: return NSFileTypeCharacterSpecial;
    case S_IFBLK: return NSFileTypeBlockSpecial;
    default: return NSFileTypeUnknown;
    }
}

// The names a folder holds, without "." and ".."; false with errno set when it cannot be read.
bool entryNames(const std::string& path, std::vector<std::string>& names)
{
    detail::DirectoryReader reader(path.c_str());
    if (!reader.isOpen())
        return false;
    std::string_view name;
    unsigned char type;
    while (reader.next(name, type))
        names.emplace_back(name);
    return true;
}

// A folder's entries read whole before any is removed (removing while reading may skip
// entries): the names one after another, each ended by NUL, and their readdir types.
struct FolderEntries {
    std::string names;
    std::vector<unsigned char> types;

    void read(detail::DirectoryReader& reader)
    {
        std::string_view name;
        unsigned char type;
        while (reader.next(name, type)) {
            names.append(name);
            names.push_back('\0');
            types.push_back(type);
        }
    }
};

// Carries out one handler-based operation: tells the handler what it does and asks it after
// each error, or, for the error-returning family, records the first errno and stops.
class Operation {
public:
    Operation(FileManager* manager, Object* handler)
        : _manager(manager)
        , _handler(handler)
    {
    }

    void willProcess(const std::string& path)
    {
        if (_handler && _handler->respondsToSelector("fileManager:willProcessPath:"))
            send(_handler, "fileManager:willProcessPath:", _manager, stringOf(path));
    }

    // Whether to go on after the error `code` on path (and toPath for two-path operations).
    bool proceedAfterError(int code, const std::string& path, const std::string* toPath = nullptr)
    {
        if (!_firstError)
            _firstError = code;
        if (!_handler || !_handler->respondsToSelector("fileManager:shouldProceedAfterError:"))
            return false;
        auto info = make<MutableDictionary>();
        info->setObjectForStringKey(stringOf(path), "Path");
        if (toPath) {
            info->setObjectForStringKey(stringOf(path), "FromPath");
            info->setObjectForStringKey(stringOf(*toPath), "ToPath");
        }
        info->setObjectForStringKey(String::withUTF8(std::strerror(code)), "Error");
        return send<bool>(_handler, "fileManager:shouldProceedAfterError:", _manager, info);
    }

    int firstError() const { return _firstError; }

    bool remove(const std::string& path)
    {
        std::string walked = path;
        return removeEntry(AT_FDCWD, path.c_str(), DT_UNKNOWN, walked);
    }

    bool copy(const std::string& from, const std::string& to)
    {
        struct stat status;
        if (lstat(from.c_str(), &status) < 0)
            return proceedAfterError(errno, from, &to);
        if (S_ISLNK(status.st_mode))
            return copyLink(from, to);
        if (S_ISDIR(status.st_mode))
            return copyFolder(from, to, status.st_mode);
        if (S_ISREG(status.st_mode))
            return copyFile(from, to, status.st_mode);
        return proceedAfterError(ENOTSUP, from, &to);
    }

    // A rename, or a copy and a removal across file systems; an existing destination fails.
    bool move(const std::string& from, const std::string& to)
    {
        struct stat status;
        if (!lstat(to.c_str(), &status))
            return proceedAfterError(EEXIST, from, &to) && false;
        if (!rename(from.c_str(), to.c_str()))
            return true;
        if (errno != EXDEV)
            return proceedAfterError(errno, from, &to) && false;
        return copy(from, to) && remove(from);
    }

    bool link(const std::string& from, const std::string& to)
    {
        if (::link(from.c_str(), to.c_str()) < 0)
            return proceedAfterError(errno, from, &to);
        return true;
    }

private:
    // Removes the entry `name` of the folder parentFd, a folder's contents first; `path` is its
    // whole path, for the handler. Works on folder descriptors, so no entry's path is built
    // unless an error needs it, and a link inside the tree is removed, never followed.
    bool removeEntry(int parentFd, const char* name, unsigned char type, std::string& path)
    {
        if (type == DT_UNKNOWN) {
            struct stat status;
            if (fstatat(parentFd, name, &status, AT_SYMLINK_NOFOLLOW) < 0)
                return proceedAfterError(errno, path);
            type = S_ISDIR(status.st_mode) ? DT_DIR : DT_REG;
        }
        if (type != DT_DIR) {
            if (unlinkat(parentFd, name, 0) < 0)
                return proceedAfterError(errno, path);
            return true;
        }
        detail::DirectoryReader reader(parentFd, name);
        if (!reader.isOpen() && !proceedAfterError(errno, path))
            return false;
        if (reader.isOpen() && !removeContents(reader, path))
            return false;
        if (unlinkat(parentFd, name, AT_REMOVEDIR) < 0)
            return proceedAfterError(errno, path);
        return true;
    }

    bool removeContents(detail::DirectoryReader& reader, std::string& path)
    {
        FolderEntries entries;
        entries.read(reader);
        const size_t length = path.size();
        const char* name = entries.names.c_str();
        for (unsigned char type : entries.types) {
            path.append("/").append(name);
            bool removed = removeEntry(reader.fd(), name, type, path);
            path.resize(length);
            if (!removed)
                return false;
            name += std::strlen(name) + 1;
        }
        return true;
    }

    bool copyLink(const std::string& from, const std::string& to)
    {
        std::vector<char> target(PATH_MAX + 1);
        ssize_t length = readlink(from.c_str(), target.data(), PATH_MAX);
        if (length < 0)
            return proceedAfterError(errno, from, &to);
        target[length] = 0;
        if (symlink(target.data(), to.c_str()) < 0)
            return proceedAfterError(errno, from, &to);
        return true;
    }

    bool copyFolder(const std::string& from, const std::string& to, mode_t mode)
    {
        if (mkdir(to.c_str(), (mode & 07777) | S_IRWXU) < 0)
            return proceedAfterError(errno, from, &to);
        std::vector<std::string> names;
        if (!entryNames(from, names))
            return proceedAfterError(errno, from, &to);
        for (auto& name : names) {
            if (!copy(from + "/" + name, to + "/" + name))
                return false;
        }
        chmod(to.c_str(), mode & 07777);
        return true;
    }

    bool copyFile(const std::string& from, const std::string& to, mode_t mode)
    {
        int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
        if (in < 0)
            return proceedAfterError(errno, from, &to);
        int out = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 07777);
        if (out < 0) {
            int code = errno;
            close(in);
            return proceedAfterError(code, from, &to);
        }
        char buffer[65536];
        int code = 0;
        for (;;) {
            ssize_t n = read(in, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                code = n < 0 ? errno : 0;
                break;
            }
            for (ssize_t done = 0; done < n;) {
                ssize_t written = write(out, buffer + done, static_cast<size_t>(n - done));
                if (written < 0 && errno == EINTR)
                    continue;
                if (written < 0) {
                    code = errno;
                    break;
                }
                done += written;
            }
            if (code)
                break;
        }
        close(in);
        if (close(out) < 0 && !code)
            code = errno;
        if (code) {
            unlink(to.c_str());
            return proceedAfterError(code, from, &to);
        }
        return true;
    }

    FileManager* _manager;
    Object* _handler;
    int _firstError { 0 };
};

bool failWith(const String* path, int code, Ref<Error>* error)
{
    if (error)
        *error = FileManager::posixErrorForPath(path, code);
    return false;
}

using TwoPathStep = bool (Operation::*)(const std::string&, const std::string&);

// A two-path operation of the handler family: the handler hears the source first.
bool withHandler(FileManager* manager, const String* source, const String* destination, Object* handler, TwoPathStep step)
{
    std::string from, to;
    if (!bytesOf(source, from) || !bytesOf(destination, to))
        return false;
    Operation operation(manager, handler);
    operation.willProcess(from);
    return (operation.*step)(from, to);
}

// A two-path operation of the error-returning family: the first error, for the source.
bool withError(FileManager* manager, const String* source, const String* destination, Ref<Error>* error, TwoPathStep step)
{
    std::string from, to;
    if (!bytesOf(source, from))
        return failWith(source, errno, error);
    if (!bytesOf(destination, to))
        return failWith(destination, errno, error);
    Operation operation(manager, nullptr);
    if ((operation.*step)(from, to))
        return true;
    return failWith(source, operation.firstError(), error);
}

// Applies one attribute change; false with errno set.
bool applyAttributes(const Dictionary* attributes, const std::string& path)
{
    if (auto permissions = dynamic_cast<Number*>(attributes->objectForKey(std::string_view(NSFilePosixPermissions)).get())) {
        if (fchmodat(AT_FDCWD, path.c_str(), static_cast<mode_t>(permissions->unsignedIntValue() & 07777), AT_SYMLINK_NOFOLLOW) < 0)
            return false;
    }
    auto owner = dynamic_cast<Number*>(attributes->objectForKey(std::string_view(NSFileOwnerAccountID)).get());
    auto group = dynamic_cast<Number*>(attributes->objectForKey(std::string_view(NSFileGroupOwnerAccountID)).get());
    if (owner || group) {
        if (lchown(path.c_str(), owner ? owner->unsignedIntValue() : static_cast<uid_t>(-1),
                group ? group->unsignedIntValue() : static_cast<gid_t>(-1)) < 0)
            return false;
    }
    if (auto date = dynamic_cast<Date*>(attributes->objectForKey(std::string_view(NSFileModificationDate)).get())) {
        double seconds = date->timeIntervalSince1970();
        timespec times[2];
        times[0].tv_nsec = UTIME_OMIT;
        times[0].tv_sec = 0;
        times[1].tv_sec = static_cast<time_t>(seconds);
        times[1].tv_nsec = static_cast<long>((seconds - static_cast<double>(times[1].tv_sec)) * 1e9);
        if (times[1].tv_nsec < 0) {
            times[1].tv_sec -= 1;
            times[1].tv_nsec += 1000000000;
        }
        if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) < 0)
            return false;
    }
    return true;
}

mode_t permissionsFrom(const Dictionary* attributes, mode_t fallback)
{
    if (!attributes)
        return fallback;
    auto permissions = dynamic_cast<Number*>(attributes->objectForKey(std::string_view(NSFilePosixPermissions)).get());
    return permissions ? static_cast<mode_t>(permissions->unsignedIntValue() & 07777) : fallback;
}

} // namespace

Ref<String> NSTemporaryDirectory()
{
    const char* variable = std::getenv("TMPDIR");
    std::string folder = variable && *variable ? variable : "/tmp";
    if (folder.back() != '/')
        folder += '/';
    return stringOf(folder);
}

Ref<String> NSFileTypeForHFSTypeCode(uint32_t code)
{
    std::u16string text(6, u'\'');
    for (int i = 0; i < 4; ++i)
        text[1 + i] = static_cast<char16_t>((code >> (24 - 8 * i)) & 0xFF);
    return make<String>(std::move(text));
}

uint32_t NSHFSTypeCodeFromFileType(const String* fileType)
{
    if (!fileType || fileType->length() != 6)
        return 0;
    std::u16string_view text = fileType->view();
    if (text.front() != u'\'' || text.back() != u'\'')
        return 0;
    uint32_t code = 0;
    for (char16_t c : text.substr(1, 4)) {
        if (c > 0xFF)
            return 0;
        code = code << 8 | c;
    }
    return code;
}

mode_t processUmask()
{
    FILE* status = std::fopen("/proc/self/status", "re");
    if (!status)
        return 022;
    char line[256];
    mode_t mask = 022;
    while (std::fgets(line, sizeof line, status)) {
        if (!std::strncmp(line, "Umask:", 6)) {
            mask = static_cast<mode_t>(std::strtoul(line + 6, nullptr, 8));
            break;
        }
    }
    std::fclose(status);
    return mask;
}

FileManager* FileManager::defaultManager()
{
    static FileManager* const manager = make<FileManager>().leakRef();
    return manager;
}

Ref<Error> FileManager::posixErrorForPath(const String* path, int code)
{
    if (!path)
        code = EFAULT;
    else if (!path->length())
        code = ENOENT;
    auto info = make<MutableDictionary>();
    info->setObjectForStringKey(String::withUTF8(std::strerror(code)), NSLocalizedDescriptionKey);
    return Error::posixError(code, std::move(info));
}

bool FileManager::fileExistsAtPath(const String* path, bool* isDirectory) const
{
    std::string bytes;
    struct stat status;
    if (!bytesOf(path, bytes) || stat(bytes.c_str(), &status) < 0)
        return false;
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return true;
}

bool FileManager::isReadableFileAtPath(const String* path) const
{
    std::string bytes;
    return bytesOf(path, bytes) && !access(bytes.c_str(), R_OK);
}

bool FileManager::isWritableFileAtPath(const String* path) const
{
    std::string bytes;
    return bytesOf(path, bytes) && !access(bytes.c_str(), W_OK);
}

bool FileManager::isExecutableFileAtPath(const String* path) const
{
    std::string bytes;
    return bytesOf(path, bytes) && !access(bytes.c_str(), X_OK);
}

bool FileManager::isDeletableFileAtPath(const String* path) const
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return false;
    auto parent = path->stringByDeletingLastPathComponent();
    std::string folder = parent->length() ? parent->fileSystemRepresentation() : ".";
    return !access(folder.c_str(), W_OK | X_OK);
}

Ref<Dictionary> FileManager::fileAttributesAtPath(const String* path, bool traverseLink, bool withOwnerNames) const
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return nullptr;
    struct statx status;
    int flags = traverseLink ? 0 : AT_SYMLINK_NOFOLLOW;
    if (statx(AT_FDCWD, bytes.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &status) < 0)
        return nullptr;
    auto attributes = make<MutableDictionary>();
    attributes->setObjectForStringKey(String::withUTF8(typeOf(status.stx_mode)), NSFileType);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(status.stx_size), NSFileSize);
    attributes->setObjectForStringKey(dateOf({ status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec }), NSFileModificationDate);
    if (status.stx_mask & STATX_BTIME)
        attributes->setObjectForStringKey(dateOf({ status.stx_btime.tv_sec, status.stx_btime.tv_nsec }), NSFileCreationDate);
    attributes->setObjectForStringKey(Number::numberWithUnsignedInt(status.stx_nlink), NSFileReferenceCount);
    attributes->setObjectForStringKey(Number::numberWithUnsignedShort(static_cast<uint16_t>(status.stx_mode & 07777)), NSFilePosixPermissions);
    attributes->setObjectForStringKey(Number::numberWithUnsignedInt(status.stx_uid), NSFileOwnerAccountID);
    attributes->setObjectForStringKey(Number::numberWithUnsignedInt(status.stx_gid), NSFileGroupOwnerAccountID);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(makedev(status.stx_dev_major, status.stx_dev_minor)), NSFileSystemNumber);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(status.stx_ino), NSFileSystemFileNumber);
    if (S_ISCHR(status.stx_mode) || S_ISBLK(status.stx_mode))
        attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(makedev(status.stx_rdev_major, status.stx_rdev_minor)), NSFileDeviceIdentifier);
    if (withOwnerNames) {
        char buffer[4096];
        passwd user;
        passwd* userFound = nullptr;
        if (!getpwuid_r(status.stx_uid, &user, buffer, sizeof buffer, &userFound) && userFound)
            attributes->setObjectForStringKey(String::withUTF8(user.pw_name), NSFileOwnerAccountName);
        group groupEntry;
        group* groupFound = nullptr;
        if (!getgrgid_r(status.stx_gid, &groupEntry, buffer, sizeof buffer, &groupFound) && groupFound)
            attributes->setObjectForStringKey(String::withUTF8(groupEntry.gr_name), NSFileGroupOwnerAccountName);
    }
    return attributes;
}

Ref<Dictionary> FileManager::fileSystemAttributesAtPath(const String* path) const
{
    std::string bytes;
    struct statvfs info;
    struct stat status;
    if (!bytesOf(path, bytes) || statvfs(bytes.c_str(), &info) < 0 || stat(bytes.c_str(), &status) < 0)
        return nullptr;
    auto attributes = make<MutableDictionary>();
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(uint64_t(info.f_blocks) * info.f_frsize), NSFileSystemSize);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(uint64_t(info.f_bavail) * info.f_frsize), NSFileSystemFreeSize);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(info.f_files), NSFileSystemNodes);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(info.f_ffree), NSFileSystemFreeNodes);
    attributes->setObjectForStringKey(Number::numberWithUnsignedLongLong(status.st_dev), NSFileSystemNumber);
    return attributes;
}

bool FileManager::changeFileAttributes(const Dictionary* attributes, const String* path)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return false;
    if (!attributes) {
        errno = EINVAL;
        return false;
    }
    return applyAttributes(attributes, bytes);
}

Ref<Array> FileManager::directoryContentsAtPath(const String* path) const
{
    return contentsOfDirectoryAtPath(path, nullptr);
}

Ref<Array> FileManager::subpathsAtPath(const String* path) const
{
    return subpathsOfDirectoryAtPath(path, nullptr);
}

Ref<DirectoryEnumerator> FileManager::enumeratorAtPath(const String* path) const
{
    std::string bytes;
    struct stat status;
    if (!bytesOf(path, bytes) || stat(bytes.c_str(), &status) < 0 || !S_ISDIR(status.st_mode))
        return nullptr;
    return make<DirectoryEnumerator>(std::move(bytes));
}

Ref<String> FileManager::currentDirectoryPath() const
{
    std::vector<char> buffer(PATH_MAX);
    while (!getcwd(buffer.data(), buffer.size())) {
        if (errno != ERANGE)
            return nullptr;
        buffer.resize(buffer.size() * 2);
    }
    return stringOf(buffer.data());
}

bool FileManager::changeCurrentDirectoryPath(const String* path)
{
    std::string bytes;
    return bytesOf(path, bytes) && !chdir(bytes.c_str());
}

Ref<String> FileManager::displayNameAtPath(const String* path) const
{
    return path ? path->lastPathComponent() : nullptr;
}

bool FileManager::createDirectoryAtPath(const String* path, const Dictionary* attributes)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return false;
    if (mkdir(bytes.c_str(), permissionsFrom(attributes, 0777)) < 0)
        return false;
    return !attributes || applyAttributes(attributes, bytes);
}

bool FileManager::createFileAtPath(const String* path, const Data* contents, const Dictionary* attributes)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return false;
    int fd = open(bytes.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, permissionsFrom(attributes, 0666));
    if (fd < 0)
        return false;
    const uint8_t* cursor = contents ? contents->bytes() : nullptr;
    size_t remaining = contents ? contents->length() : 0;
    while (remaining) {
        ssize_t written = write(fd, cursor, remaining);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            int code = errno;
            close(fd);
            errno = code;
            return false;
        }
        cursor += written;
        remaining -= static_cast<size_t>(written);
    }
    if (close(fd) < 0)
        return false;
    return !attributes || applyAttributes(attributes, bytes);
}

bool FileManager::createSymbolicLinkAtPath(const String* path, const String* destination)
{
    std::string bytes, target;
    return bytesOf(path, bytes) && bytesOf(destination, target) && !symlink(target.c_str(), bytes.c_str());
}

Ref<String> FileManager::pathContentOfSymbolicLinkAtPath(const String* path) const
{
    return destinationOfSymbolicLinkAtPath(path, nullptr);
}

Ref<Data> FileManager::contentsAtPath(const String* path) const
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return nullptr;
    return Data::dataWithContentsOfFile(bytes.c_str());
}

bool FileManager::removeFileAtPath(const String* path, Object* handler)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return false;
    Operation operation(this, handler);
    operation.willProcess(bytes);
    return operation.remove(bytes);
}

bool FileManager::movePath(const String* source, const String* destination, Object* handler)
{
    return withHandler(this, source, destination, handler, &Operation::move);
}

bool FileManager::copyPath(const String* source, const String* destination, Object* handler)
{
    return withHandler(this, source, destination, handler, &Operation::copy);
}

bool FileManager::linkPath(const String* source, const String* destination, Object* handler)
{
    return withHandler(this, source, destination, handler, &Operation::link);
}

bool FileManager::removeItemAtPath(const String* path, Ref<Error>* error)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return failWith(path, errno, error);
    Operation operation(this, nullptr);
    if (operation.remove(bytes))
        return true;
    return failWith(path, operation.firstError(), error);
}

bool FileManager::moveItemAtPath(const String* source, const String* destination, Ref<Error>* error)
{
    return withError(this, source, destination, error, &Operation::move);
}

bool FileManager::copyItemAtPath(const String* source, const String* destination, Ref<Error>* error)
{
    return withError(this, source, destination, error, &Operation::copy);
}

bool FileManager::linkItemAtPath(const String* source, const String* destination, Ref<Error>* error)
{
    return withError(this, source, destination, error, &Operation::link);
}

bool FileManager::createDirectoryAtPath(const String* path, bool withIntermediateDirectories, const Dictionary* attributes, Ref<Error>* error)
{
    std::string bytes;
    if (!bytesOf(path, bytes))
        return failWith(path, errno, error);
    if (withIntermediateDirectories) {
        for (size_t slash = bytes.find('/', 1); slash != std::string::npos; slash = bytes.find('/', slash + 1)) {
            std::string parent = bytes.substr(0, slash);
            if (mkdir(parent.c_str(), 0777) < 0 && errno != EEXIST)
                return failWith(path, errno, error);
        }
        struct stat status;
        if (!stat(bytes.c_str(), &status) && S_ISDIR(status.st_mode))
            return !attributes || applyAttributes(attributes, bytes) || failWith(path, errno, error);
    }
    if (createDirectoryAtPath(path, attributes))
        return true;
    return failWith(path, errno, error);
}

bool FileManager::createSymbolicLinkAtPath(const String* path, const String* destination, Ref<Error>* error)
{
    if (!destination)
        return failWith(destination, EFAULT, error);
    if (createSymbolicLinkAtPath(path, destination))
        return true;
    return failWith(path, errno, error);
}

Ref<String> FileManager::destinationOfSymbolicLinkAtPath(const String* path, Ref<Error>* error) const
{
    std::string bytes;
    if (!bytesOf(path, bytes)) {
        failWith(path, errno, error);
        return nullptr;
    }
    std::vector<char> target(PATH_MAX + 1);
    ssize_t length = readlink(bytes.c_str(), target.data(), PATH_MAX);
    if (length < 0) {
        failWith(path, errno, error);
        return nullptr;
    }
    return String::stringWithFileSystemRepresentation(target.data(), static_cast<size_t>(length));
}

Ref<Array> FileManager::contentsOfDirectoryAtPath(const String* path, Ref<Error>* error) const
{
    std::string bytes;
    if (!bytesOf(path, bytes)) {
        failWith(path, errno, error);
        return nullptr;
    }
    detail::DirectoryReader reader(bytes.c_str());
    if (!reader.isOpen()) {
        failWith(path, errno, error);
        return nullptr;
    }
    auto names = make<MutableArray>();
    std::string_view name;
    unsigned char type;
    while (reader.next(name, type))
        names->addObject(String::stringWithFileSystemRepresentation(name.data(), name.size()));
    return names;
}

Ref<Array> FileManager::subpathsOfDirectoryAtPath(const String* path, Ref<Error>* error) const
{
    auto enumerator = enumeratorAtPath(path);
    if (!enumerator) {
        failWith(path, errno, error);
        return nullptr;
    }
    auto paths = make<MutableArray>();
    while (auto next = enumerator->nextObject())
        paths->addObject(std::move(next));
    return paths;
}

Ref<Dictionary> FileManager::attributesOfItemAtPath(const String* path, Ref<Error>* error) const
{
    auto attributes = fileAttributesAtPath(path, false);
    if (!attributes)
        failWith(path, errno, error);
    return attributes;
}

Ref<Dictionary> FileManager::attributesOfFileSystemForPath(const String* path, Ref<Error>* error) const
{
    auto attributes = fileSystemAttributesAtPath(path);
    if (!attributes)
        failWith(path, errno, error);
    return attributes;
}

bool FileManager::setAttributes(const Dictionary* attributes, const String* path, Ref<Error>* error)
{
    if (changeFileAttributes(attributes, path))
        return true;
    return failWith(path, errno, error);
}

} // namespace yk
