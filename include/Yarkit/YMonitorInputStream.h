#pragma once

#include <Yarkit/MonitorStreamBase.h>

namespace yk {

// Counts the bytes read through it and tells a delegate each time another step (4096 bytes
// by default) has passed, with the running total:
//     - (void)stream:(YStream*)stream didReadDataOfLength:(uint32_t)length
// The delegate is not retained: clear it before it goes. It is called on the reading thread,
// in the middle of the read; it may change or clear the delegate.
//
// With a delegate that implements the method (and a step above 0), a read is made in chunks
// that end on step boundaries and goes on until the request is complete or the stream ends;
// otherwise it is one plain read and nothing is counted. The total is 32 bits and wraps at
// 4 GiB.
class YMonitorInputStream : public detail::MonitorStreamBase<YMonitorInputStream> {
    YK_OBJECT(YMonitorInputStream, YFilterStream)
public:
    static constexpr char notificationSelector[] = "stream:didReadDataOfLength:";

    using MonitorStreamBase::MonitorStreamBase;
    ~YMonitorInputStream() override;

    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
};

} // namespace yk
