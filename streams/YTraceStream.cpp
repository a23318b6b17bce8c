#include <Yarkit/YTraceStream.h>

#include <Yarkit/YFileStream.h>
#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(YTraceStream);

YTraceStream::YTraceStream(Ref<YStream> stream)
    : YTraceStream(std::move(stream), YFileStream::streamWithStandardOutput())
{
}

YTraceStream::YTraceStream(Ref<YStream> stream, Ref<YStream> traceStream)
    : YFilterStream(std::move(stream))
    , _traceStream(std::move(traceStream))
{
}

YTraceStream::~YTraceStream() = default;

Ref<YTraceStream> YTraceStream::streamWithStream(YStream* stream)
{
    return make<YTraceStream>(Ref<YStream>(stream));
}

Ref<YTraceStream> YTraceStream::streamWithStream(YStream* stream, YStream* traceStream)
{
    return make<YTraceStream>(Ref<YStream>(stream), Ref<YStream>(traceStream));
}

uint32_t YTraceStream::readBytes(void* buffer, uint32_t length)
{
    uint32_t n = YFilterStream::readBytes(buffer, length);
    if (n && _trace && _traceStream)
        _traceStream->writeBytes(buffer, n);
    return n;
}

void YTraceStream::writeBytes(const void* bytes, uint32_t length)
{
    YFilterStream::writeBytes(bytes, length);
    if (length && _trace && _traceStream)
        _traceStream->writeBytes(bytes, length);
}

} // namespace yk
