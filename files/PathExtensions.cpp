#include <Yarkit/PathExtensions.h>

#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>

#include "files/XDGDirectories.h"

#include <cerrno>
#include <filesystem>

namespace yk {

const char16_t YKPathSeparatorCharacter = u'/';

Ref<String> YK_pathSeparator(const String*)
{
    return String::withUTF8("/");
}

Ref<String> YK_backupPath(const String* path)
{
    if (!path)
        return nullptr;
    auto extension = path->pathExtension();
    auto tilde = String::withUTF8("~");
    if (!extension->length())
        return path->stringByAppendingString(tilde.get());
    auto base = path->stringByDeletingPathExtension()->stringByAppendingString(tilde.get());
    return base->stringByAppendingPathExtension(extension.get());
}

Ref<String> YK_stringByNormalizingPath(const String* path)
{
    if (!path || path->length() < 2)
        return path ? Ref<String>(const_cast<String*>(path)) : nullptr;
    std::u16string units;
    units.reserve(path->length());
    for (char16_t c : path->view()) {
        if (c == YKPathSeparatorCharacter && !units.empty() && units.back() == YKPathSeparatorCharacter)
            continue;
        units += c;
    }
    while (units.size() > 1 && units.back() == YKPathSeparatorCharacter)
        units.pop_back();
    if (units == path->view())
        return Ref<String>(const_cast<String*>(path));
    return make<String>(std::move(units));
}

Ref<String> YK_stringByResolvingAliasFile(const String* path)
{
    return path ? path->stringByResolvingSymlinksInPath() : nullptr;
}

namespace {

// How many leading components of a and b are equal.
uint32_t commonComponentCount(const Array* a, const Array* b)
{
    uint32_t count = 0;
    while (count < a->count() && count < b->count()
        && static_cast<String*>(a->objectAtIndex(count).get())->isEqualToString(static_cast<String*>(b->objectAtIndex(count).get())))
        ++count;
    return count;
}

} // namespace

Ref<String> YK_commonPathPrefixWithPath(const String* path, const String* other)
{
    if (!path || !other)
        return String::withUTF8("");
    auto mine = path->pathComponents();
    auto theirs = other->pathComponents();
    uint32_t count = commonComponentCount(mine.get(), theirs.get());
    auto common = make<MutableArray>();
    for (uint32_t i = 0; i < count; ++i)
        common->addObject(mine->objectAtIndex(i));
    return String::pathWithComponents(common.get());
}

Ref<String> YK_relativePathToPath(const String* path, const String* other)
{
    if (!path || !other)
        return other ? other->copy() : nullptr;
    auto mine = path->pathComponents();
    auto theirs = other->pathComponents();
    uint32_t count = commonComponentCount(mine.get(), theirs.get());
    if (!count)
        return other->copy();
    uint32_t mineCount = mine->count();
    if (mineCount && static_cast<String*>(mine->lastObject().get())->isEqualToString(std::string_view("/")))
        --mineCount;
    auto components = make<MutableArray>();
    for (uint32_t i = count; i < mineCount; ++i)
        components->addObject(String::withUTF8(".."));
    for (uint32_t i = count; i < theirs->count(); ++i)
        components->addObject(theirs->objectAtIndex(i));
    return String::pathWithComponents(components.get());
}

} // namespace yk

namespace {

// The folder of a type in a domain; empty when there is none.
std::string folderFor(uint32_t type, int16_t domain)
{
    using namespace yk;
    using namespace yk::detail;
    if (domain == kUserDomain || domain == kOnAppropriateDisk) {
        switch (type) {
        case kPreferencesFolderType: return xdgConfigHome();
        case kApplicationSupportFolderType: return xdgDataHome();
        case kCachedDataFolderType: return xdgCacheHome();
        case kDesktopFolderType: return xdgUserDir("DESKTOP");
        case kDocumentsFolderType: return xdgUserDir("DOCUMENTS");
        case kDownloadsFolderType: return xdgUserDir("DOWNLOAD");
        case kPictureDocumentsFolderType: return xdgUserDir("PICTURES");
        case kMusicDocumentsFolderType: return xdgUserDir("MUSIC");
        case kMovieDocumentsFolderType: return xdgUserDir("VIDEOS");
        case kTemporaryFolderType: return NSTemporaryDirectory()->fileSystemRepresentation();
        case kCurrentUserFolderType: return homeDirectory();
        default: return "";
        }
    }
    if (domain == kLocalDomain || domain == kSystemDomain) {
        switch (type) {
        case kPreferencesFolderType: {
            auto folders = xdgConfigDirs();
            return folders.empty() ? "" : folders.front();
        }
        case kApplicationSupportFolderType: {
            auto folders = xdgDataDirs();
            return folders.empty() ? "" : folders.front();
        }
        case kCachedDataFolderType: return "/var/cache";
        case kTemporaryFolderType: return "/tmp";
        default: return "";
        }
    }
    return "";
}

} // namespace

yk::Ref<yk::String> YKSearchPathForFolderInDomain(uint32_t folderType, int16_t domain, bool create)
{
    // No folder of that type in that domain, or none made yet, is the platform's -43: quiet.
    std::string folder = folderFor(folderType, domain);
    if (folder.empty())
        return nullptr;
    std::error_code failure;
    if (create)
        std::filesystem::create_directories(folder, failure);
    if (failure) {
        yk::log("FSFindFolder() returned error %d for type %@, domain %d", failure.value(), yk::NSFileTypeForHFSTypeCode(folderType).get(), domain);
        return nullptr;
    }
    if (!std::filesystem::is_directory(folder, failure))
        return nullptr;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return yk::String::stringWithFileSystemRepresentation(folder.data(), folder.size());
}
