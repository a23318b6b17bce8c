#include <Yarkit/ExtendedAttributes.h>

#include <Yarkit/FileManagerAdditions.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace yk {

const char YKFinderInfoAttributeName[] = "user.com.apple.FinderInfo";
const char YKResourceForkAttributeName[] = "user.com.apple.ResourceFork";

namespace {

constexpr size_t finderInfoSize = 32;
constexpr size_t finderInfoPartSize = 16;

bool pathBytes(const String* path, std::string& bytes)
{
    char buffer[1024];
    if (!path || !path->getFileSystemRepresentation(buffer, sizeof buffer))
        return false;
    bytes = buffer;
    return true;
}

// The error for a failed attribute call: 258 of "NSCocoaErrorDomain" for a null path, else POSIX.
bool fail(const String* path, int code, Ref<Error>* error)
{
    if (error) {
        *error = path ? _createPOSIXErrorWithErrno(code)
                      : Error::errorWithDomain("NSCocoaErrorDomain", 258, make<Dictionary>());
    }
    return false;
}

// Reads an attribute whole into `value`; false with errno set.
bool readAttribute(const std::string& path, const char* name, std::string& value)
{
    for (;;) {
        ssize_t size = getxattr(path.c_str(), name, nullptr, 0);
        if (size < 0)
            return false;
        value.resize(static_cast<size_t>(size));
        ssize_t read = getxattr(path.c_str(), name, value.data(), value.size());
        if (read >= 0) {
            value.resize(static_cast<size_t>(read));
            return true;
        }
        if (errno != ERANGE) // grown since the size query: ask again
            return false;
    }
}

void logForkError(const char* selector, const char* call, int code)
{
    log("-[%s %s]: %s() returned error %d", "FileManager", selector, call, code);
}

// The 32 bytes of Finder information; zeros when the file has none or its file system keeps no
// attributes. False (errno set) for other failures.
bool readFinderInfo(const std::string& path, uint8_t (&info)[finderInfoSize])
{
    std::memset(info, 0, sizeof info);
    std::string value;
    if (!readAttribute(path, YKFinderInfoAttributeName, value))
        return errno == ENODATA || errno == ENOTSUP;
    std::memcpy(info, value.data(), std::min(value.size(), sizeof info));
    return true;
}

} // namespace

Ref<Array> YK_extendedAttributeNamesAtPath(FileManager*, const String* path, Ref<Error>* error)
{
    std::string bytes;
    if (!path || !pathBytes(path, bytes)) {
        fail(path, ENOENT, error);
        return nullptr;
    }
    std::string list;
    for (;;) {
        ssize_t size = listxattr(bytes.c_str(), nullptr, 0);
        if (size < 0) {
            fail(path, errno, error);
            return nullptr;
        }
        list.resize(static_cast<size_t>(size));
        ssize_t read = listxattr(bytes.c_str(), list.data(), list.size());
        if (read >= 0) {
            list.resize(static_cast<size_t>(read));
            break;
        }
        if (errno != ERANGE) {
            fail(path, errno, error);
            return nullptr;
        }
    }
    auto names = make<MutableArray>();
    for (size_t start = 0; start < list.size();) {
        size_t end = list.find('\0', start);
        if (end == std::string::npos)
            end = list.size();
        if (end > start)
            names->addObject(String::withUTF8(std::string_view(list).substr(start, end - start)));
        start = end + 1;
    }
    return names;
}

Ref<Data> YK_extendedAttributeForName(FileManager*, const String* name, const String* path, Ref<Error>* error)
{
    std::string bytes, value;
    if (!path || !pathBytes(path, bytes)) {
        fail(path, ENOENT, error);
        return nullptr;
    }
    if (!name) {
        fail(path, EINVAL, error);
        return nullptr;
    }
    if (!readAttribute(bytes, name->utf8().c_str(), value)) {
        fail(path, errno, error);
        return nullptr;
    }
    return Data::dataWithBytes(value.data(), static_cast<uint32_t>(value.size()));
}

bool YK_setExtendedAttribute(FileManager*, const Data* value, const String* name, const String* path, Ref<Error>* error)
{
    std::string bytes;
    if (!path || !pathBytes(path, bytes))
        return fail(path, ENOENT, error);
    if (!name || !value)
        return fail(path, EINVAL, error);
    if (setxattr(bytes.c_str(), name->utf8().c_str(), value->bytes(), value->length(), 0) < 0)
        return fail(path, errno, error);
    return true;
}

