#pragma once

#include <Yarkit/YStream.h>

namespace yk {

// The base of every stream that wraps another: reads, writes and flush pass through to the
// wrapped stream (retained). Without a wrapped stream, as after a buffered or pushback
// stream's close, reads answer 0 and writes, flush and close do nothing.
class YFilterStream : public YStream {
    YK_OBJECT(YFilterStream, YStream)
public:
    explicit YFilterStream(Ref<YStream> stream);
    ~YFilterStream() override;

    [[nodiscard]] static Ref<YFilterStream> streamWithStream(YStream* stream);

    // The wrapped stream; may be null.
    YStream* stream() const { return _stream.get(); }

    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    void writeBytes(const void* bytes, uint32_t length) override;
    void flush() override;
    // Flushes the wrapped stream, dropping a yk::Exception it raises (any other C++ exception
    // passes), then closes it.
    void close() override;

protected:
    // Replaces the wrapped stream (the line reader's pushback wrapper).
    void setStream(Ref<YStream> stream) { _stream = std::move(stream); }
    // Lets the wrapped stream go.
    void releaseStream() { _stream = nullptr; }

    Ref<YStream> _stream;
};

} // namespace yk
