#include <Yarkit/YJobCenter.h>

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/YMainThreadJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/system/Notification.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/threads/ConditionLocker.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>

#include "jobs/JobNotices.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <cxxabi.h>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace yk {

YK_DEFINE_CLASS(YJobCenter);

// The center's activation notices travel through the main-thread messaging as a
// postNotification: sent to the default notification center.
YK_DEFINE_CATEGORY(NotificationCenter, "YJobCenter", [](MethodListBuilder& c) {
    c.method("postNotification:", &NotificationCenter::postNotification);
});

const char YJobCenterDidActivateNotification[] = "YJobCenterDidActivateNotification";
const char YJobCenterDidDeactivateNotification[] = "YJobCenterDidDeactivateNotification";

namespace {

const char shouldAddJob[] = "jobCenter:shouldAddJob:withWaitingJobs:runningJobs:";
const char shouldExecuteJob[] = "jobCenter:shouldExecuteJob:withRunningJobs:";

template <typename Jobs>
Ref<Array> arrayOf(const Jobs& jobs)
{
    return make<Array>(std::vector<Ref<Object>>(jobs.begin(), jobs.end()));
}

// The notice's name as a string, made once for the names the center posts.
Ref<String> noticeName(const char* name)
{
    static const Ref<String> names[] = { String::withUTF8(YJobWillBeginNotification), String::withUTF8(YJobDidEndNotification),
        String::withUTF8(YJobDidCancelNotification), String::withUTF8(YJobExceptionDidOccurNotification),
        String::withUTF8(YJobCenterDidActivateNotification), String::withUTF8(YJobCenterDidDeactivateNotification) };
    static const char* const constants[] = { YJobWillBeginNotification, YJobDidEndNotification, YJobDidCancelNotification,
        YJobExceptionDidOccurNotification, YJobCenterDidActivateNotification, YJobCenterDidDeactivateNotification };
    for (size_t i = 0; i < std::size(constants); ++i) {
        if (constants[i] == name || !std::strcmp(constants[i], name))
            return names[i];
    }
    return String::withUTF8(name);
}

// Logs what a thread of the center caught and cannot pass on.
void logIgnored(const char* what)
{
    try {
        throw;
    } catch (abi::__forced_unwind&) {
        throw; // thread cancellation must unwind through
    } catch (const Exception& exception) {
        log("%s.  Ignored.  Exception: %@", what, static_cast<const Object*>(&exception));
    } catch (const std::exception& exception) {
        log("%s.  Ignored.  Exception: %s", what, exception.what());
    } catch (...) {
        log("%s.  Ignored.  A thrown object that is not an exception.", what);
    }
}

} // namespace

YJobCenter::YJobCenter()
    : _waitingJobsLock(make<ConditionLock>(0))
    , _runningJobsLock(make<Lock>())
{
}

YJobCenter::~YJobCenter()
{
    NotificationCenter::defaultCenter()->removeObserver(this);
}

Ref<YJobCenter> YJobCenter::jobCenter()
{
    auto center = make<YJobCenter>();
    center->setupWatchThread();
    return center;
}

YJobCenter* YJobCenter::defaultCenter()
{
    static YJobCenter* const center = jobCenter().leakRef(); // lives for the process
    return center;
}

YJobCenter* YJobCenter::mainThreadCenter()
{
    return YMainThreadJobCenter::defaultCenter();
}

void YJobCenter::registerRunLoopModes(const Array* modes)
{
    YMainThreadJobCenter::defaultCenter()->registerRunLoopModes(modes);
}

void YJobCenter::setDelegate(Object* delegate)
{
    if (Object* current = this->delegate())
        removeObserver(current);
    _delegate.store(delegate, std::memory_order_release);
    uint8_t bits = 0;
    if (delegate) {
        addObserver(delegate);
        if (delegate->respondsToSelector(shouldAddJob))
            bits |= DelRespondsToShouldAddJob;
        if (delegate->respondsToSelector(shouldExecuteJob))
            bits |= DelRespondsToShouldExecuteJob;
    }
    uint8_t flags = _gjcf.load(std::memory_order_acquire);
    while (!_gjcf.compare_exchange_weak(flags, (flags & HasNotified) | bits, std::memory_order_acq_rel)) { }
}

bool YJobCenter::hasWaitingJobs() const
{
    Locker guard(*_waitingJobsLock);
    return !_waitingJobs.empty();
}

bool YJobCenter::hasRunningJobs() const
{
    Locker guard(*_runningJobsLock);
    return !_runningJobs.empty();
}

bool YJobCenter::jobMatches(const YJob* job, Object* target, Selector selector, Object* sender)
{
    if (!target && !selector && !sender)
        return false;
    if (target && !target->isEqual(job->target()))
        return false;
    if (selector && selector != job->selector())
        return false;
    return !sender || sender->isEqual(job->sender());
}

