#include <Yarkit/FileManagerAdditions.h>

#include <Yarkit/ExtendedAttributes.h>
#include <Yarkit/PathExtensions.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace yk {
namespace {

constexpr size_t pathBufferSize = 1024;
constexpr size_t suffixBufferSize = 255;

// The process's umask, read once: setting and restoring it would race with threads that
// create files.
mode_t permissionMask()
{
    static const mode_t mask = processUmask();
    return mask;
}

// The file-system bytes of a path within `limit` bytes; false for null, empty or too long.
bool bytesOf(const String* path, std::string& bytes, size_t limit = pathBufferSize)
{
    if (!path)
        return false;
    char buffer[pathBufferSize];
    if (!path->getFileSystemRepresentation(buffer, std::min(limit, sizeof buffer)))
        return false;
    bytes = buffer;
    return true;
}

Ref<String> stringOf(const std::string& bytes)
{
    return String::stringWithFileSystemRepresentation(bytes.data(), bytes.size());
}

void logSystemError(const char* selector, const char* call, int code)
{
    log("-[%s %s]: %s() returned error %d: %s", "FileManager", selector, call, code, std::strerror(code));
}

// The temporary-file template for a name or path: base + "XXXXXX" + "." + extension.
Ref<String> templateFor(const String* path, uint32_t& suffixLength)
{
    auto extension = path->pathExtension();
    auto base = path->stringByDeletingPathExtension()->stringByAppendingString(String::withUTF8("XXXXXX").get());
    suffixLength = extension->length() ? extension->length() + 1 : 0;
    if (!suffixLength)
        return base;
    return base->stringByAppendingPathExtension(extension.get());
}

// A fast random source per thread, seeded once from the kernel.
uint64_t randomBits()
{
    thread_local std::mt19937_64 generator = [] {
        uint64_t seed = 0;
        if (getrandom(&seed, sizeof seed, 0) != sizeof seed)
            seed = static_cast<uint64_t>(getpid()) ^ reinterpret_cast<uintptr_t>(&seed);
        return std::mt19937_64(seed);
    }();
    return generator();
}

// The whole trailing run of "X" in name replaced by random letters and digits, as the
// platform's mktemp does; `run` is its length.
void fillTemporaryName(char* name, size_t start, size_t run)
{
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    uint64_t bits = 0;
    for (size_t i = 0; i < run; ++i) {
        if (i % 10 == 0)
            bits = randomBits();
        name[start + i] = alphabet[bits % 62];
        bits /= 62;
    }
}

// How many names a run of "X" is given before no free name is taken to be left: nearly every
// name of a short run; a long run is never exhausted. A template without "X" has one name.
uint64_t attemptsFor(size_t run)
{
    uint64_t attempts = 1;
    for (size_t i = 0; i < run && attempts < (1u << 20); ++i)
        attempts *= 62;
    return run ? std::min<uint64_t>(attempts * 8, 1u << 20) : 1;
}

// The numbered candidate: base + formatted number + suffix.
Ref<String> numberedCandidate(const String* base, const String* format, int32_t number, const String* suffix)
{
    char formatted[64];
    std::string formatBytes = format->utf8();
    std::snprintf(formatted, sizeof formatted, formatBytes.c_str(), number);
    auto candidate = base->stringByAppendingString(String::withUTF8(formatted).get());
    return candidate->stringByAppendingString(suffix);
}

bool changePermissions(FileManager* manager, uint32_t mode, const String* path, bool recursively, bool add)
{
    auto attributes = manager->fileAttributesAtPath(path, false);
    if (!attributes)
        return false;
    auto current = dynamic_cast<Number*>(attributes->objectForKey(std::string_view(NSFilePosixPermissions)).get());
    uint32_t bits = current ? current->unsignedIntValue() : 0;
    bits = add ? (bits | mode) : (bits & ~mode);
    bool ok = YK_changeFileAttribute(manager, String::withUTF8(NSFilePosixPermissions).get(),
        Number::numberWithUnsignedShort(static_cast<uint16_t>(bits)).get(), path);
    auto type = attributes->objectForKey(std::string_view(NSFileType));
    bool isFolder = type && static_cast<String*>(type.get())->isEqualToString(std::string_view(NSFileTypeDirectory));
    if (!recursively || !isFolder)
        return ok;
    auto names = manager->directoryContentsAtPath(path);
    if (!names)
        return false;
    for (auto& name : *names) {
        auto child = path->stringByAppendingPathComponent(static_cast<String*>(name.get()));
        ok = changePermissions(manager, mode, child.get(), true, add) && ok;
    }
    return ok;
}

// The POSIX error for the final mkdir of YK_createPath: 17 when a folder stands there now, 20
// when something else does, else the mkdir's errno.
int finalCreationError(const std::string& path, int code)
{
    struct stat status;
    if (stat(path.c_str(), &status) < 0)
        return code;
    return S_ISDIR(status.st_mode) ? EEXIST : ENOTDIR;
}

bool createPath(FileManager* manager, const String* path, const Dictionary* attributes, int& code)
{
    if (!path) {
        code = EFAULT;
        return false;
    }
    if (!path->length()) {
        code = ENOENT;
        return false;
    }
    if (path->isEqualToString(std::string_view("/"))) {
        code = EISDIR;
        return false;
    }
    std::string bytes;
    if (!bytesOf(path, bytes)) {
        code = ENAMETOOLONG;
        return false;
    }
    auto parent = path->stringByDeletingLastPathComponent();
    if (parent->length() && !parent->isEqualToString(std::string_view("/"))) {
        bool isFolder = false;
        if (manager->fileExistsAtPath(parent.get(), &isFolder)) {
            if (!isFolder) {
                code = ENOTDIR;
                return false;
            }
        } else if (!createPath(manager, parent.get(), nullptr, code)) {
            // Made meanwhile by another thread or process: the last creation decides.
            if (!manager->fileExistsAtPath(parent.get(), &isFolder) || !isFolder)
                return false;
        }
    }
    if (manager->createDirectoryAtPath(path, attributes))
        return true;
    code = finalCreationError(bytes, errno);
    return false;
}

} // namespace

