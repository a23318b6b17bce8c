#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace yk {

class Array;
class Data;
class DirectoryEnumerator;
class Error;

// Attribute keys and the values of NSFileType, with their names as their text.
extern const char NSFileType[];
extern const char NSFileTypeDirectory[];
extern const char NSFileTypeRegular[];
extern const char NSFileTypeSymbolicLink[];
extern const char NSFileTypeSocket[];
extern const char NSFileTypeCharacterSpecial[];
extern const char NSFileTypeBlockSpecial[];
extern const char NSFileTypeUnknown[];
extern const char NSFileSize[];
extern const char NSFileModificationDate[];
extern const char NSFileCreationDate[];
extern const char NSFileReferenceCount[];
extern const char NSFileDeviceIdentifier[];
extern const char NSFileOwnerAccountName[];
extern const char NSFileGroupOwnerAccountName[];
extern const char NSFilePosixPermissions[];
extern const char NSFileSystemNumber[];
extern const char NSFileSystemFileNumber[];
extern const char NSFileOwnerAccountID[];
extern const char NSFileGroupOwnerAccountID[];
extern const char NSFileSystemSize[];
extern const char NSFileSystemFreeSize[];
extern const char NSFileSystemNodes[];
extern const char NSFileSystemFreeNodes[];

// The temporary folder with a trailing "/": $TMPDIR when it is set and not empty, else "/tmp/".
Ref<String> NSTemporaryDirectory();

// HFS type and creator codes as file types: the four bytes (Mac OS Roman, read here as
// Latin-1) between single quotes, "'TEXT'". NSHFSTypeCodeFromFileType gives 0 for any other
// text, or a null one.
Ref<String> NSFileTypeForHFSTypeCode(uint32_t code);
uint32_t NSHFSTypeCodeFromFileType(const String* fileType);

// The process's file-creation mask, read from "Umask:" in /proc/self/status (setting and
// restoring umask would race with threads that create files). 022 when it cannot be read.
mode_t processUmask();

// The platform's file manager over POSIX. One shared instance (defaultManager) that any thread
// may use; it keeps no state but its weak delegate.
//
// Paths are Strings in their file-system representation (see String): a null, empty or
// unconvertible path fails. Links inside a tree are never followed by remove, copy, move or
// link.
//
// The handler of the older calls (not retained) hears, by selector:
//   fileManager:willProcessPath:          before the operation, with its source path;
//   fileManager:shouldProceedAfterError:  on each failure, with "Path", "FromPath", "ToPath" (the
//                                         last two for two-path operations) and "Error" (the
//                                         system's error text); YES goes on with the next entry.
// Without a handler, or one that lacks the method, an error stops the operation.
//
// The newer calls report failure through an Error of the POSIX domain: code 14 for a null path,
// 2 for an empty one, else errno.
class FileManager : public Object {
    YK_OBJECT(FileManager, Object)
public:
    // The shared instance; lives for the process.
    static FileManager* defaultManager();

    // -delegate: asked fileManager:shouldRenameItemAtPath:toPath: by the rename additions. Not
    // retained.
    Object* delegate() const { return _delegate.load(std::memory_order_acquire); }
    void setDelegate(Object* delegate) { _delegate.store(delegate, std::memory_order_release); }

    // Tests.
    bool fileExistsAtPath(const String* path, bool* isDirectory = nullptr) const;
    bool isReadableFileAtPath(const String* path) const;
    bool isWritableFileAtPath(const String* path) const;
    bool isExecutableFileAtPath(const String* path) const;
    bool isDeletableFileAtPath(const String* path) const;

    // -fileAttributesAtPath:traverseLink: null when the entry cannot be read. Owner and group
    // names are looked up (in the user database) only when withOwnerNames is true.
    [[nodiscard]] Ref<Dictionary> fileAttributesAtPath(const String* path, bool traverseLink, bool withOwnerNames = false) const;
    // -fileSystemAttributesAtPath: sizes and node counts of the file system holding the path.
    [[nodiscard]] Ref<Dictionary> fileSystemAttributesAtPath(const String* path) const;
    // -changeFileAttributes:atPath: applies NSFilePosixPermissions, NSFileModificationDate,
    // NSFileOwnerAccountID and NSFileGroupOwnerAccountID without following a final link (Linux
    // cannot change a link's permission bits: that fails). False at the first failure, errno set.
    bool changeFileAttributes(const Dictionary* attributes, const String* path);

    // Listing: names in the folder's own order, without "." and "..".
    [[nodiscard]] Ref<Array> directoryContentsAtPath(const String* path) const;
    // Every entry below path, as paths relative to it, parents before their children; links
    // are listed, not followed.
    [[nodiscard]] Ref<Array> subpathsAtPath(const String* path) const;
    [[nodiscard]] Ref<DirectoryEnumerator> enumeratorAtPath(const String* path) const;
    [[nodiscard]] Ref<String> currentDirectoryPath() const;
    bool changeCurrentDirectoryPath(const String* path);
    // The last path component (Linux has no display names).
    [[nodiscard]] Ref<String> displayNameAtPath(const String* path) const;

    // Creation. Permission bits come from NSFilePosixPermissions when given, else 0777 (0666 for
    // files) under the umask.
    bool createDirectoryAtPath(const String* path, const Dictionary* attributes);
    bool createFileAtPath(const String* path, const Data* contents, const Dictionary* attributes);
    bool createSymbolicLinkAtPath(const String* path, const String* destination);
    [[nodiscard]] Ref<String> pathContentOfSymbolicLinkAtPath(const String* path) const;
    [[nodiscard]] Ref<Data> contentsAtPath(const String* path) const;

    // The handler family (see above).
    bool removeFileAtPath(const String* path, Object* handler);
    bool movePath(const String* source, const String* destination, Object* handler);
    bool copyPath(const String* source, const String* destination, Object* handler);
    bool linkPath(const String* source, const String* destination, Object* handler);

    // The error-returning family (see above). `error` may be null.
    bool removeItemAtPath(const String* path, Ref<Error>* error);
    bool moveItemAtPath(const String* source, const String* destination, Ref<Error>* error);
    bool copyItemAtPath(const String* source, const String* destination, Ref<Error>* error);
    bool linkItemAtPath(const String* source, const String* destination, Ref<Error>* error);
    bool createDirectoryAtPath(const String* path, bool withIntermediateDirectories, const Dictionary* attributes, Ref<Error>* error);
    bool createSymbolicLinkAtPath(const String* path, const String* destination, Ref<Error>* error);
    [[nodiscard]] Ref<String> destinationOfSymbolicLinkAtPath(const String* path, Ref<Error>* error) const;
    [[nodiscard]] Ref<Array> contentsOfDirectoryAtPath(const String* path, Ref<Error>* error) const;
    [[nodiscard]] Ref<Array> subpathsOfDirectoryAtPath(const String* path, Ref<Error>* error) const;
    [[nodiscard]] Ref<Dictionary> attributesOfItemAtPath(const String* path, Ref<Error>* error) const;
    [[nodiscard]] Ref<Dictionary> attributesOfFileSystemForPath(const String* path, Ref<Error>* error) const;
    bool setAttributes(const Dictionary* attributes, const String* path, Ref<Error>* error);

    // The POSIX error for a failed call on path: 14 for null, 2 for empty, else `code`.
    [[nodiscard]] static Ref<Error> posixErrorForPath(const String* path, int code);

private:
    std::atomic<Object*> _delegate { nullptr };
};

} // namespace yk
