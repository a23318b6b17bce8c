#pragma once

// The fast paths' view of a source's unread bytes: the line reader and the base64 decoder
// stream scan them in place instead of reading one byte at a time, and consume exactly what
// the byte-at-a-time reads would have consumed.

#include <cstdint>
#include <span>

namespace yk {
class YStream;
class YBufferedInputStream;
class YDataInputStream;
}

namespace yk::detail {

class InPlaceSource {
public:
    // The source under one-byte reads made on `stream`: `stream` itself when it is exactly a
    // YBufferedInputStream with a buffer of more than one byte or a YDataInputStream, or such a
    // stream under a YPushbackInputStream that holds nothing pushed back. Subclasses are left
    // to their own reads. Empty when there is no such source.
    static InPlaceSource find(YStream* stream);

    explicit operator bool() const { return _buffered || _data; }

    std::span<const uint8_t> unread() const;
    void consume(uint32_t count);
    // What a one-byte read does when nothing is unread: one refill of the buffer (a data
    // stream is at its end). Answers whether bytes came.
    bool refill();

private:
    YBufferedInputStream* _buffered { nullptr };
    YDataInputStream* _data { nullptr };
};

// The first CR or LF in the bytes, or null.
const uint8_t* findLineBreak(std::span<const uint8_t> bytes);

} // namespace yk::detail
