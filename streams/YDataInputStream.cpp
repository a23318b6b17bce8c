#include <Yarkit/YDataInputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>

#include <algorithm>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YDataInputStream);

YDataInputStream::YDataInputStream(const Data* data)
    : YDataInputStream(data, 0, data ? data->length() : 0)
{
}

YDataInputStream::YDataInputStream(const Data* data, uint32_t offset, uint32_t length)
    : _data(data ? data->copy() : nullptr)
    , _bytes(_data ? _data->bytes() : nullptr)
    , _offset(offset)
    , _length(static_cast<uint32_t>(std::min<uint64_t>(uint64_t(offset) + length, _data ? _data->length() : 0)))
    , _cursor(offset)
{
}

YDataInputStream::~YDataInputStream() = default;

Ref<YDataInputStream> YDataInputStream::streamWithData(const Data* data)
{
    return make<YDataInputStream>(data);
}

uint32_t YDataInputStream::readBytes(void* buffer, uint32_t length)
{
    uint32_t n = std::min(length, remaining());
    if (!n)
        return 0;
    if (n == 1)
        *static_cast<uint8_t*>(buffer) = _bytes[_cursor];
    else
        std::memcpy(buffer, _bytes + _cursor, n);
    _cursor += n;
    return n;
}

Ref<Data> YDataInputStream::readDataOfLength(uint32_t length)
{
    uint32_t n = std::min(length, remaining());
    if (!n)
        return nullptr;
    Ref<Data> result = _data->subdataWithRange({ _cursor, n });
    _cursor += n;
    return result;
}

int64_t YDataInputStream::skipBy(int64_t count)
{
    if (count > 0)
        count = std::min<int64_t>(count, remaining());
    else if (count < 0)
        count = std::max<int64_t>(count, -int64_t(_cursor > _offset ? _cursor - _offset : 0));
    _cursor = static_cast<uint32_t>(_cursor + count);
    return count;
}

} // namespace yk
