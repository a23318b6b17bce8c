#pragma once

// NSFileManager(Yarkit), NSFileManager(YarkitWithCompatibility) and NSFileManager(YarkitPrivate):
// race-free temporary, numbered and exclusive files, whole directory paths with POSIX error
// codes, permission changes under the process umask, recursive removal, rename with a handler,
// and the error-returning file-manager calls.
//
// Free functions that take the file manager first; they may be called from any thread. Paths
// that are null, empty or do not convert to file-system bytes within 1024 bytes fail. Failures
// are NO or null (with an Error where the function takes one); the temporary- and numbered-file
// functions also log one line. Nothing here raises.

#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/values/Error.h>

#include <cstdint>

namespace yk {

class Date;
class Number;

// Temporary and numbered files: each returns the path of a new empty file it created, or null.
//
// YK_createTemporaryFileUsingName: "temp" for null; the name without its extension, then
// "XXXXXX", then "." and the extension, in NSTemporaryDirectory().
[[nodiscard]] Ref<String> YK_createTemporaryFileUsingName(FileManager* manager, const String* name);
// The same rule applied to a full path.
[[nodiscard]] Ref<String> YK_createTemporaryFileUsingPath(FileManager* manager, const String* path);
// The last suffixLength characters are kept; the run of "X" before them is replaced by random
// letters and digits until an exclusive create (mode 0600) succeeds. A template with no free
// name left fails with the mktemp() line.
[[nodiscard]] Ref<String> YK_createTemporaryFileUsingTemplate(FileManager* manager, const String* pathTemplate, uint32_t suffixLength);
// The path itself when it is free, else "report 2.txt", "report 3.txt"... (format " %d",
// starting at 2, the extension kept).
[[nodiscard]] Ref<String> YK_createNumberedFileUsingPath(FileManager* manager, const String* path);
// The number formatted with numberFormat (one integer conversion) goes between the base and the
// last suffixLength characters. A format without a number gives null once its one name is
// taken.
[[nodiscard]] Ref<String> YK_createNumberedFileUsingPath(FileManager* manager, const String* path,
    const String* numberFormat, int32_t startNumber, uint32_t suffixLength);
// open(O_WRONLY | O_CREAT | O_TRUNC | O_EXCL, 0644) and close; errno stays set on failure.
bool YK_createFileExclusivelyAtPath(FileManager* manager, const String* path);

// Creates the folder and every missing parent. Errors: null path 14, empty 2, "/" 21, a parent
// that is not a folder 20; when the final mkdir fails, 17 if a folder stands there now (an
// existing folder is a failure), 20 if something else does, else errno. A parent that another
// thread or process creates meanwhile is no failure.
bool YK_createPath(FileManager* manager, const String* path, const Dictionary* attributes);
bool YK_createPath(FileManager* manager, const String* path, const Dictionary* attributes, Ref<Error>* error);
// The same for the path's parent folder.
bool YK_createPathToFile(FileManager* manager, const String* path, const Dictionary* attributes);
bool YK_createPathToFile(FileManager* manager, const String* path, const Dictionary* attributes, Ref<Error>* error);

// Empties a folder (links not followed) entry by entry, stopping at the first failure, then
// removes the path with the file manager's removeFileAtPath.
bool YK_removeFileAtPath(FileManager* manager, const String* path, Object* handler);
// rename(2). The handler (not retained) hears fileManager:willProcessPath: with the source and,
// on failure, fileManager:shouldProceedAfterError: with "Path" and "FromPath" (source),
// "ToPath" and "Error"; the result is then its answer (NO without a handler or the method).
bool YK_renamePath(FileManager* manager, const String* source, const String* destination, Object* handler);
// YES without renaming when the manager's delegate answers NO to
// fileManager:shouldRenameItemAtPath:toPath:; otherwise rename(2) with a POSIX error.
bool YK_renameItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error);

// stat when traverseLink, else lstat (a dangling link exists); isDirectory may be null.
bool YK_fileExistsAtPath(FileManager* manager, const String* path, bool* isDirectory, bool traverseLink);
// The name starts with "." or the Finder information has the invisible flag.
bool YK_isHiddenFileAtPath(FileManager* manager, const String* path);
// changeFileAttributes with one entry; a null key or value gives NO.
bool YK_changeFileAttribute(FileManager* manager, const String* key, Object* value, const String* path);
// The creation (birth) time from statx, null when the file system does not record it.
[[nodiscard]] Ref<Date> YK_creationDateAtPath(FileManager* manager, const String* path);

// Permission bits under the process umask, which is read once from /proc/self/status.
[[nodiscard]] Ref<Number> YK_posixPermissionsForMode(FileManager* manager, uint32_t mode);
[[nodiscard]] Ref<Number> YK_defaultFilePermissions(FileManager* manager);
[[nodiscard]] Ref<Number> YK_defaultDirectoryPermissions(FileManager* manager);
// Set the bits to current | mode (or current & ~mode) without following links; recursively
// into a folder's entries when asked. YES only when every change succeeded; every entry is
// tried. Linux cannot change a symbolic link's own bits, so a link fails and its target is
// never touched.
bool YK_addPosixPermissionsForMode(FileManager* manager, uint32_t mode, const String* path, bool recursively);
bool YK_removePosixPermissionsForMode(FileManager* manager, uint32_t mode, const String* path, bool recursively);

// The error-returning calls, forwarded to the file manager's own (which report a POSIX error:
// 14 for a null path, 2 for an empty one, else errno).
bool YK_setAttributes(FileManager* manager, const Dictionary* attributes, const String* path, Ref<Error>* error);
bool YK_createDirectoryAtPath(FileManager* manager, const String* path, bool withIntermediateDirectories,
    const Dictionary* attributes, Ref<Error>* error);
[[nodiscard]] Ref<Array> YK_contentsOfDirectoryAtPath(FileManager* manager, const String* path, Ref<Error>* error);
[[nodiscard]] Ref<Array> YK_subpathsOfDirectoryAtPath(FileManager* manager, const String* path, Ref<Error>* error);
[[nodiscard]] Ref<Dictionary> YK_attributesOfItemAtPath(FileManager* manager, const String* path, Ref<Error>* error);
[[nodiscard]] Ref<Dictionary> YK_attributesOfFileSystemForPath(FileManager* manager, const String* path, Ref<Error>* error);
bool YK_createSymbolicLinkAtPath(FileManager* manager, const String* path, const String* destination, Ref<Error>* error);
[[nodiscard]] Ref<String> YK_destinationOfSymbolicLinkAtPath(FileManager* manager, const String* path, Ref<Error>* error);
bool YK_copyItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error);
bool YK_moveItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error);
bool YK_linkItemAtPath(FileManager* manager, const String* source, const String* destination, Ref<Error>* error);
bool YK_removeItemAtPath(FileManager* manager, const String* path, Ref<Error>* error);
// The display name of each cumulative prefix of the path's components.
[[nodiscard]] Ref<Array> YK_componentsToDisplayForPath(FileManager* manager, const String* path);

// The manager's delegate (not retained).
Object* _delegate(FileManager* manager);

// _createPOSIXErrorWithErrno: an Error of the POSIX domain whose user information holds only
// NSLocalizedDescriptionKey = strerror's text.
[[nodiscard]] Ref<Error> _createPOSIXErrorWithErrno(int code);

} // namespace yk
