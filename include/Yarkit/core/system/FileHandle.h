#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <string_view>

namespace yk {

// Raised by FileHandle when a system call fails; the reason is
// "*** -[<class> <selector>]: <strerror text>".
extern const char NSFileHandleOperationException[];

// An open file descriptor with blocking reads and writes that return data objects.
//
// End of file is an empty data object. On a regular file a read of n bytes gathers up to n
// bytes; on a pipe, socket or terminal it returns what one read(2) gives, so a line that
// arrives on a pipe is handed on at once instead of waiting for a buffer to fill. Writes loop
// over partial writes and EINTR. Every failure raises NSFileHandleOperationException naming
// the selector; a closed handle fails with EBADF like any other call.
//
// Not safe to use from two threads at once, except the shared standard handles, whose
// descriptor never changes.
class FileHandle : public Object {
    YK_OBJECT(FileHandle, Object)
public:
    // -initWithFileDescriptor:closeOnDealloc: the descriptor is closed on destruction only when
    // `closeOnDealloc` is set.
    explicit FileHandle(int fileDescriptor, bool closeOnDealloc = false);
    ~FileHandle() override;

    // The shared handles on descriptors 0, 1 and 2, made on first use and kept for the whole
    // process. They never close their descriptor: closeFile leaves them as they are, since
    // other parts of the program still use them and a closed 0 to 2 would be reused by the
    // next open().
    static FileHandle* fileHandleWithStandardInput();
    static FileHandle* fileHandleWithStandardOutput();
    static FileHandle* fileHandleWithStandardError();
    // A new handle on /dev/null: reads give end of file, writes are discarded.
    [[nodiscard]] static Ref<FileHandle> fileHandleWithNullDevice();

    // Handles that own a descriptor opened on the path, or null when it cannot be opened
    // (errno tells why). Reading is read-only; writing is write-only and never creates the
    // file; updating is read-write. The offset starts at 0.
    [[nodiscard]] static Ref<FileHandle> fileHandleForReadingAtPath(std::string_view path);
    [[nodiscard]] static Ref<FileHandle> fileHandleForWritingAtPath(std::string_view path);
    [[nodiscard]] static Ref<FileHandle> fileHandleForUpdatingAtPath(std::string_view path);
    [[nodiscard]] static Ref<FileHandle> fileHandleForReadingAtPath(const String* path);
    [[nodiscard]] static Ref<FileHandle> fileHandleForWritingAtPath(const String* path);
    [[nodiscard]] static Ref<FileHandle> fileHandleForUpdatingAtPath(const String* path);

    // -1 once closed.
    int fileDescriptor() const { return _fd; }

    // Up to `length` bytes (see above for which kinds of file return short); empty at end of
    // file.
    [[nodiscard]] Ref<Data> readDataOfLength(uint32_t length);
    // Everything up to end of file; raises EFBIG past 4 GiB - 1.
    [[nodiscard]] Ref<Data> readDataToEndOfFile();
    // A regular file's bytes up to its end; otherwise what one read(2) gives, waiting for it.
    [[nodiscard]] Ref<Data> availableData();
    // Raises NSInvalidArgumentException for null data.
    void writeData(const Data* data);
    // The same over bytes the caller keeps.
    void writeBytes(const void* bytes, size_t length);

    uint64_t offsetInFile();
    // Returns the new offset, the file's size.
    uint64_t seekToEndOfFile();
    void seekToFileOffset(uint64_t offset);
    // Cuts or extends the file to `offset` and moves there.
    void truncateFileAtOffset(uint64_t offset);
    // fsync; a descriptor that cannot be synchronised (a pipe, a terminal) is left alone.
    void synchronizeFile();
    // Closes the descriptor; later operations raise. Raises when close(2) fails, leaving the
    // handle closed all the same.
    void closeFile();

private:
    static FileHandle* sharedHandle(int fileDescriptor);

    [[noreturn]] void raiseErrno(const char* selector, int code) const;
    [[nodiscard]] Ref<Data> readGathering(uint32_t length, const char* selector);
    // One read(2) into `buffer`, EINTR retried; raises on failure.
    size_t readOnce(uint8_t* buffer, size_t length, const char* selector);
    bool gathersReads();

    int _fd;
    bool _closeOnDealloc;
    bool _shared { false };
    // Whether reads gather (regular files); found with fstat on the first read.
    int8_t _isRegularFile { -1 };
};

} // namespace yk
