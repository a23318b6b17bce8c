#pragma once

#include <Yarkit/YFilterStream.h>

namespace yk {

// Copies every byte read or written through it to a trace stream (retained) while tracing is
// on (it is off at first). flush and close act on the wrapped stream only, never on the trace
// stream.
class YTraceStream : public YFilterStream {
    YK_OBJECT(YTraceStream, YFilterStream)
public:
    // Traces to standard output.
    explicit YTraceStream(Ref<YStream> stream);
    YTraceStream(Ref<YStream> stream, Ref<YStream> traceStream);
    ~YTraceStream() override;

    [[nodiscard]] static Ref<YTraceStream> streamWithStream(YStream* stream);
    [[nodiscard]] static Ref<YTraceStream> streamWithStream(YStream* stream, YStream* traceStream);

    bool trace() const { return _trace; }
    void setTrace(bool trace) { _trace = trace; }
    YStream* traceStream() const { return _traceStream.get(); }

    // One read of the wrapped stream; the bytes it gave are copied to the trace stream.
    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    // Writes to the wrapped stream first, then the copy.
    void writeBytes(const void* bytes, uint32_t length) override;

private:
    bool _trace { false };
    Ref<YStream> _traceStream;
};

} // namespace yk
