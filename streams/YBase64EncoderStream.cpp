#include <Yarkit/YBase64EncoderStream.h>

#include <Yarkit/Base64.h>
#include <Yarkit/DataBase64.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

#include <algorithm>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YBase64EncoderStream);

namespace {

uint32_t checkedLineLength(int64_t lineLength)
{
    // The encoded line and its CR LF are counted in an int32_t.
    if (lineLength < 4 || lineLength > INT32_MAX - 2)
        raise(NSInvalidArgumentException, "*** -[YBase64EncoderStream initWithStream:lineLength:]: invalid line length %lld",
            static_cast<long long>(lineLength));
    return static_cast<uint32_t>(lineLength);
}

} // namespace

YBase64EncoderStream::YBase64EncoderStream(Ref<YStream> stream)
    : YBase64EncoderStream(std::move(stream), defaultBase64LineLength())
{
}

YBase64EncoderStream::YBase64EncoderStream(Ref<YStream> stream, int64_t lineLength)
    : YFilterStream(std::move(stream))
    , _lineLength(checkedLineLength(lineLength))
{
    _bufferSize = _lineLength / 4 * 3;
    _buffer = std::make_unique_for_overwrite<uint8_t[]>(_bufferSize);
    _lineBuffer = std::make_unique_for_overwrite<char[]>(size_t(_lineLength) + 2);
}

YBase64EncoderStream::~YBase64EncoderStream() = default;

Ref<YBase64EncoderStream> YBase64EncoderStream::streamWithStream(YStream* stream)
{
    return make<YBase64EncoderStream>(Ref<YStream>(stream));
}

Ref<YBase64EncoderStream> YBase64EncoderStream::streamWithStream(YStream* stream, int64_t lineLength)
{
    return make<YBase64EncoderStream>(Ref<YStream>(stream), lineLength);
}

void YBase64EncoderStream::writeLine(const uint8_t* bytes, uint32_t length, const char* message)
{
    int32_t n = yk_encode_base64(_lineBuffer.get(), bytes, length, static_cast<int32_t>(_lineLength));
    if (n <= 0)
        raise(NSInternalInconsistencyException, message, n);
    YFilterStream::writeBytes(_lineBuffer.get(), static_cast<uint32_t>(n));
}

// Whole chunks are copied, and encoded straight from the caller's bytes when nothing is
// pending: the same lines as gathering byte by byte.
void YBase64EncoderStream::writeBytes(const void* bytes, uint32_t length)
{
    constexpr const char* message = "-[YBase64EncoderStream writeBytes:length:]: encoded length = %d";
    const auto* next = static_cast<const uint8_t*>(bytes);
    const uint8_t* end = next + length;
    while (next < end) {
        if (!_bufferCount && uint32_t(end - next) >= _bufferSize) {
            writeLine(next, _bufferSize, message);
            next += _bufferSize;
            continue;
        }
        uint32_t n = std::min(uint32_t(end - next), _bufferSize - _bufferCount);
        std::memcpy(_buffer.get() + _bufferCount, next, n);
        _bufferCount += n;
        next += n;
        if (_bufferCount == _bufferSize) {
            _bufferCount = 0;
            writeLine(_buffer.get(), _bufferSize, message);
        }
    }
}

void YBase64EncoderStream::flush()
{
    if (_bufferCount) {
        uint32_t count = _bufferCount;
        _bufferCount = 0;
        writeLine(_buffer.get(), count, "-[YBase64EncoderStream flush]: encoded length = %d");
    }
    YFilterStream::flush();
}

void YBase64EncoderStream::close()
{
    flush();
    YFilterStream::close();
}

} // namespace yk