Ref<Error> _createPOSIXErrorWithErrno(int code)
{
    auto info = make<MutableDictionary>();
    info->setObjectForStringKey(String::withUTF8(std::strerror(code)), NSLocalizedDescriptionKey);
    return Error::posixError(code, std::move(info));
}

Ref<String> YK_createTemporaryFileUsingName(FileManager* manager, const String* name)
{
    auto given = name ? Ref<String>(const_cast<String*>(name)) : String::withUTF8("temp");
    uint32_t suffixLength = 0;
    auto pattern = templateFor(given.get(), suffixLength);
    auto path = NSTemporaryDirectory()->stringByAppendingPathComponent(pattern.get());
    return YK_createTemporaryFileUsingTemplate(manager, path.get(), suffixLength);
}

Ref<String> YK_createTemporaryFileUsingPath(FileManager* manager, const String* path)
{
    if (!path)
        return nullptr;
    uint32_t suffixLength = 0;
    auto pattern = templateFor(path, suffixLength);
    return YK_createTemporaryFileUsingTemplate(manager, pattern.get(), suffixLength);
}

Ref<String> YK_createTemporaryFileUsingTemplate(FileManager*, const String* pathTemplate, uint32_t suffixLength)
{
    static const char selector[] = "YK_createTemporaryFileUsingTemplate:suffixLength:";
    if (!pathTemplate)
        return nullptr;
    uint32_t length = pathTemplate->length();
    if (suffixLength >= length)
        suffixLength = 0;
    std::string base, suffix;
    if (!bytesOf(pathTemplate->substringToIndex(length - suffixLength).get(), base))
        return nullptr;
    if (suffixLength && !bytesOf(pathTemplate->substringFromIndex(length - suffixLength).get(), suffix, suffixBufferSize))
        return nullptr;
    // The name is made free by the exclusive create itself (mktemp's own existence test would
    // be a second system call that proves nothing): EEXIST draws again, until no free name is
    // taken to be left, which fails as mktemp does.
    size_t start = base.size();
    while (start > 0 && base[start - 1] == 'X')
        --start;
    const size_t run = base.size() - start;
    std::string candidate = base + suffix;
    for (uint64_t attempt = 0, attempts = attemptsFor(run);; ++attempt) {
        if (attempt == attempts) {
            logSystemError(selector, "mktemp", EEXIST);
            return nullptr;
        }
        fillTemporaryName(candidate.data(), start, run);
        int fd = open(candidate.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd >= 0) {
            close(fd);
            return stringOf(candidate);
        }
        if (errno != EEXIST) {
            logSystemError(selector, "open", errno);
            return nullptr;
        }
    }
}

Ref<String> YK_createNumberedFileUsingPath(FileManager* manager, const String* path)
{
    if (!path)
        return nullptr;
    uint32_t extensionLength = path->pathExtension()->length();
    return YK_createNumberedFileUsingPath(manager, path, String::withUTF8(" %d").get(), 2, extensionLength ? extensionLength + 1 : 0);
}

