#include <Yarkit/YCStringPool.h>

#include <Yarkit/CStringCallBacks.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/String.h>

#include "foundation/ReadSection.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace yk {

YK_DEFINE_CLASS(YCStringPool);

namespace {

uint32_t cStringHash(std::string_view string)
{
    uint32_t h = 0;
    for (unsigned char byte : string)
        h = h * 31 + byte;
    return h;
}

// The table's own hash, which reads eight bytes at a time: the callbacks' byte-at-a-time hash
// is a long dependency chain, and the table's order is nobody's business.
uint64_t load64(const char* bytes)
{
    uint64_t value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

uint64_t load32(const char* bytes)
{
    uint32_t value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

uint64_t mix(uint64_t a, uint64_t b)
{
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

constexpr uint64_t Odd1 = 0xa0761d6478bd642full;
constexpr uint64_t Odd2 = 0xe7037ed1a0b428dbull;

uint64_t contentHash(const char* bytes, size_t length)
{
    uint64_t seed = Odd1 ^ length;
    uint64_t a = 0;
    uint64_t b = 0;
    if (length > 16) {
        size_t at = 0;
        for (; at + 16 < length; at += 16)
            seed = mix(load64(bytes + at) ^ Odd1, load64(bytes + at + 8) ^ seed);
        a = load64(bytes + length - 16);
        b = load64(bytes + length - 8);
    } else if (length >= 8) {
        a = load64(bytes);
        b = load64(bytes + length - 8);
    } else if (length >= 4) {
        a = load32(bytes);
        b = load32(bytes + length - 4);
    } else if (length > 0) {
        a = static_cast<uint64_t>(static_cast<unsigned char>(bytes[0])) << 16 | static_cast<uint64_t>(static_cast<unsigned char>(bytes[length / 2])) << 8
            | static_cast<unsigned char>(bytes[length - 1]);
    }
    return mix(Odd2 ^ length, mix(a ^ Odd2, b ^ seed));
}

constexpr uint64_t LongLength = 0xFFFFFFFFull;

// What a slot compares before the bytes: the hash's high half and the length, saturated, so
// that equal keys of a shorter length mean equal lengths.
uint64_t slotKey(uint64_t hash, size_t length)
{
    return (hash & 0xFFFFFFFF00000000ull) | std::min<uint64_t>(length, LongLength);
}

// Whether two strings of one known length have equal bytes; short ones with two overlapping
// word loads each, as most pooled names are.
bool sameBytes(const char* a, const char* b, size_t length)
{
    if (length >= LongLength)
        return std::strcmp(a, b) == 0;
    if (length >= 8 && length <= 16)
        return ((load64(a) ^ load64(b)) | (load64(a + length - 8) ^ load64(b + length - 8))) == 0;
    return std::memcmp(a, b, length) == 0;
}

} // namespace

// Open addressing with linear probing, at most half full. A slot is written once: its key, then
// (releasing) its string; readers stop at the first empty slot.
struct YCStringPool::Table {
    struct Slot {
        std::atomic<uint64_t> key { 0 };
        std::atomic<const char*> string { nullptr };
    };

    explicit Table(size_t capacity)
        : mask(capacity - 1)
        , slots(std::make_unique<Slot[]>(capacity))
    {
    }
    size_t capacity() const { return mask + 1; }
    void add(const char* string, size_t length, uint64_t hash)
    {
        size_t at = hash & mask;
        while (slots[at].string.load(std::memory_order_relaxed))
            at = (at + 1) & mask;
        slots[at].key.store(slotKey(hash, length), std::memory_order_relaxed);
        slots[at].string.store(string, std::memory_order_release);
    }
    const char* find(const char* string, size_t length, uint64_t hash) const
    {
        const uint64_t key = slotKey(hash, length);
        for (size_t at = hash & mask;; at = (at + 1) & mask) {
            const char* pooled = slots[at].string.load(std::memory_order_acquire);
            if (!pooled)
                return nullptr;
            if (slots[at].key.load(std::memory_order_relaxed) == key && sameBytes(pooled, string, length))
                return pooled;
        }
    }

    const size_t mask;
    const std::unique_ptr<Slot[]> slots;
};

namespace {

size_t tableCapacityFor(size_t count)
{
    size_t capacity = 16;
    while (capacity < count * 2)
        capacity *= 2;
    return capacity;
}

} // namespace

YCStringPool::YCStringPool(uint32_t capacity)
    : _capacity(capacity)
{
    Locker guard(_lock);
    _tables.push_back(std::make_unique<Table>(tableCapacityFor(capacity)));
    _entries.reserve(capacity);
    _cStringTable.store(_tables.back().get(), std::memory_order_release);
}

YCStringPool::~YCStringPool()
{
    Locker guard(_lock);
    freeEntries(_entries);
}

YCStringPool* YCStringPool::defaultCStringPool()
{
    static YCStringPool* const shared = make<YCStringPool>().leakRef(); // lives for the process
    return shared;
}

const char* YCStringPool::pooledCString(const char* string, bool copy)
{
    if (!string)
        return nullptr;
    const size_t length = std::strlen(string);
    const uint64_t hash = contentHash(string, length);
    {
        detail::ReadSection section;
        if (const char* pooled = _cStringTable.load(std::memory_order_acquire)->find(string, length, hash))
            return pooled;
    }
    Locker guard(_lock);
    // Under the lock the current table is the live one: pooled meanwhile by another thread?
    if (const char* pooled = _tables.back()->find(string, length, hash))
        return pooled;
    if (!copy)
        return insert(const_cast<char*>(string), length, hash, nullptr);
    std::pmr::memory_resource* zone = _poolZone ? _poolZone : std::pmr::get_default_resource();
    auto* pooled = static_cast<char*>(zone->allocate(length + 1, 1));
    std::memcpy(pooled, string, length + 1);
    return insert(pooled, length, hash, zone);
}

const char* YCStringPool::insert(char* string, size_t length, uint64_t hash, std::pmr::memory_resource* resource)
{
    _entries.push_back({ string, length, hash, resource });
    if (_entries.size() * 2 > _tables.back()->capacity()) {
        // Readers may be searching the full table: it stays until reset, and they find the
        // newer strings under the lock.
        auto larger = std::make_unique<Table>(_tables.back()->capacity() * 2);
        for (const Entry& entry : _entries)
            larger->add(entry.string, entry.length, entry.hash);
        _tables.push_back(std::move(larger));
        _cStringTable.store(_tables.back().get(), std::memory_order_release);
    } else {
        _tables.back()->add(string, length, hash);
    }
    return string;
}

std::pmr::memory_resource* YCStringPool::poolZone() const
{
    Locker guard(_lock);
    return _poolZone ? _poolZone : std::pmr::get_default_resource();
}

void YCStringPool::setPoolZone(std::pmr::memory_resource* zone)
{
    Locker guard(_lock);
    _poolZone = zone;
}

void YCStringPool::freeEntries(const std::vector<Entry>& entries)
{
    for (const Entry& entry : entries) {
        if (entry.resource)
            entry.resource->deallocate(entry.string, entry.length + 1, 1);
        else
            std::free(entry.string);
    }
}

void YCStringPool::reset()
{
    std::vector<Entry> entries;
    std::vector<std::unique_ptr<Table>> tables;
    {
        Locker guard(_lock);
        entries.swap(_entries);
        tables.swap(_tables);
        _tables.push_back(std::make_unique<Table>(tableCapacityFor(_capacity)));
        _cStringTable.store(_tables.back().get(), std::memory_order_release);
    }
    // Readers that found the old table may still be comparing its strings.
    detail::waitForReaders();
    freeEntries(entries);
}

uint32_t YCStringPool::count() const
{
    Locker guard(_lock);
    return static_cast<uint32_t>(_entries.size());
}

Ref<Array> YCStringPool::allCStrings() const
{
    Locker guard(_lock);
    auto strings = MutableArray::arrayWithCapacity(static_cast<uint32_t>(_entries.size()));
    for (const Entry& entry : _entries) {
        if (auto string = String::stringWithBytes(entry.string, entry.length, kCFStringEncodingUTF8))
            strings->addObject(std::move(string));
    }
    return strings;
}

Ref<String> YCStringPool::description() const
{
    Locker guard(_lock);
    std::string text = "{(";
    bool first = true;
    for (const Entry& entry : _entries) {
        text += first ? "" : ", ";
        text.append(entry.string, entry.length);
        first = false;
    }
    return String::withUTF8(text + ")}");
}

} // namespace yk

extern "C" {

static size_t yCStringHash(void*, const void* string)
{
    return string ? yk::cStringHash(static_cast<const char*>(string)) : 0;
}

static bool yCStringIsEqual(void*, const void* string1, const void* string2)
{
    if (string1 == string2)
        return true;
    return string1 && string2 && std::strcmp(static_cast<const char*>(string1), static_cast<const char*>(string2)) == 0;
}

static void yCStringRetainNothing(void*, const void*)
{
}

static void yCStringReleaseNothing(void*, void*)
{
}

static void yCStringFree(void*, void* string)
{
    std::free(string);
}

static char* yCStringDescribe(void*, const void* string)
{
    return strdup(string ? static_cast<const char*>(string) : "(null)");
}

const YCStringHashCallBacks YOwnedCStringHashCallBacks = {
    yCStringHash, yCStringIsEqual, yCStringRetainNothing, yCStringFree, yCStringDescribe
};

const YCStringMapKeyCallBacks YNonOwnedCStringMapKeyCallBacks = {
    yCStringHash, yCStringIsEqual, yCStringRetainNothing, yCStringReleaseNothing, yCStringDescribe, nullptr
};

} // extern "C"
