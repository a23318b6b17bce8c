#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/runtime/ThreadSafety.h>

namespace yk {

// Posted to the default notification center, with no object, on the thread that detaches the
// first thread through Thread, before that thread starts. Posted once per process.
extern const char NSWillBecomeMultiThreadedNotification[];

// A thread of the process as an object. Every thread has one, created when the thread first
// asks for it (threads started elsewhere included) and kept until the thread ends. The main
// thread is the thread that loaded the library; it is recorded before any other code of the
// library runs and never changes.
class Thread final : public Object {
    YK_OBJECT(Thread, Object)
public:
    // detachNewThreadSelector:toTarget:withObject: sends the selector to the target on a new
    // thread, with the argument when the method takes one, and returns at once. The target and
    // the argument are retained until the thread ends. An exception that escapes the method is
    // logged and ends only that thread. Raises NSInvalidArgumentException, on the calling
    // thread, when the target is null or does not respond to the selector.
    static void detachNewThreadSelector(Selector selector, Object* target, Object* argument);

    // The calling thread's object; it lives as long as the thread.
    static Thread* currentThread();
    static Thread* mainThread();
    // Whether the calling thread is the main thread. Cheap, takes no lock.
    static bool isMainThread();
    // Whether a thread was ever detached through Thread.
    static bool isMultiThreaded();

    // Blocks the calling thread for the interval in seconds; zero, negative and NaN return
    // at once.
    static void sleepForTimeInterval(double seconds);

    // Storage for the thread's own use, made on first use and released with the thread. The
    // dictionary itself is not locked: only its thread should read or change its contents.
    MutableDictionary* threadDictionary();

    // Any thread. Null until set.
    Ref<String> name() const;
    void setName(Ref<String> name);

private:
    Thread();
    ~Thread() override;
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    mutable Mutex _lock;
    Ref<String> _name YK_GUARDED_BY(_lock);
    Ref<MutableDictionary> _threadDictionary YK_GUARDED_BY(_lock);
};

} // namespace yk
