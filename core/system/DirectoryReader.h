#pragma once

#include <dirent.h>
#include <string_view>

namespace yk::detail {

// Reads one folder's entries in the folder's own order, without "." and "..", with the type
// readdir reports (DT_DIR, DT_REG, DT_LNK...; DT_UNKNOWN where the file system does not say, so
// the caller stats). Owns the open folder. Used by one thread at a time.
class DirectoryReader {
public:
    // Opens the folder at path; isOpen() is false with errno set when it cannot be read.
    explicit DirectoryReader(const char* path);
    // Opens the folder `name` of the folder `parentFd` without following a final link.
    DirectoryReader(int parentFd, const char* name);
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    bool isOpen() const { return _folder; }
    // The open folder's descriptor, for the *at calls on its entries.
    int fd() const { return dirfd(_folder); }

    // The next entry; false at the end. The name lives until the next call.
    bool next(std::string_view& name, unsigned char& type);

private:
    DIR* _folder;
};

} // namespace yk::detail
