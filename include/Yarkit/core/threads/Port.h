#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

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
    bool isValid() const { return _sendState.valid.load(std::memory_order_acquire); }

    // Called by the run loop.
    int fileDescriptor() const { return _sendState.fileDescriptor; }
    // Drains the mark; if there was one, tells the delegate. False when there was nothing.
    bool handleEvent();

private:
    // The method the delegate answers to (handleMachMessage:, handlePortMessage: or none), kept
    // for its class as the method tables stand: a port's delegate seldom changes, and the
    // lookups cost more than the rest of the event.
    struct Handler {
        const Class* cls { nullptr };
        uint64_t generation { 0 };
        Selector selector;
    };
    Selector handlerFor(const Object* delegate);

    std::atomic<Object*> _delegate { nullptr };
    Mutex _handlerLock;
    Handler _handler YK_GUARDED_BY(_handlerLock);
    // What a send reads, on a cache line of its own: the loop's thread retains and releases the
    // port as it handles it, which would otherwise take the line from the sending threads.
    struct alignas(64) SendState {
        int fileDescriptor;
        std::atomic<bool> valid { true };
    } _sendState;
};

} // namespace yk