bool YJobCenter::hasWaitingJobsMatchingTarget(Object* target, Selector selector, Object* sender) const
{
    Locker guard(*_waitingJobsLock);
    return std::any_of(_waitingJobs.begin(), _waitingJobs.end(), [&](const Ref<YJob>& job) { return jobMatches(job.get(), target, selector, sender); });
}

bool YJobCenter::hasRunningJobsMatchingTarget(Object* target, Selector selector, Object* sender) const
{
    Locker guard(*_runningJobsLock);
    return std::any_of(_runningJobs.begin(), _runningJobs.end(), [&](const Ref<YJob>& job) { return jobMatches(job.get(), target, selector, sender); });
}

std::vector<Ref<YJob>> YJobCenter::waitingJobs() const
{
    Locker guard(*_waitingJobsLock);
    return { _waitingJobs.begin(), _waitingJobs.end() };
}

std::vector<Ref<YJob>> YJobCenter::runningJobs() const
{
    Locker guard(*_runningJobsLock);
    return _runningJobs;
}

bool YJobCenter::postJob(YJob* job, bool allowDuplication, Object* sender)
{
    if (!job)
        return false;
    if (sender)
        job->setSender(sender);
    ConditionLocker guard(*_waitingJobsLock);
    bool accepted = true;
    if (_gjcf.load(std::memory_order_acquire) & DelRespondsToShouldAddJob) {
        auto waiting = arrayOf(_waitingJobs);
        Ref<Array> running;
        {
            Locker runningGuard(*_runningJobsLock);
            running = arrayOf(_runningJobs);
        }
        if (Object* delegate = this->delegate())
            accepted = send<bool>(delegate, shouldAddJob, this, job, waiting, running);
    }
    if (accepted && !allowDuplication)
        accepted = std::none_of(_waitingJobs.begin(), _waitingJobs.end(), [&](const Ref<YJob>& waiting) { return waiting->isEqual(job); });
    if (accepted) {
        _waitingJobs.emplace_back(job);
        guard.setCondition(1);
    }
    return accepted;
}

void YJobCenter::notifyCancelled(const std::vector<Ref<YJob>>& jobs, bool newestFirst)
{
    for (size_t i = 0; i < jobs.size(); ++i)
        notifyJobObserversOfName(YJobDidCancelNotification, jobs[newestFirst ? jobs.size() - 1 - i : i].get(), nullptr);
}

bool YJobCenter::removeJob(YJob* job)
{
    if (!job)
        return false;
    Ref<YJob> removed;
    {
        Locker guard(*_waitingJobsLock);
        auto found = std::find_if(_waitingJobs.begin(), _waitingJobs.end(), [&](const Ref<YJob>& waiting) { return waiting.get() == job; });
        if (found == _waitingJobs.end())
            return false;
        removed = std::move(*found);
        _waitingJobs.erase(found);
    }
    notifyJobObserversOfName(YJobDidCancelNotification, removed.get(), nullptr);
    return true;
}

void YJobCenter::removeWaitingJobsMatchingTarget(Object* target, Selector selector, Object* sender)
{
    std::vector<Ref<YJob>> removed; // newest first, as the list is walked from its end
    {
        Locker guard(*_waitingJobsLock);
        for (size_t i = _waitingJobs.size(); i-- > 0;) {
            if (!jobMatches(_waitingJobs[i].get(), target, selector, sender))
                continue;
            removed.push_back(std::move(_waitingJobs[i]));
            _waitingJobs.erase(_waitingJobs.begin() + static_cast<ptrdiff_t>(i));
        }
    }
    notifyCancelled(removed, true); // so the oldest job is told first
}

void YJobCenter::removeAllWaitingJobs()
{
    std::vector<Ref<YJob>> removed;
    {
        ConditionLocker guard(*_waitingJobsLock);
        removed.assign(std::make_move_iterator(_waitingJobs.begin()), std::make_move_iterator(_waitingJobs.end()));
        _waitingJobs.clear();
        guard.setCondition(0);
    }
    notifyCancelled(removed, true); // the newest job is told first
}

void YJobCenter::abortAllRunningJobs()
{
    Locker guard(*_runningJobsLock);
    for (auto& job : _runningJobs)
        job->abort();
}

void YJobCenter::addObserver(Object* observer)
{
    if (!observer)
        return;
    auto* center = NotificationCenter::defaultCenter();
    if (observer->respondsToSelector("jobCenterDidActivate:"))
        center->addObserver(observer, "jobCenterDidActivate:", YJobCenterDidActivateNotification, this);
    if (observer->respondsToSelector("jobCenterDidDeactivate:"))
        center->addObserver(observer, "jobCenterDidDeactivate:", YJobCenterDidDeactivateNotification, this);
}

