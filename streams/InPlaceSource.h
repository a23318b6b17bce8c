#pragma once

// The fast paths' view of a source's unread bytes: the line reader and the base64 decoder
// stream scan them in place instead of reading one byte at a time, and consume exactly what
// the byte-at-a-time reads would have consumed.

#include <cstdint>
#include <span>

#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/YPushbackInputStream.h>

namespace yk::detail {

class InPlaceSource {
public:
    // The source under one-byte reads made on `stream`: `stream` itself when it is exactly a
    // YBufferedInputStream with a buffer of more than one byte or a YDataInputStream, or such a
    // stream under a YPushbackInputStream. Subclasses are left to their own reads. Empty when
    // there is no such source. What a stream is does not change, so a caller may keep the
    // answer for as long as it keeps `stream`, asking isReady before each use.
    static InPlaceSource find(YStream* stream);

    explicit operator bool() const { return _buffered || _data; }
    // Whether one-byte reads would come from the source now: nothing is pushed back in front
    // of it and the pushback wrapper still holds it (its close lets it go).
    bool isReady() const { return !_pushback || (!_pushback->hasPushedBack() && _pushback->stream() == _source); }

    // After a lone CR the line reader pushes back the byte that follows it, which is then
    // usually the byte just before the unread ones: when it is, drops it from the pushback
    // stream and steps the source back over it, so the next scan starts there. The same bytes
    // are read either way. Answers whether it did (and the source is then ready).
    bool rejoinPushedBack();

    std::span<const uint8_t> unread() const
    {
        if (_buffered) {
            uint32_t pos = _buffered->_pos, count = _buffered->_count;
            return { _buffered->_buffer.get() + pos, pos < count ? count - pos : 0 };
        }
        return { _data->_bytes + _data->_cursor, _data->remaining() };
    }
    void consume(uint32_t count)
    {
        if (_buffered)
            _buffered->_pos += count;
        else
            _data->_cursor += count;
    }
    // Puts a byte back in front of the source when it is read through a pushback stream
    // with room for it; answers whether it did.
    bool pushBack(uint8_t byte)
    {
        if (!_pushback || !_pushback->_pos)
            return false;
        _pushback->_buffer[--_pushback->_pos] = byte;
        return true;
    }
    // What a one-byte read does when nothing is unread: one refill of the buffer (a data
    // stream is at its end). Answers whether bytes came.
    bool refill();

private:
    YPushbackInputStream* _pushback { nullptr };
    YStream* _source { nullptr };
    YBufferedInputStream* _buffered { nullptr };
    YDataInputStream* _data { nullptr };
};

// The first CR or LF in the bytes, or null.
const uint8_t* findLineBreak(std::span<const uint8_t> bytes);
// The first CR or LF in bytes .. end, or null, copying the bytes to `to` as it scans: every
// byte up to and including the break, perhaps some after it (whole blocks are copied), never
// more than end - bytes; all of them when there is no break. The fastest the processor allows,
// chosen when the library loads.
using CopyThroughLineBreak = const uint8_t* (*)(const uint8_t* bytes, const uint8_t* end, uint8_t* to);
extern const CopyThroughLineBreak copyThroughLineBreak;

} // namespace yk::detail
