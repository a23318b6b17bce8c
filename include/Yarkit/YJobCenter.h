#pragma once

#include <Yarkit/YJob.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/ThreadSafety.h>
#include <Yarkit/core/threads/ConditionLock.h>
#include <Yarkit/core/threads/Lock.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace yk {

class Array;
class Exception;

// Posted on the main thread, object the center, when it becomes busy and when it is idle again.
extern const char YJobCenterDidActivateNotification[];
extern const char YJobCenterDidDeactivateNotification[];

// Runs jobs in the background: posts go into a first-in-first-out waiting list; the center's
// one watch thread takes the oldest job that its sender and the delegate let start, moves it to
// the running list and starts a detached thread for it. The center sets no limit of its own:
// the delegate (and each job's sender) holds jobs back through
// jobCenter:shouldExecuteJob:withRunningJobs: and refuses posts through
// jobCenter:shouldAddJob:withWaitingJobs:runningJobs:, both asked with the center's locks
// held, so they must not call back into the same center (a call that does is refused by the
// lock, logged and counts as NO).
//
// Notices: will-begin, exception-did-occur and did-end on the job's thread, did-cancel on the
// thread that cancels, each sent to the job's sender if it implements the method, else to the
// delegate, and posted to the default notification center with the job as object; activation
// and deactivation are posted on the main thread (through the main-thread center, which must be
// prepared first: see YMainThreadJobCenter).
//
// Lock order: _waitingJobsLock (condition 0: nothing can start; 1: work may be possible), then
// _runningJobsLock. The delegate, its cached abilities and the activity bit are atomic, since
// the watch and job threads read them: clear the delegate before it goes away (it is not
// retained). A center's threads never take the process down: a throw that is not a
// yk::Exception ends only its job's thread (the job stays listed as running), and the watch
// thread logs and survives whatever a vetting method or a notice raises.
class YJobCenter : public Object {
    YK_OBJECT(YJobCenter, Object)
public:
    // A new center with its watch thread started; centers live for the whole process.
    [[nodiscard]] static Ref<YJobCenter> jobCenter();
    // The shared background center, made on first use.
    static YJobCenter* defaultCenter();
    // YMainThreadJobCenter::defaultCenter().
    static YJobCenter* mainThreadCenter();
    // +registerRunLoopModes: adds the main-thread center's port to the calling thread's loop.
    static void registerRunLoopModes(const Array* modes);

    // Not retained.
    Object* delegate() const { return _delegate.load(std::memory_order_acquire); }
    void setDelegate(Object* delegate);

    bool hasWaitingJobs() const;
    bool hasRunningJobs() const;
    // Each given criterion must hold: the target and sender by isEqual, the selector by
    // identity. Without any criterion nothing matches.
    bool hasWaitingJobsMatchingTarget(Object* target, Selector selector, Object* sender) const;
    bool hasRunningJobsMatchingTarget(Object* target, Selector selector, Object* sender) const;

    // postJob:, postJobIfAbsent:, postJob:sender:, postJobIfAbsent:sender: True when the job
    // was added. A non-null sender becomes the job's sender first, also when the job is
    // refused. The IfAbsent forms refuse a job equal to a waiting one (running ones are not
    // compared). What the delegate's vetting method raises reaches the caller, locks released.
    bool postJob(YJob* job) { return postJob(job, true, nullptr); }
    bool postJobIfAbsent(YJob* job) { return postJob(job, false, nullptr); }
    bool postJob(YJob* job, Object* sender) { return postJob(job, true, sender); }
    bool postJobIfAbsent(YJob* job, Object* sender) { return postJob(job, false, sender); }
    virtual bool postJob(YJob* job, bool allowDuplication, Object* sender);

    // Removes that very job (not an equal one) from the waiting list; did-cancel follows.
    bool removeJob(YJob* job);
    // Did-cancel goes out oldest first.
    void removeWaitingJobsMatchingTarget(Object* target, Selector selector, Object* sender);
    // Did-cancel goes out newest first.
    void removeAllWaitingJobs();
    // Sends abort to every running job, on this thread, in list order.
    void abortAllRunningJobs();

