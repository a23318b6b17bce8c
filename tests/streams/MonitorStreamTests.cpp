#include "StreamTestSupport.h"

#include <Yarkit/YDataOutputStream.h>
#include <Yarkit/YMonitorInputStream.h>
#include <Yarkit/YMonitorOutputStream.h>
#include <Yarkit/YTraceStream.h>

#include <gtest/gtest.h>

using namespace yk;
using yk::test::ChunkedSource;
using yk::test::RecordingSink;

namespace {

// Records the totals it is told; optionally clears the stream's delegate on the first one.
class ProgressRecorder : public Object {
    YK_OBJECT(ProgressRecorder, Object)
public:
    void streamDidReadDataOfLength(YStream* stream, uint32_t length)
    {
        reported.push_back(length);
        if (clearOnFirst)
            static_cast<YMonitorInputStream*>(stream)->setDelegate(nullptr);
    }
    void streamDidWriteDataOfLength(YStream*, uint32_t length) { reported.push_back(length); }

    std::vector<uint32_t> reported;
    bool clearOnFirst { false };
};

} // namespace

YK_DEFINE_CLASS(ProgressRecorder, [](MethodListBuilder& c) {
    c.method("stream:didReadDataOfLength:", &ProgressRecorder::streamDidReadDataOfLength);
    c.method("stream:didWriteDataOfLength:", &ProgressRecorder::streamDidWriteDataOfLength);
});

TEST(YMonitorInputStream, ReadsInStepsAndReportsRunningTotals)
{
    std::vector<char> buffer(20000);
    auto recorder = make<ProgressRecorder>();
    auto source = make<ChunkedSource>(std::string(30000, 'm'));
    auto monitor = YMonitorInputStream::streamWithStream(source.get(), recorder.get());
    EXPECT_EQ(monitor->readBytes(buffer.data(), 10000), 10000u);
    EXPECT_EQ(source->requests, (std::vector<uint32_t> { 4096, 4096, 1808 }));
    EXPECT_EQ(recorder->reported, (std::vector<uint32_t> { 4096, 8192 }));
    EXPECT_EQ(monitor->length(), 10000u);

    monitor->resetLength();
    EXPECT_EQ(monitor->readBytes(buffer.data(), 2288), 2288u);
    EXPECT_EQ(recorder->reported.back(), 2288u) << "the step boundary stays where it was";

    monitor->setMonitorIncrements(1000); // below the 0 bytes counted since the last step
    source->requests.clear();
    EXPECT_EQ(monitor->readBytes(buffer.data(), 2500), 2500u);
    EXPECT_EQ(source->requests, (std::vector<uint32_t> { 1000, 1000, 500 }));
    monitor->setMonitorIncrements(300); // below the 500 counted
    EXPECT_EQ(monitor->readBytes(buffer.data(), 1), 1u);

    recorder->clearOnFirst = true; // a delegate may clear itself inside its notification
    EXPECT_EQ(monitor->readBytes(buffer.data(), 5000), 5000u);
    EXPECT_EQ(recorder->reported.back(), 5088u);
    EXPECT_FALSE(monitor->delegate());
    source->requests.clear();
    EXPECT_EQ(monitor->readBytes(buffer.data(), 20000), 10211u);
    EXPECT_EQ(source->requests, std::vector<uint32_t> { 20000 }) << "one plain read";
    EXPECT_EQ(monitor->length(), 9789u) << "nothing counted without a delegate";
}

TEST(YMonitorOutputStream, SplitsWritesAtStepBoundaries)
{
    auto recorder = make<ProgressRecorder>();
    auto sink = make<RecordingSink>();
    auto monitor = YMonitorOutputStream::streamWithStream(sink.get(), recorder.get());
    for (int i = 0; i < 4096; ++i)
        monitor->writeBytes("w", 1);
    EXPECT_EQ(recorder->reported, std::vector<uint32_t> { 4096 });
    sink->writes.clear();
    monitor->writeBytes(std::string(9000, 'w').data(), 9000);
    EXPECT_EQ(sink->writes, (std::vector<uint32_t> { 4096, 4096, 808 }));
    EXPECT_EQ(recorder->reported, (std::vector<uint32_t> { 4096, 8192, 12288 }));
    EXPECT_EQ(sink->written.size(), 13096u);
}

TEST(YTraceStream, CopiesOnlyWhileTracingAndLeavesTheTraceStreamAlone)
{
    auto traceSink = make<RecordingSink>();
    auto sink = make<RecordingSink>();
    auto trace = YTraceStream::streamWithStream(sink.get(), traceSink.get());
    trace->writeBytes("off", 3);
    trace->setTrace(true);
    trace->writeBytes("on", 2);
    auto reader = YTraceStream::streamWithStream(make<ChunkedSource>("read", 3).get(), traceSink.get());
    reader->setTrace(true);
    EXPECT_EQ(test::readAll(reader.get(), 10), "read");
    trace->flush();
    trace->close();
    EXPECT_EQ(sink->written, "offon");
    EXPECT_EQ(traceSink->written, "onread");
    EXPECT_EQ(traceSink->writes, (std::vector<uint32_t> { 2, 3, 1 })) << "a read of 0 writes nothing";
    EXPECT_EQ(traceSink->flushes + traceSink->closes, 0);
    EXPECT_EQ(sink->closes, 1);
}
