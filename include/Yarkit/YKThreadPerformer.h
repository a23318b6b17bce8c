#pragma once

#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

#include <vector>

namespace yk {

class Port;
class PortMessage;
class YKPerformHolder;

// The main thread's mailbox for YK_performSelectorOnMainThread: any thread adds a holder and
// sends a port message; on the main thread the port's delegate call hands every queued holder
// to the run loop, which fires each in its modes. Merged or lost wake-ups lose nothing, since
// one drain takes all holders queued by then.
class YKThreadPerformer final : public Object {
    YK_OBJECT(YKThreadPerformer, Object)
public:
    // Creates the shared performer with its port in the calling thread's run loop (common
    // modes); called once, on the main thread, when the library loads.
    static void createMainThreadPerformer();
    // Raises NSInternalInconsistencyException "s_mainThreadPerformer == nil" before it exists.
    static YKThreadPerformer* mainThreadPerformer();

    // Any thread: queues the holder and wakes the performer's loop without waiting.
    void addHolder(YKPerformHolder* holder);
    // The port's delegate method, on the performer's thread.
    void handleMachMessage(PortMessage* message);

private:
    YKThreadPerformer();
    ~YKThreadPerformer() override;
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    Ref<Port> _port;
    Mutex _lock;
    std::vector<Ref<YKPerformHolder>> _holders YK_GUARDED_BY(_lock);
    // The performer's thread only: the holders of the drain under way. Swapped with _holders and
    // emptied after, so both keep their room and queueing a holder allocates nothing.
    std::vector<Ref<YKPerformHolder>> _draining;
};

} // namespace yk
