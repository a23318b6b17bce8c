#pragma once

#include <Yarkit/YJobCenter.h>

#include <atomic>
#include <cstdint>

namespace yk {

class Port;
class PortMessage;

// The job center whose jobs run on the main thread, one at a time, inside the main run loop. A
// post from any thread wakes the main loop through a port in its common modes; the main thread
// then runs the waiting jobs until none can start. It starts no threads, sends no job notices
// (not even did-cancel) and sends its activation notices only when it has a delegate.
//
// There is one per process, prepared on the main thread by the first use of the class there;
// a first use on another thread raises, and so does every later use until the main thread
// prepares it. A job that runs the main loop again (a modal loop) runs no other job inside it;
// jobs posted meanwhile run when it returns. A job held back by its sender or the delegate is
// asked again on the loop's next pass.
class YMainThreadJobCenter final : public YJobCenter {
    YK_OBJECT(YMainThreadJobCenter, YJobCenter)
public:
    ~YMainThreadJobCenter() override;

    // +initialize: prepares the center on the class's first use, once. Every class-side entry
    // calls it.
    static void ensureInitialized();
    // Makes the shared center and adds its port to the main loop's common modes. Raises
    // NSInternalInconsistencyException off the main thread. Nothing once prepared.
    static void prepareForMainThreadCenter();
    // The shared center. Raises NSInternalInconsistencyException until it is prepared.
    static YMainThreadJobCenter* defaultCenter();

    // Adds the port to the calling thread's run loop in each mode.
    void registerRunLoopModes(const Array* modes);

    // Sends one port message when the job was added and the main thread is not running jobs.
    bool postJob(YJob* job, bool allowDuplication, Object* sender) override;
    using YJobCenter::postJob;

    // The port's delegate method, on the main thread: runs the waiting jobs unless a run is
    // already under way.
    void handlePortMessage(PortMessage* message);

protected:
    void setupWatchThread() override { }
    void doExecuteJobsUntilEmpty() override;
    void executeJob(YJob* job) override;
    void notifyObserversOfName(const char* name) override;
    void notifyJobObserversOfName(const char*, YJob*, const Exception*) override { }
    std::unique_lock<std::mutex> orderNotice() override { return {}; }

private:
    YMainThreadJobCenter();
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    void _firePortMessage();

    Ref<Port> _port;
    Ref<PortMessage> _portMessage;
    // How deep the main thread is in running jobs; posters read it to skip the port message.
    std::atomic<int32_t> _disabled { 0 };
    // Set from a send until the main thread takes the port message: posts meanwhile add to the
    // list and skip the write, as the drain that message starts will find their jobs.
    std::atomic<bool> _portMessagePending { false };
};

} // namespace yk
