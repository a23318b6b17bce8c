#include <Yarkit/YPushbackInputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include <algorithm>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YPushbackInputStream);

YPushbackInputStream::YPushbackInputStream(Ref<YStream> stream, uint32_t bufferSize)
    : YFilterStream(std::move(stream))
    , _buffer(bufferSize ? std::make_unique_for_overwrite<uint8_t[]>(bufferSize) : nullptr)
    , _bufferSize(bufferSize)
    , _pos(bufferSize)
{
}

YPushbackInputStream::~YPushbackInputStream() = default;

Ref<YPushbackInputStream> YPushbackInputStream::streamWithStream(YStream* stream)
{
    return make<YPushbackInputStream>(Ref<YStream>(stream));
}

Ref<YPushbackInputStream> YPushbackInputStream::streamWithStream(YStream* stream, uint32_t bufferSize)
{
    return make<YPushbackInputStream>(Ref<YStream>(stream), bufferSize);
}

void YPushbackInputStream::unreadBytes(const void* bytes, uint32_t offset, uint32_t length)
{
    if (!length)
        return;
    if (length > _pos)
        raise(NSRangeException, "*** -[%s unreadBytes:offset:length:]: Range or index out of bounds", classObject()->name().c_str());
    _pos -= length;
    std::memcpy(_buffer.get() + _pos, static_cast<const uint8_t*>(bytes) + offset, length);
}

void YPushbackInputStream::unreadData(const Data* data)
{
    if (data)
        unreadBytes(data->bytes(), 0, data->length());
}

uint32_t YPushbackInputStream::readBytes(void* buffer, uint32_t length)
{
    if (!length)
        return 0;
    auto* next = static_cast<uint8_t*>(buffer);
    uint32_t pushedBack = std::min(length, _bufferSize - _pos);
    if (pushedBack) {
        std::memcpy(next, _buffer.get() + _pos, pushedBack);
        _pos += pushedBack;
        if (pushedBack == length)
            return length;
    }
    return pushedBack + YFilterStream::readBytes(next + pushedBack, length - pushedBack);
}

void YPushbackInputStream::close()
{
    if (_stream) {
        YFilterStream::close();
        releaseStream();
    }
    _buffer.reset();
    _pos = 0;
    _bufferSize = 0;
}

} // namespace yk
