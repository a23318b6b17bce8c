#include <Yarkit/YMonitorOutputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Send.h>

#include "streams/MonitorSteps.h"

namespace yk {

YK_DEFINE_CLASS(YMonitorOutputStream);

YMonitorOutputStream::YMonitorOutputStream(Ref<YStream> stream, Object* delegate, uint32_t monitorIncrements)
    : YFilterStream(std::move(stream))
    , _monitorIncrements(monitorIncrements)
{
    setDelegate(delegate);
}

YMonitorOutputStream::~YMonitorOutputStream() = default;

Ref<YMonitorOutputStream> YMonitorOutputStream::streamWithStream(YStream* stream, Object* delegate)
{
    return make<YMonitorOutputStream>(Ref<YStream>(stream), delegate);
}

Ref<YMonitorOutputStream> YMonitorOutputStream::streamWithStream(YStream* stream, Object* delegate, uint32_t monitorIncrements)
{
    return make<YMonitorOutputStream>(Ref<YStream>(stream), delegate, monitorIncrements);
}

void YMonitorOutputStream::setDelegate(Object* delegate)
{
    _delegate = delegate;
    _delRespondsToDidWriteData = delegate && delegate->respondsToSelector("stream:didWriteDataOfLength:");
}

void YMonitorOutputStream::writeBytes(const void* bytes, uint32_t length)
{
    if (!_delRespondsToDidWriteData || !_monitorIncrements) {
        YFilterStream::writeBytes(bytes, length);
        return;
    }
    const auto* next = static_cast<const uint8_t*>(bytes);
    Ref<YMonitorOutputStream> protect(this); // the delegate may drop the last reference
    detail::transferInSteps(length, _monitorIncrements, _counter, _length,
        [&](uint32_t done, uint32_t chunk) {
            YFilterStream::writeBytes(next + done, chunk);
            return chunk;
        },
        [&] {
            if (_delRespondsToDidWriteData)
                send(_delegate, "stream:didWriteDataOfLength:", static_cast<YStream*>(this), _length);
        });
}

} // namespace yk
