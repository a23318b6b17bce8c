#include <Yarkit/YFileStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include <algorithm>

namespace yk {

YK_DEFINE_CLASS(YFileStream);

YFileStream::YFileStream(Ref<FileHandle> fileHandle)
    : _fileHandle(std::move(fileHandle))
{
}

YFileStream::~YFileStream() = default;

Ref<YFileStream> YFileStream::streamWithFileHandle(FileHandle* fileHandle)
{
    return make<YFileStream>(Ref<FileHandle>(fileHandle));
}

Ref<YFileStream> YFileStream::streamWithStandardInput()
{
    return streamWithFileHandle(FileHandle::fileHandleWithStandardInput());
}

Ref<YFileStream> YFileStream::streamWithStandardOutput()
{
    return streamWithFileHandle(FileHandle::fileHandleWithStandardOutput());
}

Ref<YFileStream> YFileStream::streamWithStandardError()
{
    return streamWithFileHandle(FileHandle::fileHandleWithStandardError());
}

Ref<YFileStream> YFileStream::streamWithNullDevice()
{
    return make<YFileStream>(FileHandle::fileHandleWithNullDevice());
}

FileHandle& YFileStream::handle(const char* selector) const
{
    if (!_fileHandle)
        raise(NSInternalInconsistencyException, "*** -[%s %s]: attempt to operate nil file handle",
            classObject()->name().c_str(), selector);
    return *_fileHandle;
}

uint32_t YFileStream::readBytes(void* buffer, uint32_t length)
{
    return handle("readBytes:length:").readBytes(buffer, length);
}

Ref<Data> YFileStream::readDataOfLength(uint32_t length)
{
    return handle("readDataOfLength:").readDataOfLength(length);
}

Ref<Data> YFileStream::availableData()
{
    return handle("availableData").availableData();
}

int64_t YFileStream::skipBy(int64_t count)
{
    FileHandle& file = handle("skipBy:");
    uint64_t start = file.offsetInFile();
    uint64_t target = count < 0 ? start - std::min(start, uint64_t(0) - static_cast<uint64_t>(count))
                                : start + static_cast<uint64_t>(count);
    file.seekToFileOffset(target);
    return static_cast<int64_t>(file.offsetInFile() - start);
}

void YFileStream::writeBytes(const void* bytes, uint32_t length)
{
    handle("writeBytes:length:").writeBytes(bytes, length);
}

void YFileStream::writeData(const Data* data)
{
    handle("writeData:").writeData(data);
}

void YFileStream::close()
{
    if (!_fileHandle)
        return;
    try {
        _fileHandle->closeFile();
    } catch (const Exception&) {
        _fileHandle = nullptr;
        throw;
    }
    _fileHandle = nullptr;
}

uint64_t YFileStream::offsetInFile()
{
    return handle("offsetInFile").offsetInFile();
}

uint64_t YFileStream::seekToEndOfFile()
{
    return handle("seekToEndOfFile").seekToEndOfFile();
}

void YFileStream::seekToFileOffset(uint64_t offset)
{
    handle("seekToFileOffset:").seekToFileOffset(offset);
}

void YFileStream::truncateFileAtOffset(uint64_t offset)
{
    handle("truncateFileAtOffset:").truncateFileAtOffset(offset);
}

void YFileStream::synchronizeFile()
{
    handle("synchronizeFile").synchronizeFile();
}

} // namespace yk
