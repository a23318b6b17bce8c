#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

#include <atomic>

namespace yk {

class Array;
class ConditionLock;

// One pending request of the main-thread perform: a message with one argument, the run-loop
// modes it may run in and, when the caller waits, the condition lock it waits on (condition 1
// once the request is done). Target, argument, modes and lock are retained until the request
// has run or the holder is cleaned up. Used on the main thread once handed over.
class YKPerformHolder final : public Object {
    YK_OBJECT(YKPerformHolder, Object)
public:
    // initWithTarget:selector:argument:modes:lock:
    YKPerformHolder(Object* target, Selector selector, Object* argument, Array* modes, ConditionLock* lock);
    // Sends cleanup: a waiter is released at the latest when the holder goes.
    ~YKPerformHolder() override;

    Object* target() const { return _target.get(); }
    Selector selector() const { return _selector; }
    Object* argument() const { return _argument.get(); }
    Array* modes() const { return _modes.get(); }

    // Runs the request once: cancels its other scheduled fires in the current run loop, sends
    // the message, cleans up. If the message raises, the exception passes and cleanup waits
    // for the holder's end. Nothing once fired or cleaned up.
    void fire();
    // Releases everything and signals the waiter; a second call does nothing.
    void cleanup();
    // A flag of the waiting caller's, set when the request is done, just before the lock is
    // signalled: a caller that sees it set returns without the lock. It is the only thing
    // cleanup touches of the caller's. Not owned.
    void setDoneFlag(std::atomic<bool>* done) { _done = done; }

private:
    Ref<Object> _target;
    Selector _selector;
    Ref<Object> _argument;
    Ref<Array> _modes;
    Ref<ConditionLock> _lock;
    std::atomic<bool>* _done { nullptr };
};

} // namespace yk