Ref<String> YK_createNumberedFileUsingPath(FileManager* manager, const String* path, const String* numberFormat,
    int32_t startNumber, uint32_t suffixLength)
{
    static const char selector[] = "YK_createNumberedFileUsingPath:numberFormat:startNumber:suffixLength:";
    if (!path)
        return nullptr;
    if (YK_createFileExclusivelyAtPath(manager, path))
        return path->copy();
    if (errno != EEXIST) {
        logSystemError(selector, "open", errno);
        return nullptr;
    }
    if (!numberFormat)
        return nullptr;
    uint32_t length = path->length();
    if (suffixLength >= length)
        suffixLength = 0;
    auto base = path->substringToIndex(length - suffixLength);
    auto suffix = path->substringFromIndex(length - suffixLength);
    Ref<String> previous;
    for (int32_t number = startNumber;; ++number) {
        auto candidate = numberedCandidate(base.get(), numberFormat, number, suffix.get());
        if (previous && candidate->isEqualToString(previous.get()))
            return nullptr;
        if (YK_createFileExclusivelyAtPath(manager, candidate.get()))
            return candidate;
        if (errno != EEXIST) {
            logSystemError(selector, "open", errno);
            return nullptr;
        }
        previous = std::move(candidate);
    }
}

bool YK_createFileExclusivelyAtPath(FileManager*, const String* path)
{
    std::string bytes;
    if (!bytesOf(path, bytes)) {
        errno = path ? ENOENT : EFAULT;
        return false;
    }
    int fd = open(bytes.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

bool YK_createPath(FileManager* manager, const String* path, const Dictionary* attributes)
{
    int code = 0;
    return createPath(manager, path, attributes, code);
}

bool YK_createPath(FileManager* manager, const String* path, const Dictionary* attributes, Ref<Error>* error)
{
    int code = 0;
    if (createPath(manager, path, attributes, code))
        return true;
    if (error)
        *error = _createPOSIXErrorWithErrno(code);
    return false;
}

bool YK_createPathToFile(FileManager* manager, const String* path, const Dictionary* attributes)
{
    return YK_createPath(manager, path ? path->stringByDeletingLastPathComponent().get() : nullptr, attributes);
}

bool YK_createPathToFile(FileManager* manager, const String* path, const Dictionary* attributes, Ref<Error>* error)
{
    return YK_createPath(manager, path ? path->stringByDeletingLastPathComponent().get() : nullptr, attributes, error);
}

bool YK_removeFileAtPath(FileManager* manager, const String* path, Object* handler)
{
    bool isFolder = false;
    if (YK_fileExistsAtPath(manager, path, &isFolder, false) && isFolder) {
        auto names = manager->directoryContentsAtPath(path);
        for (auto& name : names ? names->objects() : std::vector<Ref<Object>>()) {
            auto child = path->stringByAppendingPathComponent(static_cast<String*>(name.get()));
            if (!YK_removeFileAtPath(manager, child.get(), handler))
                return false;
        }
    }
    return manager->removeFileAtPath(path, handler);
}

bool YK_renamePath(FileManager* manager, const String* source, const String* destination, Object* handler)
{
    if (String::isEmpty(source) || String::isEmpty(destination))
        return false;
    if (handler && handler->respondsToSelector("fileManager:willProcessPath:"))
        send(handler, "fileManager:willProcessPath:", manager, source);
    std::string from, to;
    int code = ENAMETOOLONG;
    if (bytesOf(source, from) && bytesOf(destination, to)) {
        if (!rename(from.c_str(), to.c_str()))
            return true;
        code = errno;
    }
    if (!handler || !handler->respondsToSelector("fileManager:shouldProceedAfterError:"))
        return false;
    auto info = make<MutableDictionary>();
    info->setObjectForStringKey(Ref<String>(const_cast<String*>(source)), "Path");
    info->setObjectForStringKey(Ref<String>(const_cast<String*>(source)), "FromPath");
    info->setObjectForStringKey(Ref<String>(const_cast<String*>(destination)), "ToPath");
    info->setObjectForStringKey(String::withUTF8(std::strerror(code)), "Error");
    return send<bool>(handler, "fileManager:shouldProceedAfterError:", manager, info);
}

bool YK_renameItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error)
{
    Object* delegate = _delegate(manager);
    if (delegate && delegate->respondsToSelector("fileManager:shouldRenameItemAtPath:toPath:")
        && !send<bool>(delegate, "fileManager:shouldRenameItemAtPath:toPath:", manager, source, destination))
        return true;
    std::string from, to;
    int code = 0;
    if (!source)
        code = EFAULT;
    else if (!bytesOf(source, from) || !bytesOf(destination, to))
        code = String::isEmpty(source) || String::isEmpty(destination) ? ENOENT : ENAMETOOLONG;
    else if (!rename(from.c_str(), to.c_str()))
        return true;
    else
        code = errno;
    if (error)
        *error = _createPOSIXErrorWithErrno(code);
    return false;
}

bool YK_fileExistsAtPath(FileManager*, const String* path, bool* isDirectory, bool traverseLink)
{
    std::string bytes;
    struct stat status;
    if (!bytesOf(path, bytes) || (traverseLink ? stat(bytes.c_str(), &status) : lstat(bytes.c_str(), &status)) < 0)
        return false;
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return true;
}

bool YK_isHiddenFileAtPath([[maybe_unused]] FileManager* manager, const String* path)
{
    if (String::isEmpty(path))
        return false;
    auto name = path->lastPathComponent();
    if (name->length() && name->characterAtIndex(0) == u'.')
        return true;
    // The Finder information read directly: listings ask this of every entry.
    std::string bytes;
    uint8_t info[32];
    if (!bytesOf(path, bytes))
        return false;
    ssize_t length = getxattr(bytes.c_str(), YKFinderInfoAttributeName, info, sizeof info);
    if (length < 10)
        return false;
    auto data = Data::dataWithBytesNoCopy(info, static_cast<uint32_t>(length), false);
    return YKFinderInfoIsInvisible(data.get());
}

bool YK_changeFileAttribute(FileManager* manager, const String* key, Object* value, const String* path)
{
    if (!key || !value)
        return false;
    auto attributes = make<MutableDictionary>();
    attributes->setObject(Ref<Object>(value), Ref<Object>(const_cast<String*>(key)));
    return manager->changeFileAttributes(attributes.get(), path);
}

Ref<Date> YK_creationDateAtPath(FileManager*, const String* path)
{
    std::string bytes;
    struct statx status;
    if (!bytesOf(path, bytes) || statx(AT_FDCWD, bytes.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME, &status) < 0
        || !(status.stx_mask & STATX_BTIME))
        return nullptr;
    return Date::dateWithTimeIntervalSince1970(static_cast<double>(status.stx_btime.tv_sec) + status.stx_btime.tv_nsec / 1e9);
}

Ref<Number> YK_posixPermissionsForMode(FileManager*, uint32_t mode)
{
    return Number::numberWithUnsignedShort(static_cast<uint16_t>(mode & ~permissionMask()));
}

Ref<Number> YK_defaultFilePermissions(FileManager* manager)
{
    return YK_posixPermissionsForMode(manager, 0666);
}

Ref<Number> YK_defaultDirectoryPermissions(FileManager* manager)
{
    return YK_posixPermissionsForMode(manager, 0777);
}

bool YK_addPosixPermissionsForMode(FileManager* manager, uint32_t mode, const String* path, bool recursively)
{
    return changePermissions(manager, mode, path, recursively, true);
}

bool YK_removePosixPermissionsForMode(FileManager* manager, uint32_t mode, const String* path, bool recursively)
{
    return changePermissions(manager, mode, path, recursively, false);
}

bool YK_setAttributes(FileManager* manager, const Dictionary* attributes, const String* path, Ref<Error>* error)
{
    return manager->setAttributes(attributes, path, error);
}

bool YK_createDirectoryAtPath(FileManager* manager, const String* path, bool withIntermediateDirectories,
    const Dictionary* attributes, Ref<Error>* error)
{
    return manager->createDirectoryAtPath(path, withIntermediateDirectories, attributes, error);
}

Ref<Array> YK_contentsOfDirectoryAtPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->contentsOfDirectoryAtPath(path, error);
}

