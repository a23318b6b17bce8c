#include "StreamTestSupport.h"
#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YBufferedOutputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YDataOutputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLoggingOutputStream.h>
#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/MutableData.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <tuple>

#include <unistd.h>

using namespace yk;
using yk::test::ChunkedSource;
using yk::test::expectRaise;
using yk::test::RecordingSink;
using yk::test::text;

TEST(YStream, ReadDataOfLengthMakesOneReadUpTo65536AndLoopsBeyond)
{
    const std::string bytes(100000, 'x');
    // Length asked for, length read, reads made.
    std::tuple<uint32_t, uint32_t, size_t> cases[] = { { 0, 0, 0 }, { 65536, 1000, 1 }, { 65537, 65537, 66 }, { UINT32_MAX, 100000, 101 } };
    for (const auto& [length, expected, reads] : cases) {
        auto source = make<ChunkedSource>(bytes, 1000);
        Ref<Data> data = source->readDataOfLength(length);
        EXPECT_EQ(data ? data->length() : 0, expected) << length;
        EXPECT_EQ(source->requests.size(), reads) << length;
    }
    EXPECT_FALSE(make<ChunkedSource>("")->availableData()) << "an empty source gives nil";
    EXPECT_FALSE(make<ChunkedSource>("")->readDataOfLength(10));

    auto source = make<ChunkedSource>("abcdef", 4);
    EXPECT_EQ(source->skipBy(-5), 0);
    EXPECT_EQ(source->skipBy(3), 3);
    EXPECT_EQ(source->skipBy(100), 3);

    auto bare = YStream::stream();
    bare->flush();
    bare->close();
    char byte;
    expectRaise([&] { (void)bare->readBytes(&byte, 1); }, NSGenericException, "subclass YStream (instance) should override readBytes:length:");
    expectRaise([&] { bare->writeBytes("x", 1); }, NSGenericException, "subclass YStream (instance) should override writeBytes:length:");
}

TEST(YFileStream, ReadsWritesSeeksAndRaisesOnceClosed)
{
    test::TemporaryFolder folder;
    std::string path = (folder.path() / "f").string();
    std::ofstream(path) << "0123456789";
    auto stream = YFileStream::streamWithFileHandle(FileHandle::fileHandleForUpdatingAtPath(path).get());
    char buffer[8];
    ASSERT_EQ(stream->readBytes(buffer, 4), 4u);
    EXPECT_EQ(stream->skipBy(-100), -4) << "never before offset 0";
    EXPECT_EQ(stream->skipBy(7), 7);
    EXPECT_EQ(stream->readBytes(buffer, 8), 3u) << "short at end of file";
    EXPECT_EQ(stream->readBytes(buffer, 8), 0u);
    EXPECT_EQ(stream->availableData()->length(), 0u) << "a file stream's end is empty data, not nil";
    stream->writeBytes("ab", 2);
    EXPECT_EQ(stream->seekToEndOfFile(), 12u);
    stream->truncateFileAtOffset(11);
    stream->seekToFileOffset(9);
    EXPECT_EQ(text(stream->readDataOfLength(10)), "9a");
    stream->close();
    stream->close();

    using Operation = std::function<void()>;
    std::pair<const char*, Operation> operations[] = {
        { "readBytes:length:", [&] { (void)stream->readBytes(buffer, 1); } },
        { "readDataOfLength:", [&] { (void)stream->readDataOfLength(1); } },
        { "availableData", [&] { (void)stream->availableData(); } },
        { "skipBy:", [&] { stream->skipBy(1); } },
        { "writeBytes:length:", [&] { stream->writeBytes("x", 1); } },
        { "writeData:", [&] { stream->writeData(Data::dataWithString("x").get()); } },
        { "offsetInFile", [&] { stream->offsetInFile(); } },
        { "seekToEndOfFile", [&] { stream->seekToEndOfFile(); } },
        { "seekToFileOffset:", [&] { stream->seekToFileOffset(0); } },
        { "truncateFileAtOffset:", [&] { stream->truncateFileAtOffset(0); } },
        { "synchronizeFile", [&] { stream->synchronizeFile(); } },
    };
    for (const auto& [selector, operation] : operations)
        expectRaise(operation, NSInternalInconsistencyException,
            std::string("*** -[YFileStream ") + selector + "]: attempt to operate nil file handle");
}

TEST(YFileStream, ACloseThatFailsStillClosesAndDiskErrorsPassThrough)
{
    int fd = dup(STDIN_FILENO);
    auto stream = make<YFileStream>(make<FileHandle>(fd, true));
    ::close(fd);
    expectRaise([&] { stream->close(); }, NSFileHandleOperationException, "*** -[FileHandle closeFile]: Bad file descriptor");
    EXPECT_FALSE(stream->fileHandle());
    stream->close();

    auto full = YFileStream::streamWithFileHandle(FileHandle::fileHandleForWritingAtPath("/dev/full").get());
    expectRaise([&] { full->writeBytes("x", 1); }, NSFileHandleOperationException, "*** -[FileHandle writeData:]: No space left on device");
    auto buffered = YBufferedOutputStream::streamWithStream(full.get());
    buffered->writeBytes("x", 1);
    expectRaise([&] { buffered->flush(); }, NSFileHandleOperationException, "*** -[FileHandle writeData:]: No space left on device");
    buffered->close(); // the wrapped flush's exception is swallowed
}

