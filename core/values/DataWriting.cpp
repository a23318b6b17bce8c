// Writing Data to files: in place or through a temporary file renamed over the path.

#include <Yarkit/core/values/Data.h>

#include <Yarkit/core/values/Error.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace yk {
namespace {

bool writeAll(int fd, const uint8_t* bytes, size_t length)
{
    while (length) {
        ssize_t written = write(fd, bytes, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

// Writes and closes fd; false with errno set (the descriptor is closed either way).
bool writeAndClose(int fd, const uint8_t* bytes, size_t length, const struct stat* old)
{
    bool ok = writeAll(fd, bytes, length) && (!old || fchmod(fd, old->st_mode & 07777) == 0);
    int code = errno;
    if (close(fd) < 0 && ok) {
        ok = false;
        code = errno;
    }
    errno = code;
    return ok;
}

// A new file beside path, created exclusively with 0666 under the umask; -1 with errno set.
int createTemporaryBeside(const std::string& path, std::string& temporary)
{
    static std::atomic<uint32_t> counter { 0 };
    for (int attempt = 0; attempt < 100; ++attempt) {
        uint32_t random = 0;
        if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random)
            random = static_cast<uint32_t>(getpid()) * 2654435761u;
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, ".yk%08x%04x~", random, counter.fetch_add(1) & 0xFFFF);
        temporary = path + suffix;
        int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    errno = EEXIST;
    return -1;
}

bool writeAtomically(const std::string& path, const uint8_t* bytes, size_t length, const struct stat* old)
{
    std::string temporary;
    int fd = createTemporaryBeside(path, temporary);
    if (fd < 0)
        return false;
    if (!writeAndClose(fd, bytes, length, old) || rename(temporary.c_str(), path.c_str()) < 0) {
        int code = errno;
        unlink(temporary.c_str());
        errno = code;
        return false;
    }
    return true;
}

bool writeInPlace(const std::string& path, const uint8_t* bytes, size_t length, const struct stat* old, bool exclusive)
{
    // Truncating a file with other hard links would change them too: give the path a new entry.
    if (old && old->st_nlink > 1 && unlink(path.c_str()) < 0)
        return false;
    int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | (exclusive ? O_EXCL : 0);
    int fd = open(path.c_str(), flags, old ? (old->st_mode & 07777) : 0666);
    if (fd < 0)
        return false;
    return writeAndClose(fd, bytes, length, old);
}

} // namespace

bool Data::writeToFile(const char* path, bool atomically) const
{
    Ref<Error> ignored;
    return writeToFile(path, atomically ? uint32_t(WritingAtomic) : 0u, &ignored);
}

bool Data::writeToFile(const char* path, uint32_t options, Ref<Error>* error) const
{
    int code = 0;
    if (!path)
        code = EFAULT;
    else if (!*path)
        code = ENOENT;
    if (!code) {
        struct stat status;
        bool exists = !lstat(path, &status) && S_ISREG(status.st_mode);
        const struct stat* old = exists ? &status : nullptr;
        if (exists && (options & WritingWithoutOverwriting)) {
            code = EEXIST;
        } else {
            bool ok = (options & WritingAtomic) && !(options & WritingWithoutOverwriting)
                ? writeAtomically(path, bytes(), _length, old)
                : writeInPlace(path, bytes(), _length, old, options & WritingWithoutOverwriting);
            if (ok)
                return true;
            code = errno;
        }
    }
    if (error)
        *error = Error::posixError(code);
    errno = code;
    return false;
}

} // namespace yk
