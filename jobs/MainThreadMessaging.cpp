#include <Yarkit/MainThreadMessaging.h>

#include <Yarkit/YConcreteJob.h>
#include <Yarkit/YMainThreadJobCenter.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Exception.h>

namespace yk {

namespace {

// The workers: _performSelectorInMainThread:...:allowDuplication:. Off the main thread each
// posts the job the placeholder makes; on it, each calls at once.

void post(const Ref<YJob>& job, bool allowDuplication)
{
    YMainThreadJobCenter::defaultCenter()->postJob(job.get(), allowDuplication, nullptr);
}

// The forms with up to two objects: no checks; on the main thread, performSelector.
template <typename... Objects>
void performPlain(Object* receiver, Selector selector, bool allowDuplication, Objects*... objects)
{
    if (!Thread::isMainThread()) {
        post(YJob::alloc()->initWithTarget(receiver, selector, objects...), allowDuplication);
        return;
    }
    if (receiver)
        receiver->performSelector(selector, objects...);
}

// The guarded forms: a null selector raises on every thread, a missing method on the main one;
// there the implementation is called directly with the value.
template <typename MakeJob, typename... Values>
void performGuarded(const char* worker, Object* receiver, Selector selector, bool allowDuplication, MakeJob makeJob, Values... values)
{
    if (!selector)
        raise(NSInvalidArgumentException, "Null selector passed to - [%s %s].", receiver ? receiver->classObject()->name().c_str() : "nil", worker);
    if (!Thread::isMainThread()) {
        post(makeJob(), allowDuplication);
        return;
    }
    if (!receiver)
        return;
    if (!receiver->respondsToSelector(selector))
        raise(NSInvalidArgumentException, "Invalid selector passed to - [%s %s].", receiver->classObject()->name().c_str(), worker);
    send(receiver, selector, values...);
}

void performObjects(Object* receiver, Selector selector, Object* object1, Object* object2, Object* object3, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withObject:withObject:withObject:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTarget(receiver, selector, object1, object2, object3); }, object1, object2, object3);
}

void performBool(Object* receiver, Selector selector, bool value, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withBool:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTargetWithBool(receiver, selector, value); }, value);
}

void performInt(Object* receiver, Selector selector, int32_t value, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withInt:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTargetWithInt(receiver, selector, value); }, value);
}

void performIntInt(Object* receiver, Selector selector, int32_t value1, int32_t value2, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withInt:withInt:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTargetWithInt(receiver, selector, value1, value2); }, value1, value2);
}

// The direct call passes the value widened to a double; the queued job passes the float.
void performFloat(Object* receiver, Selector selector, float value, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withFloat:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTargetWithFloat(receiver, selector, value); }, static_cast<double>(value));
}

void performDouble(Object* receiver, Selector selector, double value, bool allowDuplication)
{
    performGuarded("_performSelectorInMainThread:withDouble:allowDuplication:", receiver, selector, allowDuplication,
        [&] { return YJob::alloc()->initWithTargetWithDouble(receiver, selector, value); }, value);
}

} // namespace

void performSelectorInMainThread(Object* receiver, Selector selector) { performPlain(receiver, selector, true); }
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object) { performPlain(receiver, selector, true, object); }
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object1, Object* object2) { performPlain(receiver, selector, true, object1, object2); }
void performSelectorInMainThread(Object* receiver, Selector selector, Object* object1, Object* object2, Object* object3) { performObjects(receiver, selector, object1, object2, object3, true); }
void performSelectorInMainThreadWithBool(Object* receiver, Selector selector, bool value) { performBool(receiver, selector, value, true); }
void performSelectorInMainThreadWithInt(Object* receiver, Selector selector, int32_t value) { performInt(receiver, selector, value, true); }
void performSelectorInMainThreadWithInt(Object* receiver, Selector selector, int32_t value1, int32_t value2) { performIntInt(receiver, selector, value1, value2, true); }
void performSelectorInMainThreadWithFloat(Object* receiver, Selector selector, float value) { performFloat(receiver, selector, value, true); }
void performSelectorInMainThreadWithDouble(Object* receiver, Selector selector, double value) { performDouble(receiver, selector, value, true); }

void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector) { performPlain(receiver, selector, false); }
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object) { performPlain(receiver, selector, false, object); }
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object1, Object* object2) { performPlain(receiver, selector, false, object1, object2); }
void performSelectorInMainThreadIfAbsent(Object* receiver, Selector selector, Object* object1, Object* object2, Object* object3) { performObjects(receiver, selector, object1, object2, object3, false); }
void performSelectorInMainThreadIfAbsentWithBool(Object* receiver, Selector selector, bool value) { performBool(receiver, selector, value, false); }
void performSelectorInMainThreadIfAbsentWithInt(Object* receiver, Selector selector, int32_t value) { performInt(receiver, selector, value, false); }
void performSelectorInMainThreadIfAbsentWithInt(Object* receiver, Selector selector, int32_t value1, int32_t value2) { performIntInt(receiver, selector, value1, value2, false); }
void performSelectorInMainThreadIfAbsentWithFloat(Object* receiver, Selector selector, float value) { performFloat(receiver, selector, value, false); }
void performSelectorInMainThreadIfAbsentWithDouble(Object* receiver, Selector selector, double value) { performDouble(receiver, selector, value, false); }

} // namespace yk
