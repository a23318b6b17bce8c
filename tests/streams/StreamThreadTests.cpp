#include "StreamTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

#include <Yarkit/DataBase64.h>
#include <Yarkit/YBase64EncoderStream.h>
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataOutputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/YLoggingOutputStream.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <thread>

using namespace yk;

// Streams share no state: threads each running chains of their own over one file, while another
// changes the encoder's default line length, see only their own results.
TEST(StreamThreads, ChainsOverOneFileRunSideBySide)
{
    test::TemporaryFolder folder;
    const std::string path = (folder.path() / "mail").string();
    std::string text;
    for (int i = 0; i < 2000; ++i)
        text += "line " + std::to_string(i) + (i % 3 == 0 ? "\r\n" : i % 3 == 1 ? "\n" : "\r");
    std::ofstream(path, std::ios::binary) << text;
    auto open = [&] { return YFileStream::streamWithFileHandle(FileHandle::fileHandleForReadingAtPath(path).get()); };
    auto setDefault = [](int32_t lineLength) {
        auto registration = MutableDictionary::dictionaryWithCapacity(1);
        registration->setObject(Number::numberWithInt(lineLength), String::withUTF8("DefaultBase64LineLength"));
        UserDefaults::standardUserDefaults()->registerDefaults(registration.get());
    };

    LogCapture log;
    std::atomic<bool> stop { false };
    std::thread changer([&] {
        for (int i = 0; !stop; ++i)
            setDefault(i % 2 ? 40 : 76);
    });
    std::vector<std::thread> workers;
    workers.emplace_back([&] {
        for (int round = 0; round < 20; ++round) {
            auto lines = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(open().get()).get());
            int count = 0;
            while (lines->readLineDataTrimmingNewline(true))
                ++count;
            EXPECT_EQ(count, 2000);
        }
    });
    workers.emplace_back([&] {
        Ref<Data> whole = open()->availableData();
        for (int round = 0; round < 20; ++round) {
            auto sink = YDataOutputStream::streamWithCapacity(32);
            auto encoder = YBase64EncoderStream::streamWithStream(sink.get());
            encoder->writeData(open()->availableData().get());
            encoder->close();
            EXPECT_EQ(test::text(sink->data()), test::text(base64DataWithLineLength(whole.get(), encoder->lineLength())));
        }
    });
    workers.emplace_back([&] {
        auto logging = YLoggingOutputStream::streamWithEncoding(4);
        auto lines = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(open().get()).get());
        for (int i = 0; i < 100; ++i)
            logging->writeData(lines->readLineDataTrimmingNewline(true).get());
    });
    for (auto& worker : workers)
        worker.join();
    stop = true;
    changer.join();
    EXPECT_NE(log.text().find("line 99\n"), std::string::npos);
    setDefault(76);
}
