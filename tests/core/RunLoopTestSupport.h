#pragma once

// Runs the calling thread's run loop in tests until a condition holds.

#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/RunLoop.h>

#include <chrono>
#include <functional>
#include <string>

namespace yk::test {

// Runs the loop in the mode (passes of at most 10 ms) until done() holds; false when the
// timeout, which only guards against a hang, passed first. A port of its own keeps the mode
// from having nothing to wait for.
inline bool runLoopUntil(const std::function<bool()>& done, const char* mode = kCFRunLoopDefaultMode, std::chrono::milliseconds timeout = std::chrono::seconds(10))
{
    RunLoop* loop = RunLoop::currentRunLoop();
    auto keepAlive = Port::port();
    loop->addPort(keepAlive.get(), mode);
    const auto limit = RunLoop::Clock::now() + timeout;
    bool held = done();
    while (!held && RunLoop::Clock::now() < limit) {
        loop->runMode(mode, RunLoop::Clock::now() + std::chrono::milliseconds(10));
        held = done();
    }
    loop->removePort(keepAlive.get(), mode);
    return held;
}

} // namespace yk::test
