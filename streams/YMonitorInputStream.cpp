#include <Yarkit/YMonitorInputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Send.h>

#include "streams/MonitorSteps.h"

namespace yk {

YK_DEFINE_CLASS(YMonitorInputStream);

YMonitorInputStream::YMonitorInputStream(Ref<YStream> stream, Object* delegate, uint32_t monitorIncrements)
    : YFilterStream(std::move(stream))
    , _monitorIncrements(monitorIncrements)
{
    setDelegate(delegate);
}

YMonitorInputStream::~YMonitorInputStream() = default;

Ref<YMonitorInputStream> YMonitorInputStream::streamWithStream(YStream* stream, Object* delegate)
{
    return make<YMonitorInputStream>(Ref<YStream>(stream), delegate);
}

Ref<YMonitorInputStream> YMonitorInputStream::streamWithStream(YStream* stream, Object* delegate, uint32_t monitorIncrements)
{
    return make<YMonitorInputStream>(Ref<YStream>(stream), delegate, monitorIncrements);
}

void YMonitorInputStream::setDelegate(Object* delegate)
{
    _delegate = delegate;
    _delRespondsToDidReadData = delegate && delegate->respondsToSelector("stream:didReadDataOfLength:");
}

uint32_t YMonitorInputStream::readBytes(void* buffer, uint32_t length)
{
    if (!_delRespondsToDidReadData || !_monitorIncrements)
        return YFilterStream::readBytes(buffer, length);
    auto* bytes = static_cast<uint8_t*>(buffer);
    Ref<YMonitorInputStream> protect(this); // the delegate may drop the last reference
    return detail::transferInSteps(length, _monitorIncrements, _counter, _length,
        [&](uint32_t done, uint32_t chunk) { return YFilterStream::readBytes(bytes + done, chunk); },
        [&] {
            if (_delRespondsToDidReadData)
                send(_delegate, "stream:didReadDataOfLength:", static_cast<YStream*>(this), _length);
        });
}

} // namespace yk
