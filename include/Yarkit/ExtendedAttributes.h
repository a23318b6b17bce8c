#pragma once

// NSFileManager(YKExtendedAttributes) and NSFileManager(YarkitCarbonExtensions): extended
// attributes, and the Finder information, resource fork and file references kept in them.
//
// The Finder information is the attribute "user.com.apple.FinderInfo": 32 bytes, the 16 of
// the Finder information then the 16 of the extended Finder information, big-endian; a file
// without it reads as zeros. The resource fork is "user.com.apple.ResourceFork"; a file
// without it has no fork. Free functions that take the file manager first; any thread.

#include <Yarkit/FSRef.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Error.h>

namespace yk {

extern const char YKFinderInfoAttributeName[];   // "user.com.apple.FinderInfo"
extern const char YKResourceForkAttributeName[]; // "user.com.apple.ResourceFork"

// Each fails with an Error: "NSCocoaErrorDomain" 258 with empty user information for a null
// path, else the POSIX error of the failing call (ENODATA 61 for a missing name, ENOTSUP 95
// where the file system keeps no user attributes). Links are followed.
[[nodiscard]] Ref<Array> YK_extendedAttributeNamesAtPath(FileManager* manager, const String* path, Ref<Error>* error);
[[nodiscard]] Ref<Data> YK_extendedAttributeForName(FileManager* manager, const String* name, const String* path, Ref<Error>* error);
bool YK_setExtendedAttribute(FileManager* manager, const Data* value, const String* name, const String* path, Ref<Error>* error);
bool YK_removeExtendedAttributeForName(FileManager* manager, const String* name, const String* path, Ref<Error>* error);

// The resource fork's bytes: NO quietly when the file has none (or its file system keeps no
// attributes); other failures log "-[FileManager YK_getResourceFork:withPath:]: FSOpenFork()
// returned error <errno>". An empty fork is an empty data.
bool YK_getResourceFork(FileManager* manager, Ref<Data>* fork, const String* path);
// Writes the fork (FSWriteFork's line on failure) or, for null data, deletes it (FSDeleteFork's
// line, except when there was none).
bool YK_setResourceFork(FileManager* manager, const Data* fork, const String* path);

// A reference to an existing entry; NO for a null reference pointer or a null, empty or
// missing path.
bool YK_getFSRef(FileManager* manager, FSRef* reference, const String* path);
bool YK_getFSRef(FileManager* manager, FSRef* reference, bool* isDirectory, const String* path);
// The referenced entry's path; null when the reference is null or no longer names that entry.
[[nodiscard]] Ref<String> YK_pathWithFSRef(FileManager* manager, const FSRef* reference);

// The 16-byte Finder and extended Finder information (either pointer may be null, not both)
// and whether the entry is a folder. NO for a missing entry.
bool YK_getFinderInfo(FileManager* manager, Ref<Data>* finderInfo, Ref<Data>* extendedFinderInfo, bool* isDirectory, const String* path);
// Replaces either part (each 16 bytes long; at least one given) and keeps the other.
bool YK_setFinderInfo(FileManager* manager, const Data* finderInfo, const Data* extendedFinderInfo, const String* path);
// Whether 16 bytes of Finder information have the invisible flag (0x4000 of the big-endian
// flags at offset 8).
bool YKFinderInfoIsInvisible(const Data* finderInfo);

} // namespace yk