void YJobCenter::removeObserver(Object* observer)
{
    if (observer)
        NotificationCenter::defaultCenter()->removeObserver(observer, nullptr, this);
}

void YJobCenter::setupWatchThread()
{
    std::thread([center = Ref<YJobCenter>(this)] { center->doExecuteJobsForever(); }).detach();
}

void YJobCenter::doExecuteJobsUntilEmpty()
{
    _doExecuteJobsUntilEmpty(true);
}

void YJobCenter::doExecuteJobsForever()
{
    _doExecuteJobsUntilEmpty(false);
}

bool YJobCenter::mayStart(YJob* job, Ref<Array>& running, bool askDelegate)
{
    // The snapshot of the running list is made once per pass, and only when someone asks.
    if (!running)
        running = arrayOf(_runningJobs);
    auto ask = [&](Object* whom) {
        try {
            return send<bool>(whom, shouldExecuteJob, this, job, running.get());
        } catch (const Exception& exception) {
            log("Exception raised during invoking -[%s %s].  Ignored.  Exception: %@", whom->classObject()->name().c_str(), shouldExecuteJob,
                static_cast<const Object*>(&exception));
            return false;
        }
    };
    Object* sender = job->sender();
    if (sender && sender->respondsToSelector(shouldExecuteJob) && !ask(sender))
        return false;
    if (!askDelegate)
        return true;
    Object* delegate = this->delegate();
    return !delegate || ask(delegate);
}

YJobCenter::Pass YJobCenter::choose(bool untilEmpty, bool askHeldBack)
{
    Pass pass;
    // In until-empty mode the lock is taken whatever its condition and the condition read
    // under it: waiting for condition 1 while another thread holds the lock would hang when
    // that thread leaves it at 0 (removeAllWaitingJobs), until the next post.
    if (untilEmpty) {
        _waitingJobsLock->lock();
        if (_waitingJobsLock->condition() != 1 && !(askHeldBack && !_waitingJobs.empty())) {
            _waitingJobsLock->unlock();
            pass.leave = true;
            return pass;
        }
    } else if (!_waitingJobsLock->tryLockWhenCondition(1)) {
        _waitingJobsLock->lockWhenCondition(1);
    }
    ConditionLocker guard(*_waitingJobsLock, std::adopt_lock);
    Locker runningGuard(*_runningJobsLock);
    if (_waitingJobs.empty()) {
        guard.setCondition(0);
        return pass;
    }
    Ref<Array> running;
    const bool askDelegate = _gjcf.load(std::memory_order_acquire) & DelRespondsToShouldExecuteJob;
    for (size_t i = 0; i < _waitingJobs.size(); ++i) {
        YJob* job = _waitingJobs[i].get();
        Object* sender = job->sender();
        const bool asked = askDelegate || (sender && sender->respondsToSelector(shouldExecuteJob));
        if (asked && !mayStart(job, running, askDelegate))
            continue;
        pass.job = _waitingJobs[i];
        // Read first: a busy center's bit is set, and the line stays shared with the posters.
        if (!(_gjcf.load(std::memory_order_acquire) & HasNotified) && !(_gjcf.fetch_or(HasNotified, std::memory_order_acq_rel) & HasNotified)) {
            pass.activated = true;
            pass.noticeOrder = orderNotice();
        }
        _runningJobs.push_back(pass.job);
        if (i == 0)
            _waitingJobs.pop_front(); // nothing held back, as mostly
        else
            _waitingJobs.erase(_waitingJobs.begin() + static_cast<ptrdiff_t>(i)); // held-back jobs keep their places
        if (!_waitingJobs.empty())
            guard.setCondition(1);
        return pass;
    }
    guard.setCondition(0);
    return pass;
}

void YJobCenter::_doExecuteJobsUntilEmpty(bool untilEmpty, bool askHeldBack)
{
    while (true) {
        Pass pass;
        if (untilEmpty) {
            pass = choose(true, std::exchange(askHeldBack, false)); // only the first pass
            if (pass.leave)
                return;
            if (pass.activated)
                notifyObserversOfName(YJobCenterDidActivateNotification);
            if (pass.noticeOrder)
                pass.noticeOrder.unlock();
        } else {
            // The watch thread survives whatever a vetting method or a notice throws.
            try {
                pass = choose(false, false);
            } catch (...) {
                logIgnored("*** The watch thread of a job center caught an exception");
                continue;
            }
            try {
                if (pass.activated)
                    notifyObserversOfName(YJobCenterDidActivateNotification);
            } catch (...) {
                logIgnored("*** The activation notice of a job center raised an exception");
            }
            if (pass.noticeOrder)
                pass.noticeOrder.unlock();
        }
        if (pass.job)
            executeJob(pass.job.get());
    }
}

