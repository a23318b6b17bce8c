#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Object.h>

#include <atomic>
#include <chrono>

namespace yk {

class PortMessage;

// A port that wakes the run loops it is added to: an eventfd. A send marks it; the loop's pass
// drains the mark and tells the delegate once, with handleMachMessage: when it responds to
// that, else handlePortMessage:, each with a PortMessage whose ports are this one. Sends made
// before the loop drains merge into one delegate call, so a port carries wake-ups, not data:
// what to do is kept beside it (a job list, a mailbox) and read under its own lock.
//
// A port may be in the loops of several threads; the first loop to drain it tells the delegate.
// The delegate is not retained: clear it before the delegate goes away.
class Port final : public Object {
    YK_OBJECT(Port, Object)
public:
    Port();
    ~Port() override;

    [[nodiscard]] static Ref<Port> port();

    Object* delegate() const { return _delegate.load(std::memory_order_acquire); }
    void setDelegate(Object* delegate) { _delegate.store(delegate, std::memory_order_release); }

    // sendBeforeDate: marks the port; never blocks, whatever the limit. False when the port
    // was invalidated or the mark could not be written.
    [[nodiscard]] bool sendBeforeDate(const Date* limitDate);
    [[nodiscard]] bool send();

    // The port takes no more messages; loops stop telling its delegate.
    void invalidate();
    bool isValid() const { return _valid.load(std::memory_order_acquire); }

    // Called by the run loop.
    int fileDescriptor() const { return _fileDescriptor; }
    // Drains the mark; if there was one, tells the delegate. False when there was nothing.
    bool handleEvent();

private:
    const int _fileDescriptor;
    std::atomic<Object*> _delegate { nullptr };
    std::atomic<bool> _valid { true };
};

} // namespace yk
