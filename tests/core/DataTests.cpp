#include "CoreTestSupport.h"
#include "TemporaryFolder.h"

#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableData.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

using namespace yk;
using yk::test::expectRaise;

TEST(Data, RangesOutsideTheBytesRaise)
{
    auto data = Data::dataWithString("abc");
    auto mutableData = MutableData::dataWithLength(2);
    char buffer[4];
    struct Case {
        std::function<void()> body;
        const char* reason;
    } cases[] = {
        { [&] { (void)data->subdataWithRange({ 2, 2 }); }, "*** -[Data subdataWithRange:]: Range or index out of bounds" },
        { [&] { (void)data->subdataWithRange({ 4, 0 }); }, "*** -[Data subdataWithRange:]: Range or index out of bounds" },
        { [&] { (void)data->subdataWithRange({ 1, 0xFFFFFFFFu }); }, "*** -[Data subdataWithRange:]: Range or index out of bounds" },
        { [&] { data->getBytes(buffer, { 0, 4 }); }, "*** -[Data getBytes:range:]: Range or index out of bounds" },
        { [&] { mutableData->resetBytesInRange({ 1, 2 }); }, "*** -[MutableData resetBytesInRange:]: Range or index out of bounds" },
        { [&] { mutableData->replaceBytesInRange({ 3, 0 }, "x", 1); }, "*** -[MutableData replaceBytesInRange:withBytes:length:]: Range or index out of bounds" },
    };
    for (const auto& c : cases)
        expectRaise(c.body, NSRangeException, c.reason);
}

TEST(MutableData, EditingOperations)
{
    auto data = MutableData::dataWithCapacity(8);
    data->appendBytes("0123456789", 10);
    struct Step {
        std::function<void()> edit;
        std::string expected;
    } steps[] = {
        { [&] { data->replaceBytesInRange({ 2, 3 }, "ab", 2); }, "01ab56789" },
        { [&] { data->replaceBytesInRange({ 0, 0 }, "<", 1); }, "<01ab56789" },
        { [&] { data->replaceBytesInRange({ 9, 1 }, nullptr, 0); }, "<01ab5678" },
        { [&] { data->resetBytesInRange({ 1, 2 }); }, std::string("<\0\0ab5678", 9) },
        { [&] { data->setLength(3); }, std::string("<\0\0", 3) },
        { [&] { data->increaseLengthBy(2); }, std::string("<\0\0\0\0", 5) },
        { [&] { data->setData(Data::dataWithString("new").get()); }, "new" },
        { [&] { data->appendData(data.get()); }, "newnew" },
        { [&] { data->appendBytes(data->bytes() + 1, 2); }, "newnewew" },
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        steps[i].edit();
        EXPECT_EQ(std::string(data->stringView()), steps[i].expected) << "step " << i;
    }
}

TEST(Data, EqualityHashAndDescription)
{
    auto a = Data::dataWithString("Hello");
    auto b = MutableData::dataWithBytes("Hello", 5);
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_TRUE(a->isEqual(Data::dataWithString("xHellox")->subdataWithRange({ 1, 5 }).get()));
    EXPECT_FALSE(a->isEqual(Data::dataWithString("Hellp").get()));
    EXPECT_EQ(a->description()->utf8(), "<48656c6c 6f>");
    EXPECT_EQ(MutableData::dataWithLength(4)->description()->utf8(), "<00000000>");
}

// Copies and subdata of a mutable data keep their bytes while it changes on another thread.
TEST(MutableData, CopiesReadOnOtherThreadsWhileTheOriginalChanges)
{
    auto editable = MutableData::dataWithBytes("0123456789", 10);
    std::vector<Ref<Data>> copies;
    for (int i = 0; i < 4; ++i)
        copies.push_back(i % 2 ? editable->copy() : editable->subdataWithRange({ 0, 10 }));
    std::vector<std::thread> readers;
    for (const Ref<Data>& copy : copies) {
        readers.emplace_back([copy] {
            for (int i = 0; i < 1000; ++i)
                EXPECT_EQ(copy->subdataWithRange({ 2, 3 })->stringView(), "234");
        });
    }
    for (int i = 0; i < 1000; ++i) {
        editable->replaceBytesInRange({ 2, 1 }, "X");
        editable->appendBytes("!", 1);
    }
    for (auto& reader : readers)
        reader.join();
}

// Whatever holds the bytes (the object itself, an adopted or borrowed buffer, a read-only
// mapping), a subdata shares them and keeps reading them after the original goes, and a mutable
// copy changes a copy of its own (writing to a mapping would fault).
TEST(Data, EveryKindOfStorageSharesAndCopiesOnWrite)
{
    static char borrowed[] = "Hello, mail";
    test::TemporaryFolder folder;
    const std::string path = folder.write("mail", "Hello, mail");
    struct Case {
        const char* name;
        std::function<Ref<Data>()> make;
    } cases[] = {
        { "inline", [] { return Data::dataWithString("Hello, mail"); } },
        { "adopted", [] {
             auto* bytes = static_cast<char*>(std::malloc(11));
             std::memcpy(bytes, "Hello, mail", 11);
             return Data::dataWithBytesNoCopy(bytes, 11, true);
         } },
        { "borrowed", [] { return Data::dataWithBytesNoCopy(borrowed, 11, false); } },
        { "mapped", [&] { return Data::dataWithContentsOfFile(path.c_str(), Data::ReadingMappedIfSafe); } },
        { "read", [&] { return Data::dataWithContentsOfFile(path.c_str()); } },
        { "mutable", [] { return Ref<Data>(MutableData::dataWithBytes("Hello, mail", 11)); } },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Ref<Data> data = c.make();
        ASSERT_TRUE(data);
        Ref<Data> sub = data->subdataWithRange({ 7, 4 });
        if (!dynamic_cast<MutableData*>(data.get())) { // a mutable data's subdata is a copy
            EXPECT_EQ(sub->bytes(), data->bytes() + 7);
        }
        EXPECT_EQ(data->subdataWithRange({ 11, 0 })->length(), 0u);
        Ref<MutableData> editable = data->mutableCopy();
        Ref<Data> copy = data->copy();
        data = nullptr;
        editable->replaceBytesInRange({ 0, 1 }, "J");
        editable->appendBytes("!", 1);
        EXPECT_EQ(sub->subdataWithRange({ 1, 2 })->stringView(), "ai");
        EXPECT_EQ(copy->stringView(), "Hello, mail");
        EXPECT_EQ(editable->stringView(), "Jello, mail!");
    }
    EXPECT_STREQ(borrowed, "Hello, mail");
}

TEST(Data, ContentsOfFileFailsWithPOSIXErrors)
{
    test::TemporaryFolder folder;
    const std::string empty = folder.write("empty", "");
    struct Case {
        const char* path;
        int code; // 0: an empty data
    } cases[] = {
        { "/nonexistent/file", ENOENT },
        { "", ENOENT },
        { "/", EISDIR },
        { empty.c_str(), 0 },
    };
    for (const auto& c : cases) {
        for (uint32_t options : { Data::ReadingUncached, Data::ReadingMappedIfSafe }) {
            SCOPED_TRACE(std::string(c.path) + (options ? " mapped" : ""));
            Ref<Error> error;
            Ref<Data> data = Data::dataWithContentsOfFile(c.path, options, &error);
            if (!c.code) {
                ASSERT_TRUE(data);
                EXPECT_EQ(data->length(), 0u);
                continue;
            }
            EXPECT_FALSE(data);
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code(), c.code);
        }
    }
}
