#include <Yarkit/YLineInputStream.h>

#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include "streams/InPlaceSource.h"

#include <algorithm>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YLineInputStream);

namespace {

constexpr uint8_t CR = '\r';
constexpr uint8_t LF = '\n';
constexpr uint32_t initialLineBufferSize = 128;

} // namespace

YLineInputStream::YLineInputStream(Ref<YStream> stream)
    : YFilterStream(std::move(stream))
    , _lineBuffer(std::make_unique_for_overwrite<uint8_t[]>(initialLineBufferSize))
    , _lineBufferSize(initialLineBufferSize)
{
}

YLineInputStream::~YLineInputStream() = default;

Ref<YLineInputStream> YLineInputStream::streamWithStream(YStream* stream)
{
    return make<YLineInputStream>(Ref<YStream>(stream));
}

bool YLineInputStream::readByte(uint8_t& byte)
{
    return _stream && _stream->readBytes(&byte, 1) == 1;
}

void YLineInputStream::append(const uint8_t* bytes, uint32_t length)
{
    if (length > _lineBufferSize - _lineLength) {
        if (uint64_t(_lineLength) + length > UINT32_MAX)
            raise(NSRangeException, "*** -[%s readLineDataTrimmingNewline:]: Range or index out of bounds", classObject()->name().c_str());
        uint64_t size = _lineBufferSize;
        while (size - _lineLength < length)
            size *= 2;
        size = std::min<uint64_t>(size, UINT32_MAX);
        auto grown = std::make_unique_for_overwrite<uint8_t[]>(size);
        std::memcpy(grown.get(), _lineBuffer.get(), _lineLength);
        _lineBuffer = std::move(grown);
        _lineBufferSize = static_cast<uint32_t>(size);
    }
    if (length == 1)
        _lineBuffer[_lineLength] = *bytes;
    else
        std::memcpy(_lineBuffer.get() + _lineLength, bytes, length);
    _lineLength += length;
}

void YLineInputStream::pushBack(uint8_t byte)
{
    if (!_stream->isKindOfClass(YPushbackInputStream::staticClass()))
        setStream(make<YPushbackInputStream>(_stream, 1));
    static_cast<YPushbackInputStream*>(_stream.get())->unreadBytes(&byte, 0, 1);
}

Ref<Data> YLineInputStream::takeLine(bool nilWhenEmpty)
{
    uint32_t length = _lineLength;
    _lineLength = 0;
    if (!length && nilWhenEmpty)
        return nullptr;
    return Data::dataWithBytes(_lineBuffer.get(), length);
}

Ref<Data> YLineInputStream::finishAfterCR(bool trim)
{
    if (!trim)
        append(CR);
    uint8_t next;
    if (!readByte(next))
        return takeLine(true);
    if (next == LF) {
        if (!trim)
            append(LF);
        return takeLine(false);
    }
    pushBack(next);
    return takeLine(false);
}

// A whole line that lies in the source's unread bytes, taken without the line buffer; null
// when a CR ends the unread bytes (its next byte must be read).
Ref<Data> YLineInputStream::lineInPlace(detail::InPlaceSource& source, std::span<const uint8_t> unread, uint32_t run, bool trim)
{
    const uint8_t* bytes = unread.data();
    if (bytes[run] == LF) {
        source.consume(run + 1);
        return Data::dataWithBytes(bytes, trim ? run : run + 1);
    }
    if (run + 1 == unread.size())
        return nullptr;
    uint8_t next = bytes[run + 1];
    if (next == LF) {
        source.consume(run + 2);
        return Data::dataWithBytes(bytes, trim ? run : run + 2);
    }
    // The byte after the CR is read and pushed back, as a one-byte read would.
    Ref<Data> line = Data::dataWithBytes(bytes, trim ? run : run + 1);
    source.consume(run + 2);
    pushBack(next);
    return line;
}

Ref<Data> YLineInputStream::readLineData()
{
    return readLineDataTrimmingNewline(false);
}

// The byte-at-a-time reading below is the reference; the in-place scan takes whole runs of
// line bytes from the source's unread bytes and meets the same terminator.
Ref<Data> YLineInputStream::readLineDataTrimmingNewline(bool trim)
{
    if (!_stream)
        return nullptr;
    _lineLength = 0;
    for (;;) {
        uint8_t byte;
        if (auto source = detail::InPlaceSource::find(_stream.get())) {
            auto unread = source.unread();
            if (unread.empty()) {
                if (!source.refill())
                    return takeLine(true);
                continue;
            }
            const uint8_t* lineBreak = detail::findLineBreak(unread);
            auto run = static_cast<uint32_t>(lineBreak ? lineBreak - unread.data() : unread.size());
            if (lineBreak && !_lineLength) {
                if (Ref<Data> line = lineInPlace(source, unread, run, trim))
                    return line;
            }
            append(unread.data(), run);
            if (!lineBreak) {
                source.consume(run);
                continue;
            }
            byte = *lineBreak;
            source.consume(run + 1);
        } else if (!readByte(byte)) {
            return takeLine(true);
        }
        if (byte == LF) {
            if (!trim)
                append(LF);
            return takeLine(false);
        }
        if (byte == CR)
            return finishAfterCR(trim);
        append(byte);
    }
}

} // namespace yk
