#include <Yarkit/core/system/FileHandle.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace yk {

YK_DEFINE_CLASS(FileHandle);

const char NSFileHandleOperationException[] = "NSFileHandleOperationException";

namespace {

// The most one read(2) is asked for when reading to end of file.
constexpr size_t chunkSize = 65536;

Ref<FileHandle> openAtPath(std::string_view path, int flags)
{
    std::string terminated(path);
    int fd = open(terminated.c_str(), flags | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    return make<FileHandle>(fd, true);
}

} // namespace

FileHandle::FileHandle(int fileDescriptor, bool closeOnDealloc)
    : _fd(fileDescriptor)
    , _closeOnDealloc(closeOnDealloc)
{
}

FileHandle::~FileHandle()
{
    if (_closeOnDealloc && _fd >= 0)
        close(_fd);
}

// The shared handles are never destroyed: code running at exit may still write to them.
FileHandle* FileHandle::sharedHandle(int fileDescriptor)
{
    Ref<FileHandle> handle = make<FileHandle>(fileDescriptor, false);
    handle->_shared = true;
    return handle.leakRef();
}

FileHandle* FileHandle::fileHandleWithStandardInput()
{
    static FileHandle* const handle = sharedHandle(STDIN_FILENO);
    return handle;
}

FileHandle* FileHandle::fileHandleWithStandardOutput()
{
    static FileHandle* const handle = sharedHandle(STDOUT_FILENO);
    return handle;
}

FileHandle* FileHandle::fileHandleWithStandardError()
{
    static FileHandle* const handle = sharedHandle(STDERR_FILENO);
    return handle;
}

Ref<FileHandle> FileHandle::fileHandleWithNullDevice()
{
    Ref<FileHandle> handle = openAtPath("/dev/null", O_RDWR);
    if (!handle)
        raise(NSFileHandleOperationException, "*** +[FileHandle fileHandleWithNullDevice]: %s", std::strerror(errno));
    return handle;
}

Ref<FileHandle> FileHandle::fileHandleForReadingAtPath(std::string_view path)
{
    return openAtPath(path, O_RDONLY);
}

Ref<FileHandle> FileHandle::fileHandleForWritingAtPath(std::string_view path)
{
    return openAtPath(path, O_WRONLY);
}

Ref<FileHandle> FileHandle::fileHandleForUpdatingAtPath(std::string_view path)
{
    return openAtPath(path, O_RDWR);
}

Ref<FileHandle> FileHandle::fileHandleForReadingAtPath(const String* path)
{
    return path ? fileHandleForReadingAtPath(path->fileSystemRepresentation()) : nullptr;
}

Ref<FileHandle> FileHandle::fileHandleForWritingAtPath(const String* path)
{
    return path ? fileHandleForWritingAtPath(path->fileSystemRepresentation()) : nullptr;
}

Ref<FileHandle> FileHandle::fileHandleForUpdatingAtPath(const String* path)
{
    return path ? fileHandleForUpdatingAtPath(path->fileSystemRepresentation()) : nullptr;
}

void FileHandle::raiseErrno(const char* selector, int code) const
{
    std::string method = detail::methodName(this, selector);
    raise(NSFileHandleOperationException, "*** %s: %s", method.c_str(), std::strerror(code));
}

bool FileHandle::gathersReads()
{
    if (_isRegularFile < 0) {
        struct stat status;
        if (fstat(_fd, &status) < 0)
            return false; // the read itself reports the error
        _isRegularFile = S_ISREG(status.st_mode) || S_ISBLK(status.st_mode);
    }
    return _isRegularFile;
}

size_t FileHandle::readOnce(uint8_t* buffer, size_t length, const char* selector)
{
    for (;;) {
        ssize_t n = read(_fd, buffer, length);
        if (n >= 0)
            return static_cast<size_t>(n);
        if (errno != EINTR)
            raiseErrno(selector, errno);
    }
}

Ref<Data> FileHandle::readGathering(uint32_t length, const char* selector)
{
    if (!length)
        return make<Data>();
    bool gather = gathersReads();
    return Data::dataByFilling(length, [&](uint8_t* bytes) {
        size_t total = 0;
        do {
            size_t n = readOnce(bytes + total, length - total, selector);
            if (!n)
                break;
            total += n;
        } while (gather && total < length);
        return static_cast<uint32_t>(total);
    });
}

Ref<Data> FileHandle::readDataOfLength(uint32_t length)
{
    return readGathering(length, "readDataOfLength:");
}

Ref<Data> FileHandle::readDataToEndOfFile()
{
    constexpr size_t limit = std::numeric_limits<uint32_t>::max();
    std::string buffer;
    size_t length = 0;
    for (;;) {
        if (buffer.size() - length < chunkSize)
            buffer.resize(std::max(buffer.size() * 2, length + chunkSize));
        size_t n = readOnce(reinterpret_cast<uint8_t*>(buffer.data()) + length, chunkSize, "readDataToEndOfFile");
        if (!n)
            break;
        length += n;
        if (length > limit)
            raiseErrno("readDataToEndOfFile", EFBIG);
    }
    return Data::dataWithBytes(buffer.data(), static_cast<uint32_t>(length));
}

Ref<Data> FileHandle::availableData()
{
    if (gathersReads())
        return readDataToEndOfFile();
    return readGathering(chunkSize, "availableData");
}

void FileHandle::writeData(const Data* data)
{
    if (!data)
        detail::raiseInvalidArgument("*** " + detail::methodName(this, "writeData:") + ": nil string (or other) argument");
    writeBytes(data->bytes(), data->length());
}

void FileHandle::writeBytes(const void* bytes, size_t length)
{
    const auto* next = static_cast<const uint8_t*>(bytes);
    while (length) {
        ssize_t n = write(_fd, next, length);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            raiseErrno("writeData:", errno);
        }
        next += n;
        length -= static_cast<size_t>(n);
    }
}

