#pragma once

#include <Yarkit/YFilterStream.h>

#include <memory>

namespace yk {

// Encodes what is written to it as padded base64 and writes the text to its stream, one write
// per line: it gathers (L / 4) * 3 bytes (one line of L characters) and encodes them with a
// CR LF after the line when L is a multiple of 4. With such an L its output equals
// base64DataWithLineLength of the same bytes.
//
// flush encodes the pending bytes at once, padding and all, so a flush in the middle of the
// data puts "=" in the middle of the output: flush only at the end (close flushes first).
class YBase64EncoderStream : public YFilterStream {
    YK_OBJECT(YBase64EncoderStream, YFilterStream)
public:
    // The line length is the user default "DefaultBase64LineLength" (76 when unset), read now.
    explicit YBase64EncoderStream(Ref<YStream> stream);
    // A line length below 4, or one whose line and CR LF a 32-bit count cannot hold, raises
    // NSInvalidArgumentException
    // "*** -[YBase64EncoderStream initWithStream:lineLength:]: invalid line length %lld".
    YBase64EncoderStream(Ref<YStream> stream, int64_t lineLength);
    ~YBase64EncoderStream() override;

    [[nodiscard]] static Ref<YBase64EncoderStream> streamWithStream(YStream* stream);
    [[nodiscard]] static Ref<YBase64EncoderStream> streamWithStream(YStream* stream, int64_t lineLength);

    uint32_t lineLength() const { return _lineLength; }

    // A codec fault raises NSInternalInconsistencyException
    // "-[YBase64EncoderStream writeBytes:length:]: encoded length = %d" (the chunk is lost).
    void writeBytes(const void* bytes, uint32_t length) override;
    // Encodes the pending bytes as a last, padded, partial line, then flushes the stream; a
    // codec fault raises "-[YBase64EncoderStream flush]: encoded length = %d".
    void flush() override;
    // flush, then the filter's close.
    void close() override;

private:
    // Encodes `length` bytes into one line and writes it; `message` reports a codec fault.
    void writeLine(const uint8_t* bytes, uint32_t length, const char* message);

    std::unique_ptr<uint8_t[]> _buffer;
    uint32_t _bufferSize;
    uint32_t _bufferCount { 0 };
    uint32_t _lineLength;
    std::unique_ptr<char[]> _lineBuffer;
};

} // namespace yk
