#pragma once

#include <Yarkit/YFilterStream.h>

#include <memory>
#include <optional>
#include <span>

namespace yk {

namespace detail {
class InPlaceSource;
class LineData;
}

// Reads lines ended by LF, CR or CR LF, one data object per line that nobody else holds (the
// previous line's object, refilled, once the caller has let it go). Put a buffered
// stream under it: it reads its stream a byte at a time, except over a YBufferedInputStream
// or a YDataInputStream, whose unread bytes it scans in place (consuming exactly the same
// bytes).
//
// To see whether a CR is followed by LF it reads one byte more; when that byte is something
// else it pushes it back, first wrapping its stream in a YPushbackInputStream unless the
// stream is one already. From then on stream() answers that wrapper.
class YLineInputStream : public YFilterStream {
    YK_OBJECT(YLineInputStream, YFilterStream)
public:
    explicit YLineInputStream(Ref<YStream> stream);
    ~YLineInputStream() override;

    [[nodiscard]] static Ref<YLineInputStream> streamWithStream(YStream* stream);

    // readLineDataTrimmingNewline with false.
    [[nodiscard]] Ref<Data> readLineData();
    // The next line, with its terminator unless `trim`; null at the end of the stream. A
    // lone LF with trim gives empty data; a lone CR at the very end with trim gives null.
    [[nodiscard]] Ref<Data> readLineDataTrimmingNewline(bool trim);

private:
    bool readByte(uint8_t& byte);
    [[noreturn]] void raiseLineTooLong() const;
    void append(const uint8_t* bytes, uint32_t length);
    void append(uint8_t byte) { append(&byte, 1); }
    void pushBack(uint8_t byte);
    struct Terminator {
        uint32_t length;
        bool pushesBack;
    };
    // The object the next line is written into, with room for at least `room` bytes.
    detail::LineData* lineToFill(uint32_t room);
    [[gnu::noinline]] detail::LineData* newLineToFill(uint32_t room);
    // A line of the collected bytes followed by `length` more.
    Ref<Data> makeLine(const uint8_t* bytes, uint32_t length);
    // The collected bytes as a line; null when `nilWhenEmpty` and nothing was collected.
    Ref<Data> takeLine(bool nilWhenEmpty);
    static std::optional<Terminator> terminatorAt(std::span<const uint8_t> unread, const uint8_t* lineBreak);
    void consumeInPlace(detail::InPlaceSource& source, const uint8_t* bytes, uint32_t run, Terminator terminator);
    Ref<Data> lineInPlace(detail::InPlaceSource& source, std::span<const uint8_t> unread, uint32_t run, bool trim);
    Ref<Data> quickLine(detail::InPlaceSource& source, bool trim);
    // Collects the line's bytes from wherever they come; the rest of readLineDataTrimmingNewline.
    Ref<Data> assembleLine(bool trim);
    // After a CR: takes a following LF, pushes back anything else.
    Ref<Data> finishAfterCR(bool trim);
    // The source whose unread bytes are scanned in place, when one-byte reads would come
    // from it now; found once per wrapped stream.
    detail::InPlaceSource* inPlaceSource();

    // The line assembly area, kept across calls: 128 bytes, doubled when full.
    std::unique_ptr<uint8_t[]> _lineBuffer;
    uint32_t _lineBufferSize { 0 };
    uint32_t _lineLength { 0 };
    // The last line returned, whose object the next line reuses once the caller lets it go.
    Ref<Data> _lastLine;
    YStream* _scannedStream { nullptr };
    std::unique_ptr<detail::InPlaceSource> _source;
};

} // namespace yk
