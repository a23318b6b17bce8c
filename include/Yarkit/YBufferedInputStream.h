#pragma once

#include <Yarkit/YFilterStream.h>

#include <memory>

namespace yk {

namespace detail {
class InPlaceSource;
}

// Reads the wrapped stream a buffer at a time (2048 bytes by default) and serves small reads
// from the buffer. A read returns short only at the end of the stream; a request at least as
// large as the buffer bypasses it. close closes and lets go of the wrapped stream and frees
// the buffer; later reads answer 0.
class YBufferedInputStream : public YFilterStream {
    YK_OBJECT(YBufferedInputStream, YFilterStream)
public:
    explicit YBufferedInputStream(Ref<YStream> stream, uint32_t bufferSize = 2048);
    ~YBufferedInputStream() override;

    [[nodiscard]] static Ref<YBufferedInputStream> streamWithStream(YStream* stream);
    [[nodiscard]] static Ref<YBufferedInputStream> streamWithStream(YStream* stream, uint32_t bufferSize);

    uint32_t bufferSize() const { return _bufferSize; }

    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    void close() override;

private:
    friend class detail::InPlaceSource; // scans the unread bytes in place

    // One step of a read: buffered bytes if any, else one refill for a small request, else one
    // read straight into the caller's memory. 0 at the end.
    uint32_t readBytesFromBuffer(uint8_t* buffer, uint32_t length);
    // readBytes beyond its one-byte path: steps until `length` bytes or the end.
    [[gnu::noinline]] uint32_t readBytesInSteps(uint8_t* buffer, uint32_t length);
    // Empties the buffer and reads up to _bufferSize bytes into it with one wrapped read;
    // answers whether any came.
    bool refillBuffer();

    std::unique_ptr<uint8_t[]> _buffer;
    uint32_t _bufferSize;
    uint32_t _count { 0 };
    uint32_t _pos { 0 };
};

} // namespace yk
