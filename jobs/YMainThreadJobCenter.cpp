#include <Yarkit/YMainThreadJobCenter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/threads/Port.h>
#include <Yarkit/core/threads/PortMessage.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/Thread.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>

namespace yk {

YK_DEFINE_CLASS(YMainThreadJobCenter, [](MethodListBuilder& c) {
    c.method("handlePortMessage:", &YMainThreadJobCenter::handlePortMessage);
});

namespace {

std::atomic<bool> initializeSent { false };
std::atomic<YMainThreadJobCenter*> sharedCenter { nullptr }; // set once prepared; lives for the process
Mutex prepareLock;

} // namespace

YMainThreadJobCenter::YMainThreadJobCenter()
    : _port(Port::port())
{
    _port->setDelegate(this);
    _portMessage = make<PortMessage>(_port.get(), _port.get(), nullptr);
}

YMainThreadJobCenter::~YMainThreadJobCenter()
{
    _port->setDelegate(nullptr);
    _port->invalidate();
}

void YMainThreadJobCenter::ensureInitialized()
{
    if (!initializeSent.load(std::memory_order_acquire) && !initializeSent.exchange(true, std::memory_order_acq_rel))
        prepareForMainThreadCenter();
}

void YMainThreadJobCenter::prepareForMainThreadCenter()
{
    Locker guard(prepareLock);
    if (sharedCenter.load(std::memory_order_acquire))
        return;
    auto center = make<YMainThreadJobCenter>();
    if (!Thread::isMainThread())
        raise(NSInternalInconsistencyException, "+[YJobCenter prepareForMainThreadCenter] called in a different thread from the main thread");
    center->registerRunLoopModes(Array::arrayWithObjects({ String::withUTF8(kCFRunLoopCommonModes) }).get());
    sharedCenter.store(center.leakRef(), std::memory_order_release);
}

YMainThreadJobCenter* YMainThreadJobCenter::defaultCenter()
{
    ensureInitialized();
    YMainThreadJobCenter* center = sharedCenter.load(std::memory_order_acquire);
    if (!center)
        raise(NSInternalInconsistencyException, "You must invoke + [YJobCenter prepareForMainThread] first.");
    return center;
}

void YMainThreadJobCenter::registerRunLoopModes(const Array* modes)
{
    RunLoop* loop = RunLoop::currentRunLoop();
    for (uint32_t i = 0; modes && i < modes->count(); ++i) {
        if (auto* mode = dynamic_cast<String*>(modes->objectAtIndex(i).get()))
            loop->addPort(_port.get(), mode->utf8());
    }
}

bool YMainThreadJobCenter::postJob(YJob* job, bool allowDuplication, Object* sender)
{
    const bool added = YJobCenter::postJob(job, allowDuplication, sender);
    if (added && _disabled.load(std::memory_order_acquire) <= 0)
        _firePortMessage();
    return added;
}

void YMainThreadJobCenter::handlePortMessage(PortMessage*)
{
    // Cleared before the list is read, so a post that finds it set has its job in this drain,
    // and a later one sends again.
    _portMessagePending.store(false);
    if (_disabled.load(std::memory_order_acquire) > 0)
        return;
    doExecuteJobsUntilEmpty();
}

void YMainThreadJobCenter::doExecuteJobsUntilEmpty()
{
    _disabled.fetch_add(1, std::memory_order_acq_rel);
    // Lowered also when a throw leaves a job, so that later posts wake the loop again.
    struct Lower {
        std::atomic<int32_t>& disabled;
        bool done { false };
        ~Lower()
        {
            if (!done && disabled.load() > 0)
                disabled.fetch_sub(1);
        }
    } lower { _disabled };
    // A port message means "look again": jobs held back on an earlier pass (condition 0) are
    // asked anew, which the until-empty loop would otherwise skip.
    _doExecuteJobsUntilEmpty(true, true);
    lower.done = true;
    if (_disabled.load() > 0 && _disabled.fetch_sub(1) - 1 > 0)
        return; // nested in another run, which goes on
    if (hasWaitingJobs())
        _firePortMessage(); // jobs held back are asked again on the next pass
}

void YMainThreadJobCenter::executeJob(YJob* job)
{
    Ref<YJob> protectedJob(job);
    try {
        job->invoke();
    } catch (const Exception& exception) {
        log("Exception raised during executing job (target: %@, selector: %s).  Ignored.  Exception: %@", job->target(), job->selector().name(),
            static_cast<const Object*>(&exception));
    }
    removeRunningJobIdenticalTo(job);
}

void YMainThreadJobCenter::notifyObserversOfName(const char* name)
{
    if (delegate())
        YJobCenter::notifyObserversOfName(name);
}

void YMainThreadJobCenter::_firePortMessage()
{
    if (_portMessagePending.exchange(true))
        return; // a message is on its way; its drain runs this job too
    if (!_portMessage->sendBeforeDate(nullptr)) // never blocks
        _portMessagePending.store(false);
}

} // namespace yk
