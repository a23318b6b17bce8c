#include <Yarkit/YMonitorOutputStream.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(YMonitorOutputStream);

YMonitorOutputStream::~YMonitorOutputStream() = default;

void YMonitorOutputStream::writeBytes(const void* bytes, uint32_t length)
{
    if (!isMonitoring()) {
        YFilterStream::writeBytes(bytes, length);
        return;
    }
    const auto* next = static_cast<const uint8_t*>(bytes);
    transferInSteps(length, [&](uint32_t done, uint32_t chunk) {
        YFilterStream::writeBytes(next + done, chunk);
        return chunk;
    });
}

} // namespace yk
