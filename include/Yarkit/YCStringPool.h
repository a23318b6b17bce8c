#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/threads/SpinLock.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <vector>

namespace yk {

class Array;

// Interns C strings: for any content it hands out one canonical C string that never moves
// until reset() or the pool's end, so callers keep one allocation per distinct text (header
// names, keys) and compare by pointer.
//
// Copies are allocated from the pool's zone, a std::pmr::memory_resource (the default resource
// when none is set), and each is freed by the resource that made it. A string given to
// pooledCStringNoCopy becomes the pool's when its content is new: it must come from malloc,
// and the pool frees it with free(); when its content is already pooled the pooled pointer is
// returned and the argument stays the caller's.
//
// One pool may be shared by any number of threads. A string already pooled is found without
// taking the lock (a hit reads only the table and writes nothing shared); pooling a new string,
// reset and the listings take the pool's spin lock.
class YCStringPool : public Object {
    YK_OBJECT(YCStringPool, Object)
public:
    // init / initWithCapacity:
    explicit YCStringPool(uint32_t capacity = 0);
    // Frees every pooled string.
    ~YCStringPool() override;

    // +defaultCStringPool: the shared pool, made on first call and kept for the process. Call it
    // once before other threads use it.
    static YCStringPool* defaultCStringPool();
    // +pooledCString: and +pooledCStringNoCopy: on the default pool.
    static const char* defaultPooledCString(const char* string) { return defaultCStringPool()->pooledCString(string); }
    static const char* defaultPooledCStringNoCopy(char* string) { return defaultCStringPool()->pooledCStringNoCopy(string); }

    // The pooled string equal to string, pooling a copy of it first when none is; null for null.
    const char* pooledCString(const char* string) { return pooledCString(string, true); }
    // The same, pooling string itself (from malloc) when its content is new.
    const char* pooledCStringNoCopy(char* string) { return pooledCString(string, false); }
    // pooledCString:copy:
    const char* pooledCString(const char* string, bool copy);

    // Where copies are allocated; the default resource when none is set.
    std::pmr::memory_resource* poolZone() const;
    // Strings already pooled stay where they are; null restores the default resource.
    void setPoolZone(std::pmr::memory_resource* zone);

    // Frees every pooled string and empties the pool.
    void reset();
    // The pooled strings, "{(text, text)}".
    Ref<String> description() const override;

    // Debug: the number of pooled strings.
    uint32_t count() const;
    // Debug: every pooled string that decodes as UTF-8, as a String, in the table's order.
    [[nodiscard]] Ref<Array> allCStrings() const;

private:
    struct Table;
    // A pooled string, in the order it was pooled, with what it takes to free it: the resource
    // that allocated it, or null for a string from malloc.
    struct Entry {
        char* string;
        size_t length;
        uint64_t hash;
        std::pmr::memory_resource* resource;
    };

    const char* insert(char* string, size_t length, uint64_t hash, std::pmr::memory_resource* resource) YK_REQUIRES(_lock);
    static void freeEntries(const std::vector<Entry>& entries);

    mutable SpinLock _lock;
    // The table readers search: replaced under the lock when it grows or is reset.
    std::atomic<Table*> _cStringTable { nullptr };
    // The current table last; earlier ones may still be searched by readers until reset.
    std::vector<std::unique_ptr<Table>> _tables YK_GUARDED_BY(_lock);
    std::vector<Entry> _entries YK_GUARDED_BY(_lock);
    const uint32_t _capacity;
    std::pmr::memory_resource* _poolZone YK_GUARDED_BY(_lock) { nullptr };
};

} // namespace yk
