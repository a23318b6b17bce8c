#include <Yarkit/CStringCallBacks.h>
#include <Yarkit/YCStringPool.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory_resource>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

// Counts what a resource hands out and takes back.
class CountingResource : public std::pmr::memory_resource {
public:
    int live = 0;

private:
    void* do_allocate(size_t bytes, size_t alignment) override
    {
        ++live;
        return std::pmr::new_delete_resource()->allocate(bytes, alignment);
    }
    void do_deallocate(void* p, size_t bytes, size_t alignment) override
    {
        --live;
        std::pmr::new_delete_resource()->deallocate(p, bytes, alignment);
    }
    bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};

TEST(YCStringPool, EqualContentsShareOnePointerUntilResetAndNoCopyOwnsOnlyNewContents)
{
    yk::YCStringPool pool;
    char first[] = "Subject";
    std::string second = "Subject";
    const char* pooled = pool.pooledCString(first);
    EXPECT_EQ(pool.pooledCString(second.c_str()), pooled);
    EXPECT_NE(pooled, first);
    EXPECT_NE(pooled, second.c_str());
    EXPECT_EQ(pool.pooledCString(nullptr), nullptr);
    EXPECT_EQ(pool.count(), 1u);

    pool.reset();
    EXPECT_EQ(pool.count(), 0u);
    EXPECT_STREQ(pool.pooledCString(first), "Subject");

    // NoCopy takes ownership only of new contents.
    char* owned = strdup("From");
    EXPECT_EQ(pool.pooledCStringNoCopy(owned), owned); // the pool frees it
    char* duplicate = strdup("From");
    EXPECT_EQ(pool.pooledCStringNoCopy(duplicate), owned); // still ours
    std::free(duplicate);
    EXPECT_EQ(pool.count(), 2u);
}

TEST(YCStringPool, CopiesComeFromAndReturnToTheirOwnZone)
{
    CountingResource first, second;
    {
        yk::YCStringPool pool;
        EXPECT_EQ(pool.poolZone(), std::pmr::get_default_resource());
        pool.setPoolZone(&first);
        pool.pooledCString("To");
        pool.setPoolZone(&second);
        pool.pooledCString("Cc");
        pool.pooledCString("To");
        EXPECT_EQ(first.live, 1);
        EXPECT_EQ(second.live, 1);
        pool.reset();
        EXPECT_EQ(first.live + second.live, 0);
        pool.pooledCString("Date");
    }
    EXPECT_EQ(second.live, 0);
}

TEST(YCStringPool, ListingSkipsUndecodableBytes)
{
    yk::YCStringPool pool;
    pool.pooledCString("Received");
    pool.pooledCString("\xE4\xBB\xB6\xE5\x90\x8D"); // 件名
    pool.pooledCString("bad \xFF byte");
    auto all = pool.allCStrings();
    std::set<std::string> listed;
    for (uint32_t i = 0; i < all->count(); ++i)
        listed.insert(static_cast<yk::String*>(all->objectAtIndex(i).get())->utf8());
    EXPECT_EQ(listed, (std::set<std::string> { "Received", "件名" }));
    EXPECT_EQ(pool.count(), 3u);
}

TEST(YCStringPool, CallbackHashReadsUnsignedBytesAndWraps)
{
    // 31^7 * 'z' overflows 32 bits; the hash is taken modulo 2^32.
    const struct { const char* text; size_t hash; } rows[] = {
        { "", 0 }, { "a", 97 }, { "ab", 97 * 31 + 98 }, { "\xFF", 255 }, { "zzzzzzzz", 2384944384u },
    };
    for (const auto& row : rows)
        EXPECT_EQ(YOwnedCStringHashCallBacks.hash(nullptr, row.text), row.hash) << row.text;
    EXPECT_EQ(YNonOwnedCStringMapKeyCallBacks.hash(nullptr, nullptr), 0u);

    std::string a = "key", b = "key";
    EXPECT_TRUE(YNonOwnedCStringMapKeyCallBacks.isEqual(nullptr, a.c_str(), b.c_str()));
    EXPECT_FALSE(YOwnedCStringHashCallBacks.isEqual(nullptr, a.c_str(), "kez"));
    EXPECT_EQ(YNonOwnedCStringMapKeyCallBacks.notAKeyMarker, nullptr);
    char* description = YOwnedCStringHashCallBacks.describe(nullptr, "key");
    EXPECT_STREQ(description, "key");
    std::free(description);
    YOwnedCStringHashCallBacks.release(nullptr, strdup("freed once"));
}

// Four threads pool the same names while the table grows: each name has one pointer. Then
// lookups race with resets (which free what the lookups may be comparing): the sanitizers
// see to it that no freed string is read.
TEST(YCStringPool, FourThreadsShareOnePoolThroughGrowthAndResets)
{
    yk::YCStringPool pool;
    std::vector<std::vector<const char*>> seen(4);
    auto runThreads = [](int count, auto body) {
        std::vector<std::thread> threads;
        for (int t = 0; t < count; ++t)
            threads.emplace_back(body, t);
        for (auto& thread : threads)
            thread.join();
    };
    runThreads(4, [&](int t) {
        for (int i = 0; i < 2000; ++i)
            seen[t].push_back(pool.pooledCString(("Header-" + std::to_string(i % 500)).c_str()));
    });
    EXPECT_EQ(pool.count(), 500u);
    for (int t = 1; t < 4; ++t)
        EXPECT_EQ(seen[t], seen[0]);

    runThreads(4, [&](int t) {
        for (int i = 0; i < 3000; ++i) {
            if (t == 0 && i % 100 == 0)
                pool.reset();
            else
                EXPECT_TRUE(pool.pooledCString(("Header-" + std::to_string(i % 40)).c_str()));
        }
    });
    EXPECT_LE(pool.count(), 40u);
}

} // namespace