Ref<Array> YK_subpathsOfDirectoryAtPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->subpathsOfDirectoryAtPath(path, error);
}

Ref<Dictionary> YK_attributesOfItemAtPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->attributesOfItemAtPath(path, error);
}

Ref<Dictionary> YK_attributesOfFileSystemForPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->attributesOfFileSystemForPath(path, error);
}

bool YK_createSymbolicLinkAtPath(FileManager* manager, const String* path, const String* destination, Ref<Error>* error)
{
    return manager->createSymbolicLinkAtPath(path, destination, error);
}

Ref<String> YK_destinationOfSymbolicLinkAtPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->destinationOfSymbolicLinkAtPath(path, error);
}

bool YK_copyItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error)
{
    return manager->copyItemAtPath(source, destination, error);
}

bool YK_moveItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error)
{
    return manager->moveItemAtPath(source, destination, error);
}

bool YK_linkItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error)
{
    return manager->linkItemAtPath(source, destination, error);
}

bool YK_removeItemAtPath(FileManager* manager, const String* path, Ref<Error>* error)
{
    return manager->removeItemAtPath(path, error);
}

Ref<Array> YK_componentsToDisplayForPath(FileManager* manager, const String* path)
{
    if (!path)
        return nullptr;
    auto components = path->pathComponents();
    auto names = make<MutableArray>();
    auto prefix = make<String>();
    for (auto& component : *components) {
        prefix = prefix->stringByAppendingPathComponent(static_cast<String*>(component.get()));
        names->addObject(manager->displayNameAtPath(prefix.get()));
    }
    return names;
}

Object* _delegate(FileManager* manager)
{
    return manager ? manager->delegate() : nullptr;
}

} // namespace yk
