#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <atomic>
#include <cstdint>

namespace yk {

// Masks of the exception handler, with the platform's values. Of these the core acts on
// NSLogOtherExceptionMask: while it is set, every yk::Exception raise is logged.
enum : uint32_t {
    NSLogUncaughtExceptionMask = 1 << 0,
    NSHandleUncaughtExceptionMask = 1 << 1,
    NSLogUncaughtSystemExceptionMask = 1 << 2,
    NSHandleUncaughtSystemExceptionMask = 1 << 3,
    NSLogUncaughtRuntimeErrorMask = 1 << 4,
    NSHandleUncaughtRuntimeErrorMask = 1 << 5,
    NSLogTopLevelExceptionMask = 1 << 6,
    NSHandleTopLevelExceptionMask = 1 << 7,
    NSLogOtherExceptionMask = 1 << 8,
    NSHandleOtherExceptionMask = 1 << 9,
};
enum : uint32_t {
    NSHangOnUncaughtExceptionMask = 1 << 0,
    NSHangOnUncaughtSystemExceptionMask = 1 << 1,
    NSHangOnUncaughtRuntimeErrorMask = 1 << 2,
    NSHangOnTopLevelExceptionMask = 1 << 3,
    NSHangOnOtherExceptionMask = 1 << 4,
};

// The process's exception handler: which raised exceptions are logged, handled or hung on.
// Both masks start at 0. The masks are atomic, so any thread may read and set them.
class ExceptionHandler final : public Object {
    YK_OBJECT(ExceptionHandler, Object)
public:
    ExceptionHandler() = default;
    // The shared handler, for the whole process.
    static ExceptionHandler* defaultExceptionHandler();

    uint32_t exceptionHandlingMask() const { return _handlingMask.load(std::memory_order_relaxed); }
    void setExceptionHandlingMask(uint32_t mask) { _handlingMask.store(mask, std::memory_order_relaxed); }
    uint32_t exceptionHangingMask() const { return _hangingMask.load(std::memory_order_relaxed); }
    void setExceptionHangingMask(uint32_t mask) { _hangingMask.store(mask, std::memory_order_relaxed); }

private:
    std::atomic<uint32_t> _handlingMask { 0 };
    std::atomic<uint32_t> _hangingMask { 0 };
};

} // namespace yk
