#pragma once

#include <Yarkit/YFilterStream.h>

#include <memory>

namespace yk {

namespace detail {
class InPlaceSource;
}

// Lets a reader put bytes back (1 byte of room by default; it never grows). Pushed-back bytes
// are served first, the most recently pushed first in line. close closes and lets go of the
// wrapped stream and drops the room, so a later push back raises.
class YPushbackInputStream : public YFilterStream {
    YK_OBJECT(YPushbackInputStream, YFilterStream)
public:
    explicit YPushbackInputStream(Ref<YStream> stream, uint32_t bufferSize = 1);
    ~YPushbackInputStream() override;

    [[nodiscard]] static Ref<YPushbackInputStream> streamWithStream(YStream* stream);
    [[nodiscard]] static Ref<YPushbackInputStream> streamWithStream(YStream* stream, uint32_t bufferSize);

    // -unreadBytes:offset:length: puts back `length` bytes from bytes + offset, to be read
    // before what was pushed back earlier. More than the free room raises NSRangeException
    // "*** -[YPushbackInputStream unreadBytes:offset:length:]: Range or index out of bounds".
    void unreadBytes(const void* bytes, uint32_t offset, uint32_t length);
    void unreadData(const Data* data);

    // Pushed-back bytes first, then one read of the wrapped stream for the rest.
    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    void close() override;

private:
    friend class detail::InPlaceSource; // sees through when nothing is pushed back

    bool hasPushedBack() const { return _pos < _bufferSize; }

    std::unique_ptr<uint8_t[]> _buffer;
    uint32_t _bufferSize;
    // The first pushed-back byte; _bufferSize when there is none.
    uint32_t _pos;
};

} // namespace yk
