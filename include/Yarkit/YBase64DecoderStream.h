#pragma once

#include <Yarkit/YFilterStream.h>

namespace yk {

// Decodes the base64 text it reads from its stream, one 4-character group at a time through
// yk_decode_base64. Narrower than the codec on whole text:
// - line breaks are skipped only between groups; a group that a line break splits decodes to
//   nothing and ends the read (the next read goes on after it);
// - each group is decoded on its own, so data goes on after a padded group;
// - a folded line (a space after the break) is invalid text.
// Over a YBufferedInputStream or YDataInputStream it decodes runs of whole groups in place,
// consuming exactly what the group-by-group reading would.
class YBase64DecoderStream : public YFilterStream {
    YK_OBJECT(YBase64DecoderStream, YFilterStream)
public:
    explicit YBase64DecoderStream(Ref<YStream> stream);
    ~YBase64DecoderStream() override;

    [[nodiscard]] static Ref<YBase64DecoderStream> streamWithStream(YStream* stream);

    // Invalid text raises NSInternalInconsistencyException
    // "-[YBase64DecoderStream readBytes:length:]: decoded length = -1".
    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;

private:
    // Reads and decodes the next group into _buffer; false when the read should end.
    bool decodeNextGroup();
    // Decodes whole groups from the source's unread bytes into `out` (room for `room` bytes);
    // returns the bytes written, 0 when the next group needs the group-by-group reading.
    uint32_t decodeInPlace(uint8_t* out, uint32_t room, bool& atEnd);

    uint8_t _buffer[3] {};
    uint32_t _bufferCount { 0 };
    uint32_t _bufferIndex { 0 };
};

} // namespace yk
