#include <Yarkit/YFilterStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

namespace yk {

YK_DEFINE_CLASS(YFilterStream);

YFilterStream::YFilterStream(Ref<YStream> stream)
    : _stream(std::move(stream))
{
}

YFilterStream::~YFilterStream() = default;

Ref<YFilterStream> YFilterStream::streamWithStream(YStream* stream)
{
    return make<YFilterStream>(Ref<YStream>(stream));
}

uint32_t YFilterStream::readBytes(void* buffer, uint32_t length)
{
    return _stream ? _stream->readBytes(buffer, length) : 0;
}

void YFilterStream::writeBytes(const void* bytes, uint32_t length)
{
    if (_stream)
        _stream->writeBytes(bytes, length);
}

void YFilterStream::flush()
{
    if (_stream)
        _stream->flush();
}

void YFilterStream::close()
{
    if (!_stream)
        return;
    try {
        _stream->flush();
    } catch (const Exception&) {
        // A failed flush must not keep the stream open.
    }
    _stream->close();
}

} // namespace yk
