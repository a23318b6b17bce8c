#pragma once

// An opaque reference to a file-system entry: its real path (links resolved) and its identity
// (device and inode), so a reference to a file that was replaced no longer resolves.

#include <string>
#include <sys/types.h>

namespace yk {

struct FSRef {
    std::string path;
    dev_t device { 0 };
    ino_t inode { 0 };
};

} // namespace yk
