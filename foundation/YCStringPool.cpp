#include <Yarkit/YCStringPool.h>

#include <Yarkit/CStringCallBacks.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/String.h>

#include <cstdlib>
#include <cstring>

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

} // namespace

size_t YCStringPool::Hash::operator()(std::string_view string) const
{
    return cStringHash(string);
}

YCStringPool::YCStringPool(uint32_t capacity)
{
    Locker guard(_lock);
    _cStringTable.reserve(capacity);
}

YCStringPool::~YCStringPool()
{
    Locker guard(_lock);
    freeAll();
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
    const std::string_view content(string);
    Locker guard(_lock);
    if (auto found = _cStringTable.find(content); found != _cStringTable.end())
        return found->first.data();
    if (!copy) {
        _cStringTable.emplace(content, Allocation { nullptr, 0 });
        return string;
    }
    std::pmr::memory_resource* zone = _poolZone ? _poolZone : std::pmr::get_default_resource();
    const size_t size = content.size() + 1;
    auto* pooled = static_cast<char*>(zone->allocate(size, 1));
    std::memcpy(pooled, string, size);
    _cStringTable.emplace(std::string_view(pooled, content.size()), Allocation { zone, size });
    return pooled;
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

void YCStringPool::freeAll()
{
    for (const auto& [string, allocation] : _cStringTable) {
        char* pooled = const_cast<char*>(string.data());
        if (allocation.resource)
            allocation.resource->deallocate(pooled, allocation.size, 1);
        else
            std::free(pooled);
    }
    _cStringTable.clear();
}

void YCStringPool::reset()
{
    Locker guard(_lock);
    freeAll();
}

uint32_t YCStringPool::count() const
{
    Locker guard(_lock);
    return static_cast<uint32_t>(_cStringTable.size());
}

Ref<Array> YCStringPool::allCStrings() const
{
    Locker guard(_lock);
    auto strings = MutableArray::arrayWithCapacity(static_cast<uint32_t>(_cStringTable.size()));
    for (const auto& entry : _cStringTable) {
        if (auto string = String::stringWithBytes(entry.first.data(), entry.first.size(), kCFStringEncodingUTF8))
            strings->addObject(std::move(string));
    }
    return strings;
}

Ref<String> YCStringPool::description() const
{
    Locker guard(_lock);
    std::string text = "{(";
    bool first = true;
    for (const auto& entry : _cStringTable) {
        text += first ? "" : ", ";
        text += entry.first;
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
