#include <Yarkit/YBase64DecoderStream.h>

#include <Yarkit/Base64.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

#include "streams/InPlaceSource.h"

#include <algorithm>

namespace yk {

YK_DEFINE_CLASS(YBase64DecoderStream);

namespace {

constexpr uint8_t CR = '\r';
constexpr uint8_t LF = '\n';

bool isLineBreak(uint8_t c)
{
    return c == CR || c == LF;
}

} // namespace

YBase64DecoderStream::YBase64DecoderStream(Ref<YStream> stream)
    : YFilterStream(std::move(stream))
{
}

YBase64DecoderStream::~YBase64DecoderStream() = default;

Ref<YBase64DecoderStream> YBase64DecoderStream::streamWithStream(YStream* stream)
{
    return make<YBase64DecoderStream>(Ref<YStream>(stream));
}

// The reference: line breaks are skipped before a group, then up to three more characters
// are taken as they come.
bool YBase64DecoderStream::decodeNextGroup()
{
    char group[4];
    uint8_t c;
    do {
        if (_stream->readBytes(&c, 1) != 1)
            return false;
    } while (isLineBreak(c));
    group[0] = static_cast<char>(c);
    uint32_t count = 1;
    while (count < 4 && _stream->readBytes(&group[count], 1) == 1)
        ++count;
    int32_t n = yk_decode_base64(_buffer, group, count);
    if (n < 0)
        raise(NSInternalInconsistencyException, "-[YBase64DecoderStream readBytes:length:]: decoded length = %d", n);
    _bufferCount = static_cast<uint32_t>(n);
    return n > 0;
}

uint32_t YBase64DecoderStream::decodeInPlace(uint8_t* out, uint32_t room, bool& atEnd)
{
    auto source = detail::InPlaceSource::find(_stream.get());
    if (!source || !source.isReady())
        return 0;
    std::span<const uint8_t> unread;
    for (;;) {
        unread = source.unread();
        if (unread.empty()) {
            if (!source.refill()) {
                atEnd = true;
                return 0;
            }
            continue;
        }
        uint32_t breaks = 0;
        while (breaks < unread.size() && isLineBreak(unread[breaks]))
            ++breaks;
        source.consume(breaks);
        if (breaks < unread.size())
            break;
    }
    // Whole groups before the next line break decode to 3 bytes each exactly when they are all
    // alphabet characters; anything else ("=", a stray character) gives fewer, and the
    // group-by-group reading takes over. The codec writes within the 3 bytes per group.
    unread = source.unread();
    const uint8_t* lineBreak = detail::findLineBreak(unread);
    auto available = static_cast<uint32_t>(lineBreak ? lineBreak - unread.data() : unread.size());
    uint32_t groups = std::min(available / 4, room / 3);
    if (!groups)
        return 0;
    int32_t n = yk_decode_base64(out, reinterpret_cast<const char*>(unread.data()), groups * 4);
    if (n != int32_t(groups * 3))
        return 0;
    source.consume(groups * 4);
    return static_cast<uint32_t>(n);
}

uint32_t YBase64DecoderStream::readBytes(void* buffer, uint32_t length)
{
    if (!length || !_stream)
        return 0;
    auto* out = static_cast<uint8_t*>(buffer);
    uint32_t delivered = 0;
    while (delivered < length) {
        if (_bufferIndex < _bufferCount) {
            out[delivered++] = _buffer[_bufferIndex++];
            continue;
        }
        _bufferCount = 0;
        _bufferIndex = 0;
        bool atEnd = false;
        if (uint32_t n = decodeInPlace(out + delivered, length - delivered, atEnd)) {
            delivered += n;
            continue;
        }
        if (atEnd || !decodeNextGroup())
            break;
    }
    return delivered;
}

} // namespace yk
