// Arbitrary bytes as a file name and as a path: the file-system representation gives the
// bytes back, normalising is idempotent, and the path arithmetic never fails on it.

#include <Yarkit/PathExtensions.h>
#include <Yarkit/YFile.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto path = yk::String::stringWithFileSystemRepresentation(reinterpret_cast<const char*>(data), size);
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.find('\0') == std::string::npos && path->fileSystemRepresentation() != bytes)
        std::abort();
    auto once = yk::YK_stringByNormalizingPath(path.get());
    auto twice = yk::YK_stringByNormalizingPath(once.get());
    if (!once->isEqualToString(twice.get()))
        std::abort();
    auto file = yk::YFile::fileWithPath(path.get());
    if (!file->path()->isEqualToString(once.get()))
        std::abort();
    (void)file->parentPath();
    (void)file->hash();
    (void)yk::YK_backupPath(path.get());
    (void)yk::YK_relativePathToPath(path.get(), once.get());
    return 0;
}