TEST(YDataInputStream, RangesCursorAndSharedBytes)
{
    auto source = MutableData::dataWithBytes("0123456789", 10);
    std::tuple<uint32_t, uint32_t, const char*> cases[] = {
        { 0, 10, "0123456789" }, { 3, 4, "3456" }, { 8, 100, "89" }, { 12, 3, "" }, { 5, UINT32_MAX, "56789" }
    };
    for (const auto& [offset, length, expected] : cases) {
        YDataInputStream stream(source.get(), offset, length);
        EXPECT_EQ(test::readAll(&stream, 3), expected) << offset << "+" << length;
    }

    YDataInputStream stream(source.get(), 2, 6);
    source->setLength(0); // the stream keeps its own copy
    EXPECT_EQ(stream.skipBy(3), 3);
    EXPECT_EQ(stream.skipBy(-1000), -3);
    Ref<Data> part = stream.readDataOfLength(4);
    EXPECT_EQ(text(part), "2345");
    EXPECT_EQ(stream.skipBy(100), 2);
    EXPECT_FALSE(stream.readDataOfLength(1));
    stream.close();
    EXPECT_EQ(stream.skipBy(-2), -2) << "close leaves the data readable";
}

TEST(YDataOutputStream, SnapshotLiveDataAndNilData)
{
    auto stream = YDataOutputStream::streamWithCapacity(4);
    stream->writeBytes("abc", 3);
    Ref<Data> snapshot = stream->data();
    stream->writeData(Data::dataWithString("def").get());
    EXPECT_EQ(text(snapshot), "abc");
    EXPECT_EQ(text(Ref<Data>(stream->mutableData())), "abcdef");
    auto sink = make<RecordingSink>();
    stream->writeToStream(sink.get());
    EXPECT_EQ(sink->written, "abcdef");
    stream->reset();
    EXPECT_EQ(stream->length(), 0u);

    auto dropping = YDataOutputStream::streamWithMutableData(nullptr);
    dropping->writeBytes("x", 1);
    EXPECT_EQ(dropping->length(), 0u);
}

TEST(YLoggingOutputStream, OneEntryPerWriteAndNullForUndecodableBytes)
{
    LogCapture log;
    YLoggingOutputStream utf8;
    utf8.writeBytes("h\xC3\xA9", 3);
    utf8.writeBytes("\xFF", 1);
    YLoggingOutputStream eucJP(3);
    eucJP.writeBytes("\xA4\xA2", 2);
    EXPECT_EQ(log.text(), "h\xC3\xA9\n(null)\n\xE3\x81\x82\n");
}

TEST(YBufferedInputStream, ShortOnlyAtEndAndLargeReadsBypass)
{
    char buffer[4096];
    auto whole = make<ChunkedSource>(std::string(5000, 'a'));
    EXPECT_EQ(YBufferedInputStream::streamWithStream(whole.get())->readBytes(buffer, 4096), 4096u);
    EXPECT_EQ(whole->requests, std::vector<uint32_t> { 4096 }) << "straight from the source";

    auto source = make<ChunkedSource>(std::string(10000, 'b'), 700);
    auto buffered = YBufferedInputStream::streamWithStream(source.get());
    EXPECT_EQ(buffered->readBytes(buffer, 10), 10u);
    EXPECT_EQ(source->requests, std::vector<uint32_t> { 2048 });
    EXPECT_EQ(buffered->readBytes(buffer, 4096), 4096u) << "short source reads are gathered";
    EXPECT_EQ(test::readAll(buffered.get(), 100).size(), 10000u - 4106);
    buffered->close();
    EXPECT_FALSE(buffered->stream());
    EXPECT_EQ(buffered->readBytes(buffer, 1), 0u);
}

TEST(YBufferedOutputStream, HoldsUpToItsSizeAndCloseDropsPendingBytes)
{
    auto sink = make<RecordingSink>();
    auto buffered = YBufferedOutputStream::streamWithStream(sink.get());
    buffered->writeBytes(std::string(511, 'a').data(), 511);
    buffered->writeBytes("b", 1);
    EXPECT_TRUE(sink->writes.empty());
    buffered->writeBytes("c", 1);
    buffered->writeBytes(std::string(512, 'd').data(), 512);
    EXPECT_EQ(sink->writes, (std::vector<uint32_t> { 512, 1, 512 }));
    buffered->writeBytes("lost", 4);
    buffered->close();
    EXPECT_EQ(sink->written.size(), 1025u) << "close does not write the pending bytes";
    EXPECT_EQ(sink->flushes, 1);
    EXPECT_EQ(sink->closes, 1);
}

TEST(YPushbackInputStream, ServesPushedBackBytesFirstAndRefusesOverflow)
{
    auto pushback = YPushbackInputStream::streamWithStream(make<ChunkedSource>("cdef").get(), 3);
    pushback->unreadBytes("xab", 1, 2);
    char buffer[8];
    ASSERT_EQ(pushback->readBytes(buffer, 4), 4u);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
    pushback->unreadData(Data::dataWithString("1").get());
    pushback->unreadData(Data::dataWithString("23").get());
    expectRaise([&] { pushback->unreadBytes("4", 0, 1); }, NSRangeException,
        "*** -[YPushbackInputStream unreadBytes:offset:length:]: Range or index out of bounds");
    EXPECT_EQ(test::readAll(pushback.get(), 2), "231ef");
    pushback->close();
    expectRaise([&] { pushback->unreadBytes("4", 0, 1); }, NSRangeException,
        "*** -[YPushbackInputStream unreadBytes:offset:length:]: Range or index out of bounds");
    EXPECT_EQ(pushback->readBytes(buffer, 1), 0u);
}