uint64_t FileHandle::offsetInFile()
{
    off_t offset = lseek(_fd, 0, SEEK_CUR);
    if (offset < 0)
        raiseErrno("offsetInFile", errno);
    return static_cast<uint64_t>(offset);
}

uint64_t FileHandle::seekToEndOfFile()
{
    off_t offset = lseek(_fd, 0, SEEK_END);
    if (offset < 0)
        raiseErrno("seekToEndOfFile", errno);
    return static_cast<uint64_t>(offset);
}

void FileHandle::seekToFileOffset(uint64_t offset)
{
    if (offset > static_cast<uint64_t>(std::numeric_limits<off_t>::max()))
        raiseErrno("seekToFileOffset:", EINVAL);
    if (lseek(_fd, static_cast<off_t>(offset), SEEK_SET) < 0)
        raiseErrno("seekToFileOffset:", errno);
}

void FileHandle::truncateFileAtOffset(uint64_t offset)
{
    if (offset > static_cast<uint64_t>(std::numeric_limits<off_t>::max()))
        raiseErrno("truncateFileAtOffset:", EINVAL);
    int result;
    do
        result = ftruncate(_fd, static_cast<off_t>(offset));
    while (result < 0 && errno == EINTR);
    if (result < 0 || lseek(_fd, static_cast<off_t>(offset), SEEK_SET) < 0)
        raiseErrno("truncateFileAtOffset:", errno);
}

void FileHandle::synchronizeFile()
{
    if (fsync(_fd) < 0 && errno != EINVAL && errno != EROFS)
        raiseErrno("synchronizeFile", errno);
}

void FileHandle::closeFile()
{
    if (_shared)
        return;
    int fd = _fd;
    _fd = -1;
    _isRegularFile = -1;
    // A close interrupted by a signal has released the descriptor on Linux; retrying could
    // close a descriptor another thread has just opened.
    if (close(fd) < 0 && errno != EINTR)
        raiseErrno("closeFile", errno);
}

} // namespace yk
