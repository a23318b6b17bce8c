#include <Yarkit/YMonitorInputStream.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(YMonitorInputStream);

YMonitorInputStream::~YMonitorInputStream() = default;

uint32_t YMonitorInputStream::readBytes(void* buffer, uint32_t length)
{
    if (!isMonitoring())
        return YFilterStream::readBytes(buffer, length);
    auto* bytes = static_cast<uint8_t*>(buffer);
    return transferInSteps(length, [&](uint32_t done, uint32_t chunk) { return YFilterStream::readBytes(bytes + done, chunk); });
}

} // namespace yk
