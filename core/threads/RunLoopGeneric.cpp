// The run loop's generic back end: the thread sleeps in epoll_wait on the loop's own epoll
// descriptor, woken by a port or source of the mode, by wakeUp's eventfd or by the timerfd.

#include <Yarkit/core/threads/RunLoop.h>

#include <cstdint>
#include <unistd.h>
#include <utility>

namespace yk {

struct RunLoop::BackEnd { };
void RunLoop::BackEndDeleter::operator()(BackEnd* backEnd) const { delete backEnd; }

void RunLoop::startBackEnd() { }
void RunLoop::stopBackEnd() { }
void RunLoop::watchedDescriptorsChanged() { } // the epoll set is all there is

RunLoop::ReadyDescriptors RunLoop::readyAtPassStart(const std::string& mode, bool)
{
    syncInterest(mode);
    return readyDescriptors(0);
}

RunLoop::ReadyDescriptors RunLoop::waitForEvents(const std::string& mode, Clock::time_point limit)
{
    syncInterest(mode);
    armTimer(mode, limit);
    return readyDescriptors(std::exchange(_wokenOnLoopThread, false) ? 0 : -1);
}

void RunLoop::wakeUp()
{
    // On the loop's own thread the loop is not waiting; a flag, cheaper than the eventfd, keeps
    // the pass from sleeping on what an observer about to wait added.
    if (isLoopThread()) {
        _wokenOnLoopThread = true;
        return;
    }
    if (_wakePending.exchange(true, std::memory_order_acq_rel))
        return; // written and not drained yet: the loop wakes anyway
    const uint64_t one = 1;
    [[maybe_unused]] auto ignored = write(_wakeFd, &one, sizeof one);
}

} // namespace yk
