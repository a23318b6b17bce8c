#pragma once

// NSString(YarkitPathExtensions): backup names, path normalisation, alias resolution and
// path arithmetic; and the folder search over the XDG base directories. Free functions that
// take the path first; pure functions of their arguments except where they read the file system.

#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// The path separator character, "/".
extern const char16_t YKPathSeparatorCharacter;

[[nodiscard]] Ref<String> YK_pathSeparator(const String* path);
// "~" before the extension: "a/b.txt" gives "a/b~.txt"; "a/b" gives "a/b~".
[[nodiscard]] Ref<String> YK_backupPath(const String* path);
// Runs of "/" become one and trailing "/" go; a path of slashes only is "/"; strings shorter
// than two characters are returned as they are. "." , ".." and "~" are left alone.
[[nodiscard]] Ref<String> YK_stringByNormalizingPath(const String* path);
// Symbolic links resolved (Linux has no alias files).
[[nodiscard]] Ref<String> YK_stringByResolvingAliasFile(const String* path);
// The leading components equal (case-sensitive) in both paths, joined.
[[nodiscard]] Ref<String> YK_commonPathPrefixWithPath(const String* path, const String* other);
// The path from `path` to `other`: ".." for each of path's components past the common ones
// (a trailing "/" not counted), then other's remaining components. With nothing in common,
// `other` itself.
[[nodiscard]] Ref<String> YK_relativePathToPath(const String* path, const String* other);

// A four-character code, as the folder types and file types are written: "pref" is 0x70726566.
constexpr uint32_t YKFourCharCode(const char (&code)[5])
{
    return uint32_t(uint8_t(code[0])) << 24 | uint32_t(uint8_t(code[1])) << 16 | uint32_t(uint8_t(code[2])) << 8 | uint8_t(code[3]);
}

// Folder types and domains of the folder search, with their platform values.
enum : uint32_t {
    kPreferencesFolderType = YKFourCharCode("pref"),
    kApplicationSupportFolderType = YKFourCharCode("asup"),
    kCachedDataFolderType = YKFourCharCode("cach"),
    kDesktopFolderType = YKFourCharCode("desk"),
    kDocumentsFolderType = YKFourCharCode("docs"),
    kDownloadsFolderType = YKFourCharCode("down"),
    kPictureDocumentsFolderType = YKFourCharCode("pdoc"),
    kMusicDocumentsFolderType = 0xB5646F63, // 'µdoc'
    kMovieDocumentsFolderType = YKFourCharCode("mdoc"),
    kTemporaryFolderType = YKFourCharCode("temp"),
    kCurrentUserFolderType = YKFourCharCode("cusr"),
};
enum : int16_t {
    kOnAppropriateDisk = -32767,
    kSystemDomain = -32766,
    kLocalDomain = -32765,
    kNetworkDomain = -32764,
    kUserDomain = -32763,
};

} // namespace yk

// The folder of a type in a domain, from the XDG base directories and user-dirs.dirs (the
// table is in docs/files.md); created first when `create` is true. Null when there is none:
// quietly for a type or domain without a folder (-43), else after logging
// "FSFindFolder() returned error <errno> for type <type>, domain <domain>". A function of the
// C interface, kept at global scope.
yk::Ref<yk::String> YKSearchPathForFolderInDomain(uint32_t folderType, int16_t domain, bool create);
