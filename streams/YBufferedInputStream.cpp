#include <Yarkit/YBufferedInputStream.h>

#include <Yarkit/core/runtime/Class.h>

#include <algorithm>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YBufferedInputStream);

YBufferedInputStream::YBufferedInputStream(Ref<YStream> stream, uint32_t bufferSize)
    : YFilterStream(std::move(stream))
    , _buffer(bufferSize ? std::make_unique_for_overwrite<uint8_t[]>(bufferSize) : nullptr)
    , _bufferSize(bufferSize)
{
}

YBufferedInputStream::~YBufferedInputStream() = default;

Ref<YBufferedInputStream> YBufferedInputStream::streamWithStream(YStream* stream)
{
    return make<YBufferedInputStream>(Ref<YStream>(stream));
}

Ref<YBufferedInputStream> YBufferedInputStream::streamWithStream(YStream* stream, uint32_t bufferSize)
{
    return make<YBufferedInputStream>(Ref<YStream>(stream), bufferSize);
}

bool YBufferedInputStream::refillBuffer()
{
    _pos = 0;
    _count = 0;
    if (_stream)
        _count = _stream->readBytes(_buffer.get(), _bufferSize);
    return _count;
}

uint32_t YBufferedInputStream::readBytesFromBuffer(uint8_t* buffer, uint32_t length)
{
    if (_count <= _pos) {
        if (length >= _bufferSize)
            return _stream ? _stream->readBytes(buffer, length) : 0;
        if (!refillBuffer())
            return 0;
    }
    uint32_t n = std::min(_count - _pos, length);
    if (n == 1)
        *buffer = _buffer[_pos];
    else
        std::memcpy(buffer, _buffer.get() + _pos, n);
    _pos += n;
    return n;
}

// A one-byte read from the buffer returns before anything else is set up: the loop below is
// kept out of line so that this path saves no registers.
uint32_t YBufferedInputStream::readBytes(void* buffer, uint32_t length)
{
    if (length == 1 && _pos < _count) {
        *static_cast<uint8_t*>(buffer) = _buffer[_pos++];
        return 1;
    }
    return readBytesInSteps(static_cast<uint8_t*>(buffer), length);
}

uint32_t YBufferedInputStream::readBytesInSteps(uint8_t* next, uint32_t length)
{
    uint32_t total = 0;
    while (total < length) {
        uint32_t n = readBytesFromBuffer(next + total, length - total);
        if (!n)
            break;
        total += n;
    }
    return total;
}

void YBufferedInputStream::close()
{
    if (_stream) {
        YFilterStream::close();
        releaseStream();
    }
    _buffer.reset();
    _pos = 0;
    _count = 0;
}

} // namespace yk
