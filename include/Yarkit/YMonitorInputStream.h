#pragma once

#include <Yarkit/YFilterStream.h>

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
class YMonitorInputStream : public YFilterStream {
    YK_OBJECT(YMonitorInputStream, YFilterStream)
public:
    explicit YMonitorInputStream(Ref<YStream> stream, Object* delegate = nullptr, uint32_t monitorIncrements = 4096);
    ~YMonitorInputStream() override;

    [[nodiscard]] static Ref<YMonitorInputStream> streamWithStream(YStream* stream, Object* delegate);
    [[nodiscard]] static Ref<YMonitorInputStream> streamWithStream(YStream* stream, Object* delegate, uint32_t monitorIncrements);

    Object* delegate() const { return _delegate; }
    // Not retained.
    void setDelegate(Object* delegate);
    uint32_t monitorIncrements() const { return _monitorIncrements; }
    // Keeps the bytes counted towards the current step; when they already reach the new step,
    // the next step starts from 0.
    void setMonitorIncrements(uint32_t monitorIncrements) { _monitorIncrements = monitorIncrements; }
    uint32_t length() const { return _length; }
    // Restarts the total; the step boundary stays where it was.
    void resetLength() { _length = 0; }

    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;

private:
    Object* _delegate;
    uint32_t _monitorIncrements;
    uint32_t _length { 0 };
    uint32_t _counter { 0 };
    bool _delRespondsToDidReadData { false };
};

} // namespace yk
