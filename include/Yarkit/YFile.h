#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/system/Coding.h>
#include <Yarkit/core/values/String.h>

#include <atomic>
#include <cstdint>

namespace yk {

class Array;
class Data;
class Date;
class Dictionary;
class DirectoryEnumerator;
class FileHandle;
class URL;
class YFileFilter;

// An immutable value object naming a normalised file-system path, with the file operations on
// it: path arithmetic, tests and attributes, creation, deletion, copy, move, rename, reading,
// filtered listings, ancestry, equality and hashing. Safe to share between threads.
//
// The file-manager calls of createDirectory, delete, deleteAll, moveToFile, copyToFile,
// contents, directoryContents, directoryEnumerator, fileAttributes and changeFileAttributes run
// under one class-wide lock, which is also held while the file manager calls the error handler:
// a handler must not call back into those operations (the lock raises "deadlock" if it does;
// the lock is released as the exception passes).
//
// Operations report failure as false or null and never raise on their own. Errors of remove,
// move and copy go to the class's handler (see setHandler).
//
// Class methods and the files a file makes (parentFile, absoluteFile...) are of the
// receiver's runtime class, so subclasses get their own kind.
class YFile : public Object, public Coding {
    YK_OBJECT(YFile, Object)
public:
    // -init: the empty path.
    YFile();
    // -initWithPath: the path passed through YK_stringByNormalizingPath. Use fileWithPath.
    explicit YFile(const String* path);

    // +fileWithPath: null for a null path.
    [[nodiscard]] static Ref<YFile> fileWithPath(const String* path);
    // +fileWithParentPath:name: parent / name; either may be null (not both).
    [[nodiscard]] static Ref<YFile> fileWithParentPath(const String* parent, const String* name);
    // +fileWithParentFile:name:
    [[nodiscard]] static Ref<YFile> fileWithParentFile(const YFile* parent, const String* name);

    // -copyWithZone: the receiver itself.
    [[nodiscard]] Ref<YFile> copy() const { return Ref<YFile>(const_cast<YFile*>(this)); }

    // Naming and path arithmetic.
    const Ref<String>& path() const { return _path; }
    [[nodiscard]] Ref<String> name() const;
    [[nodiscard]] Ref<String> pathExtension() const;
    std::string fileSystemRepresentation() const;
    // Exact, case-sensitive comparison with the name; false for null.
    bool hasName(const String* name) const;
    bool isAbsolute() const;
    // Null for "" and "/"; "" for a one-component relative path.
    [[nodiscard]] Ref<String> parentPath() const;
    [[nodiscard]] Ref<YFile> parentFile() const;
    // The path, or the current directory with the path appended.
    [[nodiscard]] Ref<String> absolutePath() const;
    [[nodiscard]] Ref<YFile> absoluteFile() const;
    // A file URL of absolutePath.
    [[nodiscard]] Ref<yk::URL> URL() const;
    // The absolute path with symbolic links resolved.
    [[nodiscard]] Ref<String> resolvedPath() const;
    [[nodiscard]] Ref<YFile> resolvedFile() const;

    // Tests, without following a final symbolic link except isReadable, isWritable and
    // isExecutable. A dangling link exists; a link to a folder is no folder.
    bool isReadable() const;
    bool isWritable() const;
    bool isExecutable() const;
    bool exists() const;
    bool isDirectory() const;
    bool isRegular() const;
    bool isSymbolicLink() const;
    // The name starts with "." or the Finder information's invisible flag is set.
    bool isHidden() const;
    [[nodiscard]] Ref<Dictionary> fileAttributes() const;
    bool changeFileAttributes(const Dictionary* attributes) const;
    [[nodiscard]] Ref<Date> creationDate() const;
    [[nodiscard]] Ref<Date> modificationDate() const;
    bool setModificationDate(const Date* date) const;

    // Operations.
    // An empty file (0644), only when nothing is at the path.
    bool createFile() const;
    bool createDirectory() const;
    // Missing parents first; fails for a relative path whose first component is missing.
    bool createDirectories() const;
    // Refuses a non-empty folder.
    bool deleteFile() const;
    bool deleteAll() const;
    bool moveToFile(const YFile* destination) const;
    bool copyToFile(const YFile* destination) const;
    // rename(2); the handler decides the result of a failure.
    bool renameToFile(const YFile* destination) const;
    [[nodiscard]] Ref<Data> contents() const;
    // The file handle openers (writing and updating never create the file); null on failure.
    [[nodiscard]] Ref<FileHandle> fileHandleForReading() const;
    [[nodiscard]] Ref<FileHandle> fileHandleForWriting() const;
    [[nodiscard]] Ref<FileHandle> fileHandleForUpdating() const;

    // Listings, in the folder's order; null when the path is not a readable folder.
    [[nodiscard]] Ref<Array> directoryContents() const;
    // Names for which the filter (not retained) answers YES to acceptWithDirectoryFile:name:
    // (this file, the name); every name for a null filter.
    [[nodiscard]] Ref<Array> directoryContentsWithNameFilter(Object* nameFilter) const;
    [[nodiscard]] Ref<Array> directoryFiles() const;
    // Files of the receiver's class that the filter accepts (all for null).
    [[nodiscard]] Ref<Array> directoryFilesWithFileFilter(const YFileFilter* filter) const;
    [[nodiscard]] Ref<Array> directoryFilesWithNameFilter(Object* nameFilter) const;
    [[nodiscard]] Ref<DirectoryEnumerator> directoryEnumerator() const;

    // Ancestry: both must be absolute; a file descends from itself.
    bool isDescendantOfFile(const YFile* ancestor) const;
    // The receiver's path below the ancestor ("" for the ancestor itself); null when the
    // ancestor is not on the receiver's parent chain.
    [[nodiscard]] Ref<String> relativePathToFile(const YFile* ancestor) const;

    // Byte equality of the file-system representations; no links or relative paths resolved.
    bool isEqualToFile(const YFile* other) const;
    // One-sided: other must be a kind of the receiver's class.
    bool isEqual(const Object* other) const override;
    // h = h * 31 + byte over the file-system bytes, cached; 0 (with a log line) when the path
    // does not convert within 1024 bytes.
    size_t hash() const override;
    Ref<String> description() const override;

    // Only the path is coded; decoding keeps it as stored.
    void encodeWithCoder(Archiver& coder) const override;
    void initWithCoder(Unarchiver& coder) override;

    // The error handler of every YFile class (retained): setting null restores the default.
    static void setHandler(Object* handler);
    // The handler set, else YDefaultHandler's shared instance.
    [[nodiscard]] static Ref<Object> handler();

private:
    // A file of the receiver's runtime class for path (normalised).
    Ref<YFile> fileOfSameClass(const String* path) const;
    // A file of the receiver's runtime class for a path that is already normal.
    Ref<YFile> fileOfSameClassWithNormalPath(Ref<String> path) const;
    // The file for an entry name of this folder (no "/" in it): the path needs no normalising.
    Ref<YFile> childFile(const String* name) const;
    bool createDirectoryWithParents(bool withParents) const;
    bool deleteWithContents(bool all) const;
    // lstat's file type bits; 0 when the entry cannot be read.
    uint32_t entryType() const;

    Ref<String> _path;
    mutable std::atomic<uint32_t> _hash { 0 };
};

} // namespace yk
