#include "StreamTestSupport.h"

#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/system/Pipe.h>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

using namespace yk;
using yk::test::ChunkedSource;
using yk::test::text;

namespace {

std::vector<std::string> readLines(YLineInputStream* reader, bool trim, size_t limit = SIZE_MAX)
{
    std::vector<std::string> lines;
    while (lines.size() < limit) {
        Ref<Data> line = reader->readLineDataTrimmingNewline(trim);
        if (!line)
            break;
        lines.push_back(text(line));
    }
    return lines;
}

// Mail-like text: short and long lines ended by LF, CR LF or a lone CR, some empty.
std::string mixedLines(std::mt19937& random, size_t lines)
{
    const char* ends[] = { "\n", "\r\n", "\r" };
    std::string out;
    for (size_t i = 0; i < lines; ++i) {
        out.append(random() % 3 ? random() % 40 : random() % 300, char('a' + i % 26));
        out += ends[random() % 3];
    }
    if (random() % 2)
        out += "tail";
    return out;
}

} // namespace

TEST(YLineInputStream, LinesAndTerminators)
{
    // `wrapped`: whether a lone CR followed by another byte made the reader wrap its stream
    // in a pushback stream, which stream() then answers.
    struct Case {
        const char* input;
        bool trim;
        std::vector<std::string> lines;
        bool wrapped;
    } cases[] = {
        { "a\r\nb\rc\n", false, { "a\r\n", "b\r", "c\n" }, true },
        { "a\r\nb\rc\n", true, { "a", "b", "c" }, true },
        { "\n", true, { "" }, false },
        { "\r", true, {}, false },
        { "\r", false, { "\r" }, false },
        { "x\r", true, { "x" }, false },
        { "\r\r\n\n", true, { "", "", "" }, true },
        { "a\r\nb", true, { "a", "b" }, false },
        { "no end", false, { "no end" }, false },
        { "", false, {}, false },
    };
    for (const auto& c : cases) {
        // In place over a data and a buffered stream, and byte by byte through a plain filter.
        auto direct = YLineInputStream::streamWithStream(YDataInputStream::streamWithData(Data::dataWithString(c.input).get()).get());
        auto buffered = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(make<ChunkedSource>(c.input).get()).get());
        auto byByte = YLineInputStream::streamWithStream(YFilterStream::streamWithStream(make<ChunkedSource>(c.input, 1).get()).get());
        EXPECT_EQ(readLines(direct.get(), c.trim), c.lines) << c.input << " trim " << c.trim;
        EXPECT_EQ(readLines(buffered.get(), c.trim), c.lines) << c.input << " trim " << c.trim;
        EXPECT_EQ(readLines(byByte.get(), c.trim), c.lines) << c.input << " trim " << c.trim;
        EXPECT_EQ(buffered->stream()->isKindOfClass(YPushbackInputStream::staticClass()), c.wrapped) << c.input;
    }

    // A long line, and lines the caller keeps: the next line never refills them.
    std::string longLine(1000, 'l');
    auto reader = YLineInputStream::streamWithStream(YDataInputStream::streamWithData(Data::dataWithString(longLine + "\nx\ny").get()).get());
    Ref<Data> first = reader->readLineDataTrimmingNewline(true);
    Ref<Data> second = reader->readLineDataTrimmingNewline(true);
    EXPECT_EQ(text(reader->readLineDataTrimmingNewline(true)), "y");
    EXPECT_EQ(text(first), longLine);
    EXPECT_EQ(text(second), "x");

    // A byte the caller puts back in place of the one after a lone CR is read first.
    auto swapped = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(make<ChunkedSource>("a\rbc\n").get()).get());
    EXPECT_EQ(text(swapped->readLineData()), "a\r");
    char byte;
    ASSERT_EQ(swapped->stream()->readBytes(&byte, 1), 1u);
    static_cast<YPushbackInputStream*>(swapped->stream())->unreadBytes("z", 0, 1);
    EXPECT_EQ(text(swapped->readLineData()), "zc\n");
}

// The in-place scan of a buffered stream against byte-at-a-time reads of the same chain
// behind a plain filter: same lines, same bytes left for raw reads afterwards.
TEST(YLineInputStream, InPlaceScanConsumesWhatByteReadsConsume)
{
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        std::string input = mixedLines(random, 30);
        // Tiny buffers split lines and terminators everywhere; larger ones take the block scans.
        for (uint32_t bufferSize : { 0, 1, 2, 3, 4, 5, 6, 7, 8, 64, 4096 }) {
            uint32_t chunk = bufferSize > 8 ? UINT32_MAX : 1 + random() % 5;
            bool trim = random() % 2;
            size_t stopAfter = random() % 35;
            auto chain = [&](bool plainFilter) {
                Ref<YStream> buffered = YBufferedInputStream::streamWithStream(make<ChunkedSource>(input, chunk).get(), bufferSize);
                return YLineInputStream::streamWithStream(plainFilter ? YFilterStream::streamWithStream(buffered.get()).get() : buffered.get());
            };
            auto fast = chain(false);
            auto oracle = chain(true);
            std::string where = "round " + std::to_string(round) + " buffer " + std::to_string(bufferSize);
            ASSERT_EQ(readLines(fast.get(), trim, stopAfter), readLines(oracle.get(), trim, stopAfter)) << where;
            EXPECT_EQ(test::readAll(fast->stream(), 3), test::readAll(oracle->stream(), 3)) << where;
        }
    }
}

TEST(YLineInputStream, ALineOnAPipeArrivesBeforeTheBufferFills)
{
    auto pipe = Pipe::pipe();
    std::atomic<bool> firstRead { false };
    std::thread writer([&] {
        pipe->fileHandleForWriting()->writeData(Data::dataWithString("first\r\n").get());
        while (!firstRead)
            std::this_thread::yield();
        pipe->fileHandleForWriting()->writeData(Data::dataWithString("second").get());
        pipe->fileHandleForWriting()->closeFile();
    });
    auto file = YFileStream::streamWithFileHandle(pipe->fileHandleForReading());
    auto reader = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(file.get(), 65536).get());
    EXPECT_EQ(text(reader->readLineData()), "first\r\n");
    firstRead = true;
    EXPECT_EQ(text(reader->readLineData()), "second");
    EXPECT_FALSE(reader->readLineData());
    writer.join();
}
