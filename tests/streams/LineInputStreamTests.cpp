#include "StreamTestSupport.h"

#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/YPushbackInputStream.h>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include <unistd.h>

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
    struct Case {
        const char* input;
        bool trim;
        std::vector<std::string> lines;
    } cases[] = {
        { "a\r\nb\rc\n", false, { "a\r\n", "b\r", "c\n" } },
        { "a\r\nb\rc\n", true, { "a", "b", "c" } },
        { "\n", true, { "" } },
        { "\r", true, {} },
        { "\r", false, { "\r" } },
        { "x\r", true, { "x" } },
        { "\r\r\n\n", true, { "", "", "" } },
        { "no end", false, { "no end" } },
        { "", false, {} },
    };
    for (const auto& c : cases) {
        // In place over a data stream, and byte by byte through a plain filter.
        auto direct = YLineInputStream::streamWithStream(YDataInputStream::streamWithData(Data::dataWithString(c.input).get()).get());
        auto byByte = YLineInputStream::streamWithStream(YFilterStream::streamWithStream(make<ChunkedSource>(c.input, 1).get()).get());
        EXPECT_EQ(readLines(direct.get(), c.trim), c.lines) << c.input << " trim " << c.trim;
        EXPECT_EQ(readLines(byByte.get(), c.trim), c.lines) << c.input << " trim " << c.trim;
    }

    // A long line, and lines the caller keeps: the next line never refills them.
    std::string longLine(1000, 'l');
    auto reader = YLineInputStream::streamWithStream(YDataInputStream::streamWithData(Data::dataWithString(longLine + "\nx\ny").get()).get());
    Ref<Data> first = reader->readLineDataTrimmingNewline(true);
    Ref<Data> second = reader->readLineDataTrimmingNewline(true);
    EXPECT_EQ(text(reader->readLineDataTrimmingNewline(true)), "y");
    EXPECT_EQ(text(first), longLine);
    EXPECT_EQ(text(second), "x");
}

TEST(YLineInputStream, WrapsItsStreamInAPushbackStreamAfterALoneCR)
{
    struct Case {
        const char* input;
        bool wrapped;
    } cases[] = { { "a\rb", true }, { "a\r\nb", false }, { "a\nb", false } };
    for (const auto& c : cases) {
        auto buffered = YBufferedInputStream::streamWithStream(make<ChunkedSource>(c.input).get());
        auto reader = YLineInputStream::streamWithStream(buffered.get());
        EXPECT_EQ(text(reader->readLineDataTrimmingNewline(true)), "a");
        EXPECT_EQ(reader->stream() != buffered.get(), c.wrapped) << c.input;
        EXPECT_EQ(reader->stream()->isKindOfClass(YPushbackInputStream::staticClass()), c.wrapped) << c.input;
        EXPECT_EQ(text(reader->readLineDataTrimmingNewline(true)), "b");
    }
}

// The in-place scan of a buffered stream against byte-at-a-time reads of the same chain
// behind a plain filter: same lines, same bytes left for raw reads afterwards.
TEST(YLineInputStream, InPlaceScanConsumesWhatByteReadsConsume)
{
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        std::string input = mixedLines(random, 30);
        for (uint32_t bufferSize = 0; bufferSize <= 8; ++bufferSize) {
            uint32_t chunk = 1 + random() % 5;
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
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::atomic<bool> firstRead { false };
    std::thread writer([&] {
        EXPECT_EQ(write(fds[1], "first\r\n", 7), 7);
        while (!firstRead)
            std::this_thread::yield();
        EXPECT_EQ(write(fds[1], "second", 6), 6);
        close(fds[1]);
    });
    auto file = YFileStream::streamWithFileHandle(make<FileHandle>(fds[0], true).get());
    auto reader = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(file.get(), 65536).get());
    EXPECT_EQ(text(reader->readLineData()), "first\r\n");
    firstRead = true;
    EXPECT_EQ(text(reader->readLineData()), "second");
    EXPECT_FALSE(reader->readLineData());
    writer.join();
}
