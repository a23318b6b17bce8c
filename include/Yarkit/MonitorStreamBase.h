#pragma once

// What YMonitorInputStream and YMonitorOutputStream share: the delegate (not retained) with
// its notification resolved once when set, the step, the counts, the factories, and the
// moving of bytes in chunks that end on step boundaries.

#include <Yarkit/YFilterStream.h>
#include <Yarkit/core/runtime/Send.h>

#include <algorithm>
#include <cstdint>

namespace yk::detail {

// `Stream` names its notification in `Stream::notificationSelector`.
template <typename Stream>
class MonitorStreamBase : public YFilterStream {
public:
    explicit MonitorStreamBase(Ref<YStream> stream, Object* delegate = nullptr, uint32_t monitorIncrements = 4096)
        : YFilterStream(std::move(stream))
        , _monitorIncrements(monitorIncrements)
    {
        setDelegate(delegate);
    }

    [[nodiscard]] static Ref<Stream> streamWithStream(YStream* stream, Object* delegate, uint32_t monitorIncrements = 4096)
    {
        return make<Stream>(Ref<YStream>(stream), delegate, monitorIncrements);
    }

    Object* delegate() const { return _delegate; }
    // Not retained.
    void setDelegate(Object* delegate)
    {
        _delegate = delegate;
        _delRespondsToNotification = delegate && delegate->respondsToSelector(Stream::notificationSelector);
    }
    uint32_t monitorIncrements() const { return _monitorIncrements; }
    // Keeps the bytes counted towards the current step; when they already reach the new step,
    // the next step starts from 0.
    void setMonitorIncrements(uint32_t monitorIncrements) { _monitorIncrements = monitorIncrements; }
    uint32_t length() const { return _length; }
    // Restarts the total; the step boundary stays where it was.
    void resetLength() { _length = 0; }

protected:
    // Without a delegate that implements the notification, or with a step of 0, transfers are
    // plain and nothing is counted.
    bool isMonitoring() const { return _delRespondsToNotification && _monitorIncrements; }

    // Moves `length` bytes in chunks that end on step boundaries: `transfer(done, chunk)` moves
    // up to `chunk` bytes after the first `done` and returns how many (0 ends the loop). The
    // delegate hears after each chunk that reaches a boundary. The step is read afresh for
    // every chunk, as the delegate may change it; bytes counted beyond a lowered step start
    // the next step from 0, so a chunk is never empty before the end.
    template <typename Transfer>
    uint32_t transferInSteps(uint32_t length, Transfer&& transfer)
    {
        Ref<YFilterStream> protect(this); // the delegate may drop the last reference
        uint32_t done = 0;
        while (done < length) {
            if (_counter >= _monitorIncrements)
                _counter = 0;
            uint32_t room = _monitorIncrements ? _monitorIncrements - _counter : length - done;
            uint32_t n = transfer(done, std::min(length - done, room));
            if (!n)
                break;
            _counter += n;
            bool due = _monitorIncrements && _counter >= _monitorIncrements;
            if (due)
                _counter -= _monitorIncrements;
            done += n;
            _length += n;
            if (due && _delRespondsToNotification)
                send(_delegate, Stream::notificationSelector, static_cast<YStream*>(this), _length);
        }
        return done;
    }

private:
    Object* _delegate { nullptr };
    uint32_t _monitorIncrements;
    uint32_t _length { 0 };
    uint32_t _counter { 0 };
    bool _delRespondsToNotification { false };
};

} // namespace yk::detail
