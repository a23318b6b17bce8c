#pragma once

#include <Yarkit/YStream.h>

#include <Yarkit/core/system/FileHandle.h>

namespace yk {

// A stream over a FileHandle (retained). Reads and writes go straight to the handle, whose
// errors (NSFileHandleOperationException) pass through unchanged. After close the stream has
// no handle, and every operation but close and fileHandle raises
// NSInternalInconsistencyException "*** -[<class> <selector>]: attempt to operate nil file
// handle", naming the operation's selector (seekToFileOffset:, not the C++ name).
class YFileStream : public YStream {
    YK_OBJECT(YFileStream, YStream)
public:
    explicit YFileStream(Ref<FileHandle> fileHandle);
    ~YFileStream() override;

    [[nodiscard]] static Ref<YFileStream> streamWithFileHandle(FileHandle* fileHandle);
    // Streams over the shared standard handles and a new null device handle.
    [[nodiscard]] static Ref<YFileStream> streamWithStandardInput();
    [[nodiscard]] static Ref<YFileStream> streamWithStandardOutput();
    [[nodiscard]] static Ref<YFileStream> streamWithStandardError();
    [[nodiscard]] static Ref<YFileStream> streamWithNullDevice();

    // Null after close.
    FileHandle* fileHandle() const { return _fileHandle.get(); }

    // The handle's readDataOfLength, copied into the buffer.
    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    // The handle's own: empty data at end of file, never null.
    [[nodiscard]] Ref<Data> readDataOfLength(uint32_t length) override;
    [[nodiscard]] Ref<Data> availableData() override;
    // Seeks from the current offset, backwards too, never before 0; returns the distance moved.
    int64_t skipBy(int64_t count) override;
    void writeBytes(const void* bytes, uint32_t length) override;
    void writeData(const Data* data) override;
    // Closes the handle and lets it go. When closeFile raises a yk::Exception the handle is
    // let go first and the exception is raised again; any other C++ exception passes at once
    // and leaves the handle in place.
    void close() override;

    // FileHandleConveniences: passed to the handle.
    uint64_t offsetInFile();
    uint64_t seekToEndOfFile();
    void seekToFileOffset(uint64_t offset);
    void truncateFileAtOffset(uint64_t offset);
    void synchronizeFile();

private:
    // The handle, or the nil-handle exception naming `selector`.
    FileHandle& handle(const char* selector) const;

    Ref<FileHandle> _fileHandle;
};

} // namespace yk
