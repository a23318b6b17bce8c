#include <Yarkit/core/values/MutableData.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstring>

namespace yk {

YK_DEFINE_CLASS(MutableData);

Ref<MutableData> MutableData::dataWithCapacity(uint32_t capacity)
{
    auto data = make<MutableData>();
    data->ownStorage().reserve(capacity);
    return data;
}

Ref<MutableData> MutableData::dataWithLength(uint32_t length)
{
    return make<MutableData>(std::vector<uint8_t>(length, 0));
}

Ref<MutableData> MutableData::dataWithBytes(const void* bytes, uint32_t length)
{
    auto data = make<MutableData>();
    data->appendBytes(bytes, length);
    return data;
}

std::vector<uint8_t>& MutableData::ownStorage()
{
    // Another Data may share the buffer (a copy, a subdata of an immutable original, or this
    // object's own source): take a private copy of exactly our bytes before changing them.
    if (!_storage || _storage.use_count() > 1 || _offset || _storage->size() != _length) {
        const uint8_t* first = bytes();
        _storage = std::make_shared<std::vector<uint8_t>>(first, first + _length);
        _offset = 0;
    }
    return *_storage;
}

uint8_t* MutableData::mutableBytes()
{
    return _length ? ownStorage().data() : nullptr;
}

void MutableData::appendBytes(const void* bytes, uint32_t length)
{
    if (!length)
        return;
    if (!bytes)
        detail::raiseNilArgument(this, "appendBytes:length:");
    const auto* first = static_cast<const uint8_t*>(bytes);
    std::vector<uint8_t>& storage = ownStorage();
    // The bytes may lie inside our own buffer, which insert handles for a range of iterators
    // only if it does not reallocate first: copy them when they alias.
    if (first >= storage.data() && first < storage.data() + storage.size()) {
        std::vector<uint8_t> copy(first, first + length);
        storage.insert(storage.end(), copy.begin(), copy.end());
    } else {
        storage.insert(storage.end(), first, first + length);
    }
    _length = static_cast<uint32_t>(storage.size());
}

void MutableData::appendData(const Data* data)
{
    if (!data)
        detail::raiseNilArgument(this, "appendData:");
    if (data == this) {
        std::vector<uint8_t> copy(span().begin(), span().end());
        appendBytes(copy.data(), static_cast<uint32_t>(copy.size()));
        return;
    }
    appendBytes(data->bytes(), data->length());
}

void MutableData::replaceBytesInRange(Range range, const void* bytes)
{
    checkRange(range, "replaceBytesInRange:withBytes:");
    if (!range.length)
        return;
    if (!bytes)
        detail::raiseNilArgument(this, "replaceBytesInRange:withBytes:");
    std::memmove(ownStorage().data() + range.location, bytes, range.length);
}

void MutableData::replaceBytesInRange(Range range, const void* bytes, uint32_t length)
{
    checkRange(range, "replaceBytesInRange:withBytes:length:");
    if (!bytes && length)
        detail::raiseNilArgument(this, "replaceBytesInRange:withBytes:length:");
    const auto* first = static_cast<const uint8_t*>(bytes);
    std::vector<uint8_t> replacement(first, first + length);
    std::vector<uint8_t>& storage = ownStorage();
    auto start = storage.begin() + range.location;
    storage.erase(start, start + range.length);
    storage.insert(storage.begin() + range.location, replacement.begin(), replacement.end());
    _length = static_cast<uint32_t>(storage.size());
}

void MutableData::resetBytesInRange(Range range)
{
    checkRange(range, "resetBytesInRange:");
    if (range.length)
        std::memset(ownStorage().data() + range.location, 0, range.length);
}

void MutableData::setLength(uint32_t length)
{
    if (length == _length)
        return;
    std::vector<uint8_t>& storage = ownStorage();
    storage.resize(length, 0);
    _length = length;
}

void MutableData::increaseLengthBy(uint32_t extraLength)
{
    setLength(_length + extraLength);
}

void MutableData::setData(const Data* data)
{
    if (!data)
        detail::raiseNilArgument(this, "setData:");
    if (data == this)
        return;
    _storage = data->_storage;
    _offset = data->_offset;
    _length = data->_length;
}

} // namespace yk
