#include "core/system/DirectoryReader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace yk::detail {

DirectoryReader::DirectoryReader(const char* path)
    : _folder(opendir(path))
{
}

DirectoryReader::DirectoryReader(int parentFd, const char* name)
    : _folder(nullptr)
{
    int fd = openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return;
    _folder = fdopendir(fd);
    if (!_folder) {
        int code = errno;
        close(fd);
        errno = code;
    }
}

DirectoryReader::~DirectoryReader()
{
    if (_folder)
        closedir(_folder);
}

bool DirectoryReader::next(std::string_view& name, unsigned char& type)
{
    while (dirent* entry = readdir(_folder)) {
        const char* text = entry->d_name;
        if (text[0] == '.' && (!text[1] || (text[1] == '.' && !text[2])))
            continue;
        name = std::string_view(text, std::strlen(text));
        type = entry->d_type;
        return true;
    }
    return false;
}

} // namespace yk::detail