    // The activation notices (jobCenterDidActivate:, jobCenterDidDeactivate:) through the
    // default notification center; the observer is not retained.
    void addObserver(Object* observer);
    void removeObserver(Object* observer);

    // Copies of the lists, oldest first.
    std::vector<Ref<YJob>> waitingJobs() const;
    std::vector<Ref<YJob>> runningJobs() const;

protected:
    YJobCenter();
    ~YJobCenter() override;
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);

    // Starts the detached watch thread running doExecuteJobsForever.
    virtual void setupWatchThread();
    virtual void doExecuteJobsUntilEmpty();
    virtual void doExecuteJobsForever();
    // Starts a detached thread running the job. When no thread can be made, the job goes back
    // to the head of the waiting list.
    virtual void executeJob(YJob* job);
    // removeRunningJobIdenticalTo: takes a finished job out of the running list; may deactivate.
    virtual void removeRunningJobIdenticalTo(YJob* job);
    // notifyObserversOfName: posts a center notice on the main thread.
    virtual void notifyObserversOfName(const char* name);
    // notifyJobObserversOfName:withJob:exception: tells the sender or the delegate, then posts
    // to the default center, on the calling thread.
    virtual void notifyJobObserversOfName(const char* name, YJob* job, const Exception* exception);

    // _doExecuteJobsUntilEmpty: the watch loop. In until-empty mode it returns once no waiting
    // job can start; otherwise it never returns. With askHeldBack, its first pass looks at the
    // waiting jobs whatever the condition, so jobs held back on an earlier pass are asked anew.
    void _doExecuteJobsUntilEmpty(bool untilEmpty, bool askHeldBack = false);
    // _doExecuteJob: the body of a job's thread.
    void _doExecuteJob(YJob* job);
    // Taken before the waiting lock is released by a change of the activity bit and held until
    // its notice is posted, so that activation and deactivation notices leave in the order of
    // the changes. The main-thread center, whose notices go out on the main thread at once,
    // takes nothing.
    virtual std::unique_lock<std::mutex> orderNotice();

    // The waiting list's lock, for subclasses that post around it.
    ConditionLock& waitingJobsLock() const { return *_waitingJobsLock; }

private:
    enum Flags : uint8_t { HasNotified = 1, DelRespondsToShouldAddJob = 2, DelRespondsToShouldExecuteJob = 4 };

    // One watch pass: the job chosen (or null), whether it activated the center. With
    // untilEmpty it returns without a job when the condition is 0, unless askHeldBack and jobs
    // wait.
    struct Pass {
        Ref<YJob> job;
        bool activated { false };
        bool leave { false };
        std::unique_lock<std::mutex> noticeOrder;
    };
    Pass choose(bool untilEmpty, bool askHeldBack);
    bool mayStart(YJob* job, Ref<Array>& running, bool askDelegate) YK_REQUIRES(*_runningJobsLock);
    void putBack(YJob* job);
    void notifyCancelled(const std::vector<Ref<YJob>>& jobs, bool newestFirst);
    static bool jobMatches(const YJob* job, Object* target, Selector selector, Object* sender);

    // What posters read, apart from the lists the center's threads change on every job.
    std::atomic<Object*> _delegate { nullptr };
    const Ref<ConditionLock> _waitingJobsLock;
    const Ref<Lock> _runningJobsLock;
    std::atomic<uint8_t> _gjcf { 0 };
    alignas(64) std::deque<Ref<YJob>> _waitingJobs YK_GUARDED_BY(*_waitingJobsLock); // taken mostly from the front
    std::vector<Ref<YJob>> _runningJobs YK_GUARDED_BY(*_runningJobsLock);
    std::mutex _noticeLock; // orders the center's notices; guards no field
};

} // namespace yk
