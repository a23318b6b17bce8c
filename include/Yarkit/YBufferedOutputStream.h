#pragma once

#include <Yarkit/YFilterStream.h>

#include <memory>

namespace yk {

// Collects small writes in a buffer (512 bytes by default) and passes them on when it is full
// or on flush; a write at least as large as the buffer goes straight through after the
// pending bytes. close does NOT write the pending bytes, and neither does destruction: send
// flush before close.
class YBufferedOutputStream : public YFilterStream {
    YK_OBJECT(YBufferedOutputStream, YFilterStream)
public:
    explicit YBufferedOutputStream(Ref<YStream> stream, uint32_t bufferSize = 512);
    ~YBufferedOutputStream() override;

    [[nodiscard]] static Ref<YBufferedOutputStream> streamWithStream(YStream* stream);
    [[nodiscard]] static Ref<YBufferedOutputStream> streamWithStream(YStream* stream, uint32_t bufferSize);

    uint32_t bufferSize() const { return _bufferSize; }

    void writeBytes(const void* bytes, uint32_t length) override;
    // Writes the pending bytes, then flushes the wrapped stream.
    void flush() override;

private:
    void flushBuffer();

    std::unique_ptr<uint8_t[]> _buffer;
    uint32_t _bufferSize;
    uint32_t _count { 0 };
};

} // namespace yk
