#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Selector.h>

#include <atomic>
#include <cstdint>

namespace yk {

class Array;
class Invocation;
class YConcreteJob;

// Posted with the job as object. The exception notice's user info holds the exception under
// "NSException".
extern const char YJobWillBeginNotification[];
extern const char YJobDidEndNotification[];
extern const char YJobDidCancelNotification[];
extern const char YJobExceptionDidOccurNotification[];

// A deferred message: a target, a selector and zero to three arguments of fixed kinds, which a
// job center queues, runs, cancels or aborts. YJob is the abstract face of a class cluster:
// YJob::alloc() hands out a shared placeholder whose initialisers make the concrete class that
// fits the arguments (see YConcreteJob.h); the jobWith... factories do both steps.
//
// A job also carries a sender (not retained: the object it was posted for, asked before it
// runs and told how it went) and an abort selector, sent to the target without arguments when
// a job that has begun is aborted. Target, object arguments and invocation are retained.
//
// Jobs are not locked; the sender and the two flags may be read and set from any thread.
// invoke and abort decide between them in one atomic step each: an abort racing the start
// either keeps the job from running or sends the abort message, never neither and never both.
class YJob : public Object {
    YK_OBJECT(YJob, Object)
public:
    // +alloc, +allocWithZone: the shared placeholder, whatever the class.
    static YConcreteJob* alloc();

    // +jobWithTarget:selector:... and +jobWithInvocation: a new job of the fitting class.
    [[nodiscard]] static Ref<YJob> jobWithTarget(Object* target, Selector selector);
    [[nodiscard]] static Ref<YJob> jobWithTarget(Object* target, Selector selector, Object* object);
    [[nodiscard]] static Ref<YJob> jobWithTarget(Object* target, Selector selector, Object* object1, Object* object2);
    [[nodiscard]] static Ref<YJob> jobWithTarget(Object* target, Selector selector, Object* object1, Object* object2, Object* object3);
    // jobWithTarget:selector:withObjects:
    [[nodiscard]] static Ref<YJob> jobWithTargetWithObjects(Object* target, Selector selector, const Array* objects);
    [[nodiscard]] static Ref<YJob> jobWithTargetWithBool(Object* target, Selector selector, bool value);
    [[nodiscard]] static Ref<YJob> jobWithTargetWithInt(Object* target, Selector selector, int32_t value);
    [[nodiscard]] static Ref<YJob> jobWithTargetWithInt(Object* target, Selector selector, int32_t value1, int32_t value2);
    [[nodiscard]] static Ref<YJob> jobWithTargetWithFloat(Object* target, Selector selector, float value);
    [[nodiscard]] static Ref<YJob> jobWithTargetWithDouble(Object* target, Selector selector, double value);
    [[nodiscard]] static Ref<YJob> jobWithInvocation(Invocation* invocation);

    // Abstract here: raise NSGenericException "subclass %s (%s) should override %s".
    virtual Object* target() const;
    virtual void setTarget(Object* target);
    virtual Selector selector() const;
    virtual void setSelector(Selector selector);
    // The invocation that runs the job, or null when there is nothing to send.
    virtual Ref<Invocation> invocation() const;

    // Not retained.
    Object* sender() const { return _sender.load(std::memory_order_acquire); }
    void setSender(Object* sender) { _sender.store(sender, std::memory_order_release); }
    Selector abortSelector() const;
    void setAbortSelector(Selector selector);

    // Runs the message unless the job was aborted; may run it again on a second call. What the
    // message (or building its invocation) raises passes to the caller.
    void invoke();
    // The abort message as an invocation without arguments, or null without an abort selector.
    Ref<Invocation> abortInvocation() const;
    // Marks the job aborted; when it has begun, sends the abort message on this thread (again on
    // every further call).
    void abort();

    bool hasExecuted() const { return _gjf.load(std::memory_order_acquire) & HasExecuted; }
    bool hasAborted() const { return _gjf.load(std::memory_order_acquire) & HasAborted; }

    // Registers the observer with the default notification center, object this job, for each
    // of jobWillBegin:, jobDidEnd:, jobDidCancel:, jobExceptionDidOccur: it responds to. Null
    // is ignored; the observer is not retained.
    void addObserver(Object* observer);
    void removeObserver(Object* observer);

protected:
    YJob();
    ~YJob() override;
    // The invocation of selector on target, with no arguments set; null for a null selector.
    // Raises when the target does not implement the selector.
    static Ref<Invocation> invocationFor(Object* target, Selector selector);
    // Sends the job's message, once invoke has decided that it runs: through invocation(), or
    // directly where a class knows its message without building one.
    virtual void sendMessage();

private:
    enum Flags : uint8_t { HasExecuted = 1, HasAborted = 2 };

    std::atomic<Object*> _sender { nullptr };
    std::atomic<const char*> _abortSelector { nullptr };
    std::atomic<uint8_t> _gjf { 0 };
};

} // namespace yk
