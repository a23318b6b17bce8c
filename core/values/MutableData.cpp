#include <Yarkit/core/values/MutableData.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace yk {

YK_DEFINE_CLASS(MutableData);

MutableData::MutableData(const std::vector<uint8_t>& bytes)
{
    appendBytes(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

Ref<MutableData> MutableData::dataWithCapacity(uint32_t capacity)
{
    auto data = make<MutableData>();
    if (capacity)
        data->writableBytes(capacity);
    return data;
}

Ref<MutableData> MutableData::dataWithLength(uint32_t length)
{
    auto data = make<MutableData>();
    data->setLength(length);
    return data;
}

Ref<MutableData> MutableData::dataWithBytes(const void* bytes, uint32_t length)
{
    auto data = make<MutableData>();
    data->appendBytes(bytes, length);
    return data;
}

uint8_t* MutableData::writableBytes(uint32_t capacity)
{
    // The buffer is ours to write when nothing else holds it: a copy or a subdata taken from
    // a Data that shares it keeps a reference, so a count of one means no one else can see it.
    bool unshared = _capacity && _owner->retainCount() == 1;
    if (unshared && capacity <= _capacity)
        return const_cast<uint8_t*>(_bytes);
    uint32_t newCapacity = capacity;
    if (unshared)
        newCapacity = static_cast<uint32_t>(std::min<uint64_t>(uint64_t { _capacity } * 2, UINT32_MAX));
    newCapacity = std::max(newCapacity, capacity);
    newCapacity = std::max(newCapacity, 16u);
    Ref<Data> buffer = withInlineBytes(newCapacity);
    auto* bytes = const_cast<uint8_t*>(buffer->_bytes);
    if (_length)
        std::memcpy(bytes, _bytes, _length);
    _owner = buffer;
    _bytes = bytes;
    _capacity = newCapacity;
    return bytes;
}

uint8_t* MutableData::mutableBytes()
{
    return _length ? writableBytes(_length) : nullptr;
}

void MutableData::appendBytes(const void* bytes, uint32_t length)
{
    if (!length)
        return;
    if (!bytes)
        detail::raiseNilArgument(this, "appendBytes:length:");
    const auto* source = static_cast<const uint8_t*>(bytes);
    // The bytes may lie inside our own, which a new buffer would move.
    bool aliases = _length && source >= _bytes && source < _bytes + _length;
    size_t sourceOffset = aliases ? static_cast<size_t>(source - _bytes) : 0;
    uint8_t* target = writableBytes(_length + length);
    if (aliases)
        source = target + sourceOffset;
    std::memmove(target + _length, source, length);
    _length += length;
}

void MutableData::appendData(const Data* data)
{
    if (!data)
        detail::raiseNilArgument(this, "appendData:");
    appendBytes(data->bytes(), data->length());
}

void MutableData::replaceBytesInRange(Range range, const void* bytes)
{
    checkRange(range, "replaceBytesInRange:withBytes:");
    if (!range.length)
        return;
    if (!bytes)
        detail::raiseNilArgument(this, "replaceBytesInRange:withBytes:");
    // Copy first: the bytes may be our own, which writableBytes may move.
    std::vector<uint8_t> replacement(static_cast<const uint8_t*>(bytes), static_cast<const uint8_t*>(bytes) + range.length);
    std::memcpy(writableBytes(_length) + range.location, replacement.data(), range.length);
}

void MutableData::replaceBytesInRange(Range range, const void* bytes, uint32_t length)
{
    checkRange(range, "replaceBytesInRange:withBytes:length:");
    if (!bytes && length)
        detail::raiseNilArgument(this, "replaceBytesInRange:withBytes:length:");
    const auto* first = static_cast<const uint8_t*>(bytes);
    std::vector<uint8_t> replacement(first, first + length);
    uint32_t newLength = _length - range.length + length;
    uint8_t* target = writableBytes(std::max(_length, newLength));
    uint32_t tail = _length - range.location - range.length;
    std::memmove(target + range.location + length, target + range.location + range.length, tail);
    if (length)
        std::memcpy(target + range.location, replacement.data(), length);
    _length = newLength;
}

void MutableData::resetBytesInRange(Range range)
{
    checkRange(range, "resetBytesInRange:");
    if (range.length)
        std::memset(writableBytes(_length) + range.location, 0, range.length);
}

void MutableData::setLength(uint32_t length)
{
    if (length > _length)
        std::memset(writableBytes(length) + _length, 0, length - _length);
    _length = length;
    if (!_length && !_capacity)
        shareBytes(nullptr, nullptr, 0);
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
    shareBytes(data->bytesOwner(), data->_bytes, data->_length);
    _capacity = 0;
}

} // namespace yk
