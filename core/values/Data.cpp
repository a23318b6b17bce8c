#include <Yarkit/core/values/Data.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstring>
#include <string_view>

namespace yk {

YK_DEFINE_CLASS(Data);

Data::Data(std::vector<uint8_t> bytes)
    : _length(static_cast<uint32_t>(bytes.size()))
{
    if (_length)
        _storage = std::make_shared<std::vector<uint8_t>>(std::move(bytes));
}

Ref<Data> Data::dataWithBytes(const void* bytes, uint32_t length)
{
    if (!length)
        return make<Data>();
    if (!bytes)
        detail::raiseInvalidArgument("*** +[Data dataWithBytes:length:]: nil string (or other) argument");
    const auto* first = static_cast<const uint8_t*>(bytes);
    return make<Data>(std::vector<uint8_t>(first, first + length));
}

Ref<Data> Data::dataWithString(std::string_view bytes)
{
    return dataWithBytes(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

const uint8_t* Data::bytes() const
{
    return _length ? _storage->data() + _offset : nullptr;
}

void Data::checkRange(Range range, const char* selector) const
{
    if (range.location > _length || range.length > _length - range.location)
        detail::raiseOutOfBounds(this, selector);
}

void Data::getBytes(void* buffer, Range range) const
{
    checkRange(range, "getBytes:range:");
    if (range.length)
        std::memcpy(buffer, bytes() + range.location, range.length);
}

Ref<Data> Data::subdataWithRange(Range range) const
{
    checkRange(range, "subdataWithRange:");
    if (dynamic_cast<const MutableData*>(this))
        return dataWithBytes(bytes() + range.location, range.length);
    auto subdata = make<Data>();
    if (range.length) {
        subdata->_storage = _storage;
        subdata->_offset = _offset + range.location;
        subdata->_length = range.length;
    }
    return subdata;
}

bool Data::isEqualToData(const Data* other) const
{
    if (!other)
        return false;
    if (other == this)
        return true;
    return _length == other->_length && (!_length || std::memcmp(bytes(), other->bytes(), _length) == 0);
}

Ref<Data> Data::copy() const
{
    if (!dynamic_cast<const MutableData*>(this))
        return Ref<Data>(const_cast<Data*>(this));
    // Share the buffer: the mutable original copies it before its next change.
    auto copy = make<Data>();
    copy->shareBytesOf(*this);
    return copy;
}

Ref<MutableData> Data::mutableCopy() const
{
    auto copy = make<MutableData>();
    copy->shareBytesOf(*this);
    return copy;
}

void Data::shareBytesOf(const Data& other)
{
    _storage = other._storage;
    _offset = other._offset;
    _length = other._length;
}

bool Data::isEqual(const Object* other) const
{
    return isEqualToData(dynamic_cast<const Data*>(other));
}

size_t Data::hash() const
{
    return std::hash<std::string_view>()(stringView());
}

Ref<String> Data::description() const
{
    static const char digits[] = "0123456789abcdef";
    std::string text = "<";
    const uint8_t* p = bytes();
    for (uint32_t i = 0; i < _length; ++i) {
        if (i && i % 4 == 0)
            text += ' ';
        text += digits[p[i] >> 4];
        text += digits[p[i] & 0xF];
    }
    text += '>';
    return String::withUTF8(text);
}

} // namespace yk