bool YK_removeExtendedAttributeForName(FileManager*, const String* name, const String* path, Ref<Error>* error)
{
    std::string bytes;
    if (!path || !pathBytes(path, bytes))
        return fail(path, ENOENT, error);
    if (!name)
        return fail(path, EINVAL, error);
    if (removexattr(bytes.c_str(), name->utf8().c_str()) < 0)
        return fail(path, errno, error);
    return true;
}

bool YK_getResourceFork(FileManager* manager, Ref<Data>* fork, const String* path)
{
    FSRef reference;
    if (!fork || !YK_getFSRef(manager, &reference, path))
        return false;
    std::string value;
    if (!readAttribute(reference.path, YKResourceForkAttributeName, value)) {
        if (errno != ENODATA && errno != ENOTSUP)
            logForkError("YK_getResourceFork:withPath:", "FSOpenFork", errno);
        return false;
    }
    *fork = Data::dataWithBytes(value.data(), static_cast<uint32_t>(value.size()));
    return true;
}

bool YK_setResourceFork(FileManager* manager, const Data* fork, const String* path)
{
    static const char selector[] = "YK_setResourceFork:withPath:";
    FSRef reference;
    if (!YK_getFSRef(manager, &reference, path))
        return false;
    if (!fork) {
        if (removexattr(reference.path.c_str(), YKResourceForkAttributeName) == 0 || errno == ENODATA)
            return true;
        logForkError(selector, "FSDeleteFork", errno);
        return false;
    }
    if (setxattr(reference.path.c_str(), YKResourceForkAttributeName, fork->bytes(), fork->length(), 0) < 0) {
        logForkError(selector, "FSWriteFork", errno);
        return false;
    }
    return true;
}

bool YK_getFSRef(FileManager* manager, FSRef* reference, const String* path)
{
    return YK_getFSRef(manager, reference, nullptr, path);
}

bool YK_getFSRef(FileManager*, FSRef* reference, bool* isDirectory, const String* path)
{
    std::string bytes;
    if (!reference || String::isEmpty(path) || !pathBytes(path, bytes))
        return false;
    char* resolved = realpath(bytes.c_str(), nullptr);
    if (!resolved)
        return false;
    std::string real = resolved;
    std::free(resolved);
    struct stat status;
    if (stat(real.c_str(), &status) < 0)
        return false;
    reference->path = std::move(real);
    reference->device = status.st_dev;
    reference->inode = status.st_ino;
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return true;
}

Ref<String> YK_pathWithFSRef(FileManager*, const FSRef* reference)
{
    struct stat status;
    if (!reference || stat(reference->path.c_str(), &status) < 0 || status.st_dev != reference->device
        || status.st_ino != reference->inode)
        return nullptr;
    return String::stringWithFileSystemRepresentation(reference->path.data(), reference->path.size());
}

bool YK_getFinderInfo(FileManager* manager, Ref<Data>* finderInfo, Ref<Data>* extendedFinderInfo, bool* isDirectory, const String* path)
{
    FSRef reference;
    if ((!finderInfo && !extendedFinderInfo) || !YK_getFSRef(manager, &reference, isDirectory, path))
        return false;
    uint8_t info[finderInfoSize];
    if (!readFinderInfo(reference.path, info))
        return false;
    if (finderInfo)
        *finderInfo = Data::dataWithBytes(info, finderInfoPartSize);
    if (extendedFinderInfo)
        *extendedFinderInfo = Data::dataWithBytes(info + finderInfoPartSize, finderInfoPartSize);
    return true;
}

bool YK_setFinderInfo(FileManager* manager, const Data* finderInfo, const Data* extendedFinderInfo, const String* path)
{
    FSRef reference;
    if (!finderInfo && !extendedFinderInfo)
        return false;
    if ((finderInfo && finderInfo->length() != finderInfoPartSize)
        || (extendedFinderInfo && extendedFinderInfo->length() != finderInfoPartSize))
        return false;
    if (!YK_getFSRef(manager, &reference, path))
        return false;
    uint8_t info[finderInfoSize];
    if (!readFinderInfo(reference.path, info))
        return false;
    if (finderInfo)
        std::memcpy(info, finderInfo->bytes(), finderInfoPartSize);
    if (extendedFinderInfo)
        std::memcpy(info + finderInfoPartSize, extendedFinderInfo->bytes(), finderInfoPartSize);
    return setxattr(reference.path.c_str(), YKFinderInfoAttributeName, info, sizeof info, 0) == 0;
}

bool YKFinderInfoIsInvisible(const Data* finderInfo)
{
    if (!finderInfo || finderInfo->length() < 10)
        return false;
    const uint8_t* bytes = finderInfo->bytes();
    uint16_t flags = static_cast<uint16_t>((bytes[8] << 8) | bytes[9]);
    return flags & 0x4000;
}

} // namespace yk