std::unique_lock<std::mutex> YJobCenter::orderNotice()
{
    return std::unique_lock<std::mutex>(_noticeLock);
}

void YJobCenter::putBack(YJob* job)
{
    Ref<YJob> protectedJob(job);
    ConditionLocker guard(*_waitingJobsLock);
    {
        Locker runningGuard(*_runningJobsLock);
        auto found = std::find_if(_runningJobs.begin(), _runningJobs.end(), [&](const Ref<YJob>& running) { return running.get() == job; });
        if (found != _runningJobs.end())
            _runningJobs.erase(found);
    }
    _waitingJobs.push_front(protectedJob);
    guard.setCondition(1);
}

void YJobCenter::executeJob(YJob* job)
{
    try {
        std::thread([center = Ref<YJobCenter>(this), job = Ref<YJob>(job)] { center->_doExecuteJob(job.get()); }).detach();
    } catch (const std::system_error& error) {
        // No thread to be had now (EAGAIN): the job waits at the head of the list for the next try.
        log("*** -[%s executeJob:]: cannot start a thread (%s); the job waits.", classObject()->name().c_str(), error.what());
        putBack(job);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void YJobCenter::_doExecuteJob(YJob* job)
{
    Ref<YJob> protectedJob(job);
    auto notify = [&](const char* name, const Exception* exception) {
        try {
            notifyJobObserversOfName(name, job, exception);
        } catch (...) {
            logIgnored("*** A job notice raised an exception");
        }
    };
    notify(YJobWillBeginNotification, nullptr);
    try {
        job->invoke();
    } catch (const Exception& exception) {
        notify(YJobExceptionDidOccurNotification, &exception);
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        // Not an exception object: this thread ends here and the job stays listed as running.
        logIgnored("*** A job's thread ends: its method threw");
        return;
    }
    notify(YJobDidEndNotification, nullptr);
    try {
        removeRunningJobIdenticalTo(job); // the job is out of the list before its deactivation notice can raise
    } catch (...) {
        logIgnored("*** The deactivation notice of a job center raised an exception");
    }
}

void YJobCenter::removeRunningJobIdenticalTo(YJob* job)
{
    bool deactivated = false;
    Ref<YJob> removed;
    std::unique_lock<std::mutex> noticeOrder;
    {
        ConditionLocker guard(*_waitingJobsLock);
        Locker runningGuard(*_runningJobsLock);
        auto found = std::find_if(_runningJobs.begin(), _runningJobs.end(), [&](const Ref<YJob>& running) { return running.get() == job; });
        if (found != _runningJobs.end()) {
            removed = std::move(*found);
            _runningJobs.erase(found);
            guard.setCondition(1); // jobs held back because of it may start now
        }
        if (_waitingJobs.empty()) {
            guard.setCondition(0);
            if (_runningJobs.empty() && (_gjcf.fetch_and(static_cast<uint8_t>(~HasNotified), std::memory_order_acq_rel) & HasNotified)) {
                deactivated = true;
                noticeOrder = orderNotice();
            }
        }
    }
    if (deactivated)
        notifyObserversOfName(YJobCenterDidDeactivateNotification);
}

void YJobCenter::notifyObserversOfName(const char* name)
{
    auto notification = Notification::notificationWithName(noticeName(name), this);
    performSelectorInMainThread(NotificationCenter::defaultCenter(), "postNotification:", notification.get());
}

void YJobCenter::notifyJobObserversOfName(const char* name, YJob* job, const Exception* exception)
{
    const detail::JobNotice* notice = detail::findJobNotice(name);
    Object* told = nullptr;
    if (!notice) {
        log("*** -[%s %s]: illegal name %s", classObject()->name().c_str(), "notifyJobObserversOfName:withJob:exception:", name);
    } else if (Object* sender = job->sender(); sender && sender->respondsToSelector(notice->method)) {
        told = sender;
    } else if (Object* delegate = this->delegate(); delegate && delegate->respondsToSelector(notice->method)) {
        told = delegate;
    }
    auto* center = NotificationCenter::defaultCenter();
    const Ref<String> notificationName = noticeName(name);
    // Most jobs have nobody listening: no notice is made for nobody.
    if (!told && !center->hasObserverFor(notificationName.get(), job))
        return;
    Ref<Dictionary> userInfo;
    if (exception)
        userInfo = Dictionary::dictionaryWithEntries({ { String::withUTF8("NSException"), make<Exception>(*exception) } }); // a copy: the thrown one dies with its handler
    auto notification = Notification::notificationWithName(notificationName, job, userInfo.get());
    if (told)
        send(told, notice->method, notification);
    center->postNotification(notification.get());
}

} // namespace yk
