#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>
#include <dirent.h>
#include <string>
#include <vector>

namespace yk {

// Walks a folder tree depth first, one entry per nextObject, as paths relative to the root;
// parents come before their children and symbolic links are listed, not followed. Folders are
// opened as the walk reaches them, so a large tree costs one open folder per level. Used by one
// thread at a time.
class DirectoryEnumerator : public Object {
    YK_OBJECT(DirectoryEnumerator, Object)
public:
    // The root as file-system bytes; an unreadable root gives no entries.
    explicit DirectoryEnumerator(std::string root);
    ~DirectoryEnumerator() override;

    // The next relative path, or null at the end.
    [[nodiscard]] Ref<String> nextObject();
    // Does not descend into the folder nextObject returned last.
    void skipDescendents() { _skipPending = true; }

private:
    struct Level {
        DIR* folder;
        std::string relative; // "" for the root, else "a/b/"
    };
    void descendIntoPending();

    std::string _root;
    std::vector<Level> _levels;
    std::string _pendingFolder; // relative path of the last folder returned, to enter next
    bool _hasPending { false };
    bool _skipPending { false };
};

} // namespace yk
