#include <Yarkit/core/system/DirectoryEnumerator.h>

#include <Yarkit/core/runtime/Class.h>

#include <cstring>
#include <sys/stat.h>

namespace yk {

YK_DEFINE_CLASS(DirectoryEnumerator);

DirectoryEnumerator::DirectoryEnumerator(std::string root)
    : _root(std::move(root))
{
    if (DIR* folder = opendir(_root.c_str()))
        _levels.push_back({ folder, "" });
}

DirectoryEnumerator::~DirectoryEnumerator()
{
    for (auto& level : _levels)
        closedir(level.folder);
}

void DirectoryEnumerator::descendIntoPending()
{
    bool skip = _skipPending;
    _hasPending = _skipPending = false;
    if (skip)
        return;
    std::string full = _root + "/" + _pendingFolder;
    if (DIR* folder = opendir(full.c_str()))
        _levels.push_back({ folder, _pendingFolder + "/" });
}

Ref<String> DirectoryEnumerator::nextObject()
{
    if (_hasPending)
        descendIntoPending();
    while (!_levels.empty()) {
        Level& level = _levels.back();
        dirent* entry = readdir(level.folder);
        if (!entry) {
            closedir(level.folder);
            _levels.pop_back();
            continue;
        }
        if (!std::strcmp(entry->d_name, ".") || !std::strcmp(entry->d_name, ".."))
            continue;
        std::string relative = level.relative + entry->d_name;
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat status;
            std::string full = _root + "/" + relative;
            isFolder = !lstat(full.c_str(), &status) && S_ISDIR(status.st_mode);
        }
        if (isFolder) {
            _pendingFolder = relative;
            _hasPending = true;
        }
        return String::stringWithFileSystemRepresentation(relative.data(), relative.size());
    }
    return nullptr;
}

} // namespace yk
