#pragma once

#include <Yarkit/MonitorStreamBase.h>

namespace yk {

// Counts the bytes written through it and tells a delegate each time another step (4096 bytes
// by default) has passed, with the running total:
//     - (void)stream:(YStream*)stream didWriteDataOfLength:(uint32_t)length
// The delegate is not retained: clear it before it goes. It is called on the writing thread,
// in the middle of the write; it may change or clear the delegate.
//
// With a delegate that implements the method (and a step above 0), a write is split into
// chunks that end on step boundaries and every chunk is written; otherwise it is one plain
// write and nothing is counted. The total is 32 bits and wraps at 4 GiB.
class YMonitorOutputStream : public detail::MonitorStreamBase<YMonitorOutputStream> {
    YK_OBJECT(YMonitorOutputStream, YFilterStream)
public:
    static constexpr char notificationSelector[] = "stream:didWriteDataOfLength:";

    using MonitorStreamBase::MonitorStreamBase;
    ~YMonitorOutputStream() override;

    void writeBytes(const void* bytes, uint32_t length) override;
};

} // namespace yk
