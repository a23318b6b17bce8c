#include <Yarkit/core/threads/Thread.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/system/NotificationCenter.h> // reaches up: the first detached thread is announced

#include "core/runtime/RuntimeErrors.h"

#include <atomic>
#include <chrono>
#include <cxxabi.h>
#include <exception>
#include <pthread.h>
#include <thread>

namespace yk {

YK_DEFINE_CLASS(Thread);

const char NSWillBecomeMultiThreadedNotification[] = "NSWillBecomeMultiThreadedNotification";

namespace {

// The calling thread's object, made on first use; released when the thread ends.
thread_local Ref<Thread> currentThreadObject;

// Written once while the library loads, before any other thread can exist; read without a lock.
// Both are constant-initialised, so no dynamic initialiser can run after recordMainThread and
// reset them (std::thread::id has no constexpr constructor, hence pthread_t).
Thread* mainThreadObject = nullptr;
pthread_t mainThreadHandle {};

std::atomic<bool> announcedMultiThreaded { false };
std::atomic<bool> multiThreaded { false };

// Runs before the library's other static initialisers, on the thread that loads the library.
[[gnu::constructor(101)]] void recordMainThread()
{
    mainThreadHandle = pthread_self();
    // One reference more than the thread-local one, so the main thread's object outlives the
    // main thread's thread-local storage during exit.
    mainThreadObject = Ref<Thread>(Thread::currentThread()).leakRef();
}

void becomeMultiThreaded()
{
    if (announcedMultiThreaded.exchange(true))
        return;
    NotificationCenter::defaultCenter()->postNotificationName(NSWillBecomeMultiThreadedNotification, nullptr);
    multiThreaded.store(true);
}

// The body of a detached thread. Errors are logged, never raised: there is no caller.
void runDetached(Selector selector, Object* target, Object* argument)
{
    try {
        sendWithOptionalObject(target, selector, argument);
    } catch (abi::__forced_unwind&) {
        throw; // thread cancellation must unwind through
    } catch (const Exception& exception) {
        log("*** %s on a detached thread raised an exception.  Ignored.  Exception: %@", detail::methodName(target, selector.name()).c_str(),
            static_cast<const Object*>(&exception));
    } catch (const std::exception& exception) {
        log("*** %s on a detached thread raised an exception.  Ignored.  Exception: %s", detail::methodName(target, selector.name()).c_str(), exception.what());
    } catch (...) {
        log("*** %s on a detached thread threw an object that is not an exception.  Ignored.", detail::methodName(target, selector.name()).c_str());
    }
}

} // namespace

Thread::Thread() = default;
Thread::~Thread() = default;

void Thread::detachNewThreadSelector(Selector selector, Object* target, Object* argument)
{
    if (!target || !target->respondsToSelector(selector)) {
        detail::raiseInvalidArgument("*** +[Thread detachNewThreadSelector:toTarget:withObject:]: target does not implement selector (*** "
            + detail::methodName(target, selector.name()) + ")");
    }
    becomeMultiThreaded();
    std::thread([thread = make<Thread>(), selector, target = Ref<Object>(target), argument = Ref<Object>(argument)]() mutable {
        currentThreadObject = std::move(thread);
        runDetached(selector, target.get(), argument.get());
        // Released here, on the thread, as the method's caller would.
        target = nullptr;
        argument = nullptr;
    }).detach();
}

Thread* Thread::currentThread()
{
    if (!currentThreadObject)
        currentThreadObject = make<Thread>();
    return currentThreadObject.get();
}

Thread* Thread::mainThread()
{
    return mainThreadObject;
}

bool Thread::isMainThread()
{
    return mainThreadObject && pthread_equal(pthread_self(), mainThreadHandle);
}

bool Thread::isMultiThreaded()
{
    return multiThreaded.load();
}

void Thread::sleepForTimeInterval(double seconds)
{
    if (!(seconds > 0))
        return;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

MutableDictionary* Thread::threadDictionary()
{
    Locker guard(_lock);
    if (!_threadDictionary)
        _threadDictionary = make<MutableDictionary>();
    return _threadDictionary.get();
}

Ref<String> Thread::name() const
{
    Locker guard(_lock);
    return _name;
}

void Thread::setName(Ref<String> name)
{
    Locker guard(_lock);
    _name = std::move(name);
}

} // namespace yk
