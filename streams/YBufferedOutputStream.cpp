#include <Yarkit/YBufferedOutputStream.h>

#include <Yarkit/core/runtime/Class.h>

#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YBufferedOutputStream);

YBufferedOutputStream::YBufferedOutputStream(Ref<YStream> stream, uint32_t bufferSize)
    : YFilterStream(std::move(stream))
    , _buffer(bufferSize ? std::make_unique_for_overwrite<uint8_t[]>(bufferSize) : nullptr)
    , _bufferSize(bufferSize)
{
}

YBufferedOutputStream::~YBufferedOutputStream() = default;

Ref<YBufferedOutputStream> YBufferedOutputStream::streamWithStream(YStream* stream)
{
    return make<YBufferedOutputStream>(Ref<YStream>(stream));
}

Ref<YBufferedOutputStream> YBufferedOutputStream::streamWithStream(YStream* stream, uint32_t bufferSize)
{
    return make<YBufferedOutputStream>(Ref<YStream>(stream), bufferSize);
}

void YBufferedOutputStream::flushBuffer()
{
    if (!_count)
        return;
    YFilterStream::writeBytes(_buffer.get(), _count);
    _count = 0;
}

void YBufferedOutputStream::writeBytes(const void* bytes, uint32_t length)
{
    if (!length)
        return;
    if (length >= _bufferSize) {
        flushBuffer();
        YFilterStream::writeBytes(bytes, length);
        return;
    }
    if (_count + length > _bufferSize)
        flushBuffer();
    if (length == 1)
        _buffer[_count] = *static_cast<const uint8_t*>(bytes);
    else
        std::memcpy(_buffer.get() + _count, bytes, length);
    _count += length;
}

void YBufferedOutputStream::flush()
{
    flushBuffer();
    YFilterStream::flush();
}

} // namespace yk
