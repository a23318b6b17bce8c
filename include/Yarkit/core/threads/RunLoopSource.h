#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <atomic>
#include <cstdint>
#include <functional>

namespace yk {

// An input source of a run loop: either a file descriptor the loop watches for input (the
// callback runs when it is readable and must consume what it reads, or it is called again), or
// a signalled source, which runs once after each signal (signal, then wake the loop). Sources of
// one pass run in increasing order. Any thread may signal or invalidate a source.
class RunLoopSource final : public Object {
    YK_OBJECT(RunLoopSource, Object)
public:
    using Callback = std::function<void()>;

    // A signalled source.
    RunLoopSource(int32_t order, Callback callback);
    // A source for a descriptor, which stays the caller's to close after the source has left
    // every loop.
    [[nodiscard]] static Ref<RunLoopSource> sourceWithFileDescriptor(int fileDescriptor, int32_t order, Callback callback);

    // -1 for a signalled source.
    int fileDescriptor() const { return _fileDescriptor; }
    int32_t order() const { return _order; }

    void signal() { _signalled.store(true, std::memory_order_release); }
    bool isSignalled() const { return _signalled.load(std::memory_order_acquire); }
    bool isValid() const { return _valid.load(std::memory_order_acquire); }
    void invalidate() { _valid.store(false, std::memory_order_release); }

    // Called by the run loop: clears the signal and runs the callback.
    void perform();

private:
    RunLoopSource(int fileDescriptor, int32_t order, Callback callback);
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    const int _fileDescriptor;
    const int32_t _order;
    const Callback _callback;
    std::atomic<bool> _signalled { false };
    std::atomic<bool> _valid { true };
};

} // namespace yk
