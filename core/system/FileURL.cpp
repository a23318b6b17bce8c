// URLs of local files.

#include <Yarkit/core/system/URL.h>

#include <Yarkit/core/system/FileManager.h>

#include <string>
#include <uriparser/Uri.h>
#include <vector>

namespace yk {

Ref<URL> URL::fileURLWithPath(const String* path)
{
    if (String::isEmpty(path))
        return nullptr;
    auto* manager = FileManager::defaultManager();
    Ref<String> absolute(const_cast<String*>(path));
    if (!path->isAbsolutePath() || path->characterAtIndex(0) != u'/') {
        auto current = manager->currentDirectoryPath();
        if (!current)
            return nullptr;
        absolute = current->stringByAppendingPathComponent(path);
    }
    std::string bytes = absolute->fileSystemRepresentation();
    bool isFolder = false;
    if (bytes.back() != '/' && manager->fileExistsAtPath(absolute.get(), &isFolder) && isFolder)
        bytes += '/';
    std::vector<char> text(bytes.size() * 3 + 8);
    if (uriUnixFilenameToUriStringA(bytes.c_str(), text.data()) != URI_SUCCESS)
        return nullptr;
    return URLWithString(std::string_view(text.data()));
}

} // namespace yk
