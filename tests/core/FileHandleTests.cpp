#include "CoreTestSupport.h"
#include "TemporaryFolder.h"

#include <Yarkit/core/system/FileHandle.h>
#include <Yarkit/core/system/Pipe.h>
#include <Yarkit/core/values/Data.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace yk;
using yk::test::expectRaise;

TEST(FileHandle, PathOpenersAnswerNullWhenThePathCannotBeOpened)
{
    test::TemporaryFolder folder;
    std::string path = (folder.path() / "f").string();
    EXPECT_FALSE(FileHandle::fileHandleForReadingAtPath(path));
    EXPECT_FALSE(FileHandle::fileHandleForWritingAtPath(path)) << "writing never creates the file";
    EXPECT_FALSE(FileHandle::fileHandleForUpdatingAtPath(path));
    EXPECT_FALSE(FileHandle::fileHandleForReadingAtPath(static_cast<const String*>(nullptr)));
    std::ofstream(path) << "0123456789";

    auto reader = FileHandle::fileHandleForReadingAtPath(test::str(path.c_str()).get());
    ASSERT_TRUE(reader);
    expectRaise([&] { reader->writeData(Data::dataWithString("x").get()); }, NSFileHandleOperationException,
        "*** -[FileHandle writeData:]: Bad file descriptor");

    auto writer = FileHandle::fileHandleForWritingAtPath(path);
    ASSERT_TRUE(writer);
    writer->seekToFileOffset(2);
    writer->writeData(Data::dataWithString("ab").get());
    EXPECT_EQ(writer->offsetInFile(), 4u);
    EXPECT_EQ(reader->readDataToEndOfFile()->stringView(), "01ab456789");
}

TEST(FileHandle, SeekingTruncatingAndEndOfFile)
{
    test::TemporaryFolder folder;
    std::string path = (folder.path() / "f").string();
    std::string bytes(300000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = char(i * 7 + i / 251);
    std::ofstream(path, std::ios::binary) << bytes;
    auto handle = FileHandle::fileHandleForUpdatingAtPath(path);
    ASSERT_TRUE(handle);

    EXPECT_EQ(handle->readDataOfLength(4)->stringView(), bytes.substr(0, 4));
    EXPECT_EQ(handle->offsetInFile(), 4u);
    EXPECT_EQ(handle->readDataOfLength(200000)->stringView(), bytes.substr(4, 200000));
    EXPECT_EQ(handle->readDataToEndOfFile()->stringView(), bytes.substr(200004)) << "in growing pieces";
    EXPECT_EQ(handle->readDataOfLength(100)->length(), 0u) << "end of file is empty data";
    EXPECT_EQ(handle->readDataOfLength(0)->length(), 0u);
    handle->seekToFileOffset(299990);
    EXPECT_EQ(handle->readDataOfLength(100)->stringView(), bytes.substr(299990)) << "a regular file gathers to its end";
    handle->seekToFileOffset(8);
    EXPECT_EQ(handle->availableData()->stringView(), bytes.substr(8));
    handle->truncateFileAtOffset(3);
    EXPECT_EQ(handle->offsetInFile(), 3u);
    EXPECT_EQ(handle->seekToEndOfFile(), 3u);
    handle->truncateFileAtOffset(5);
    handle->seekToFileOffset(0);
    EXPECT_EQ(handle->readDataToEndOfFile()->stringView(), bytes.substr(0, 3) + std::string("\0\0", 2));
    handle->synchronizeFile();
}

TEST(FileHandle, PipeReadsReturnWhatArrivedWithoutWaitingForMore)
{
    auto pipe = Pipe::pipe();
    FileHandle* reader = pipe->fileHandleForReading();
    pipe->fileHandleForWriting()->writeData(Data::dataWithString("line\n").get());
    EXPECT_EQ(reader->readDataOfLength(4096)->stringView(), "line\n");
    pipe->fileHandleForWriting()->writeData(Data::dataWithString("more").get());
    EXPECT_EQ(reader->availableData()->stringView(), "more");

    // A writer on another thread: the reader waits for it, then sees end of file.
    std::thread writer([&] {
        pipe->fileHandleForWriting()->writeData(Data::dataWithString("late").get());
        pipe->fileHandleForWriting()->closeFile();
    });
    EXPECT_EQ(reader->readDataOfLength(10)->stringView(), "late");
    writer.join();
    EXPECT_EQ(reader->readDataOfLength(10)->length(), 0u);
}

TEST(FileHandle, FailuresRaiseNamingTheSelectorAndTheSystemError)
{
    // A full disk is pinned through YFileStream.
    expectRaise([&] { FileHandle::fileHandleWithNullDevice()->writeData(nullptr); }, NSInvalidArgumentException,
        "*** -[FileHandle writeData:]: nil string (or other) argument");

    // A descriptor closed behind the handle's back: closeFile raises once and the handle is closed.
    int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    FileHandle handle(fd, true);
    close(fd);
    expectRaise([&] { handle.closeFile(); }, NSFileHandleOperationException, "*** -[FileHandle closeFile]: Bad file descriptor");
    EXPECT_EQ(handle.fileDescriptor(), -1);
    expectRaise([&] { (void)handle.readDataOfLength(1); }, NSFileHandleOperationException,
        "*** -[FileHandle readDataOfLength:]: Bad file descriptor");
    expectRaise([&] { (void)handle.offsetInFile(); }, NSFileHandleOperationException,
        "*** -[FileHandle offsetInFile]: Bad file descriptor");

    auto pipe = Pipe::pipe();
    expectRaise([&] { pipe->fileHandleForReading()->seekToFileOffset(1); }, NSFileHandleOperationException,
        "*** -[FileHandle seekToFileOffset:]: Illegal seek");
    pipe->fileHandleForReading()->synchronizeFile();
}

TEST(FileHandle, StandardHandlesAreSharedAndNeverClosed)
{
    std::vector<FileHandle*> seen(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&, i] { seen[i] = i % 2 ? FileHandle::fileHandleWithStandardError() : FileHandle::fileHandleWithStandardOutput(); });
    for (auto& thread : threads)
        thread.join();
    for (size_t i = 0; i < seen.size(); ++i)
        EXPECT_EQ(seen[i], seen[i % 2]);
    EXPECT_EQ(FileHandle::fileHandleWithStandardInput()->fileDescriptor(), 0);
    EXPECT_EQ(seen[0]->fileDescriptor(), 1);
    EXPECT_EQ(seen[1]->fileDescriptor(), 2);

    seen[1]->closeFile();
    EXPECT_EQ(seen[1]->fileDescriptor(), 2);
    EXPECT_NE(fcntl(2, F_GETFD), -1);

    auto null = FileHandle::fileHandleWithNullDevice();
    null->writeData(Data::dataWithString("dropped").get());
    EXPECT_EQ(null->readDataToEndOfFile()->length(), 0u);
    int fd = null->fileDescriptor();
    null = nullptr;
    EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a handle that owns its descriptor closes it";
}
