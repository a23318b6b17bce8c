#include <Yarkit/YJob.h>

#include <Yarkit/ObjectAbstractMethods.h>
#include <Yarkit/YConcreteJob.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/runtime/MethodSignature.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/Array.h>

#include "core/runtime/RuntimeErrors.h"
#include "jobs/JobNotices.h"

#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YJob);
YK_DEFINE_CLASS(YConcreteJob);
YK_DEFINE_CLASS(YTargetSelectorJob);
YK_DEFINE_CLASS(YObjectArgJob);
YK_DEFINE_CLASS(YObjectObjectArgJob);
YK_DEFINE_CLASS(YObjectObjectObjectArgJob);
YK_DEFINE_CLASS(YObjectsArgJob);
YK_DEFINE_CLASS(YBoolArgJob);
YK_DEFINE_CLASS(YIntArgJob);
YK_DEFINE_CLASS(YIntIntArgJob);
YK_DEFINE_CLASS(YFloatArgJob);
YK_DEFINE_CLASS(YDoubleArgJob);
YK_DEFINE_CLASS(YInvocationJob);

const char YJobWillBeginNotification[] = "YJobWillBeginNotification";
const char YJobDidEndNotification[] = "YJobDidEndNotification";
const char YJobDidCancelNotification[] = "YJobDidCancelNotification";
const char YJobExceptionDidOccurNotification[] = "YJobExceptionDidOccurNotification";

std::span<const detail::JobNotice> detail::jobNotices()
{
    static const JobNotice notices[] = { { YJobWillBeginNotification, Selector("jobWillBegin:") }, { YJobDidEndNotification, Selector("jobDidEnd:") },
        { YJobDidCancelNotification, Selector("jobDidCancel:") }, { YJobExceptionDidOccurNotification, Selector("jobExceptionDidOccur:") } };
    return notices;
}

const detail::JobNotice* detail::findJobNotice(const char* name)
{
    for (const auto& notice : jobNotices()) {
        if (notice.name == name || !std::strcmp(notice.name, name))
            return &notice;
    }
    return nullptr;
}

namespace {

// The other job's value answers isEqual with this job's: a null on the other side never matches.
bool matches(const Object* other, const Object* mine)
{
    return other && other->isEqual(mine);
}

} // namespace

YJob::YJob() = default;

YJob::~YJob() = default;

YConcreteJob* YJob::alloc()
{
    static YConcreteJob* const placeholder = make<YConcreteJob>().leakRef(); // lives for the process
    return placeholder;
}

Ref<YJob> YJob::jobWithTarget(Object* target, Selector selector) { return alloc()->initWithTarget(target, selector); }
Ref<YJob> YJob::jobWithTarget(Object* target, Selector selector, Object* object) { return alloc()->initWithTarget(target, selector, object); }
Ref<YJob> YJob::jobWithTarget(Object* target, Selector selector, Object* object1, Object* object2) { return alloc()->initWithTarget(target, selector, object1, object2); }
Ref<YJob> YJob::jobWithTarget(Object* target, Selector selector, Object* object1, Object* object2, Object* object3) { return alloc()->initWithTarget(target, selector, object1, object2, object3); }
Ref<YJob> YJob::jobWithTargetWithObjects(Object* target, Selector selector, const Array* objects) { return alloc()->initWithTargetWithObjects(target, selector, objects); }
Ref<YJob> YJob::jobWithTargetWithBool(Object* target, Selector selector, bool value) { return alloc()->initWithTargetWithBool(target, selector, value); }
Ref<YJob> YJob::jobWithTargetWithInt(Object* target, Selector selector, int32_t value) { return alloc()->initWithTargetWithInt(target, selector, value); }
Ref<YJob> YJob::jobWithTargetWithInt(Object* target, Selector selector, int32_t value1, int32_t value2) { return alloc()->initWithTargetWithInt(target, selector, value1, value2); }
Ref<YJob> YJob::jobWithTargetWithFloat(Object* target, Selector selector, float value) { return alloc()->initWithTargetWithFloat(target, selector, value); }
Ref<YJob> YJob::jobWithTargetWithDouble(Object* target, Selector selector, double value) { return alloc()->initWithTargetWithDouble(target, selector, value); }
Ref<YJob> YJob::jobWithInvocation(Invocation* invocation) { return alloc()->initWithInvocation(invocation); }

Object* YJob::target() const { subclassResponsibility(this, "target"); }
void YJob::setTarget(Object*) { subclassResponsibility(this, "setTarget:"); }
Selector YJob::selector() const { subclassResponsibility(this, "selector"); }
void YJob::setSelector(Selector) { subclassResponsibility(this, "setSelector:"); }
Ref<Invocation> YJob::invocation() const { subclassResponsibility(this, "invocation"); }

Selector YJob::abortSelector() const
{
    return Selector::fromInternedName(_abortSelector.load(std::memory_order_acquire));
}

void YJob::setAbortSelector(Selector selector)
{
    _abortSelector.store(selector.isNull() ? nullptr : selector.name(), std::memory_order_release);
}

Ref<Invocation> YJob::invocationFor(Object* target, Selector selector)
{
    if (!selector || !target)
        return nullptr;
    // A class object answers its class-side signature, an instance its class's instance one.
    auto signature = target->methodSignatureForSelector(selector);
    if (!signature)
        detail::raiseUnrecognizedSelector(target, selector);
    auto invocation = Invocation::invocationWithMethodSignature(signature);
    invocation->setSelector(selector);
    invocation->setTarget(target);
    return invocation;
}

void YJob::invoke()
{
    // Check for an abort and mark the start in one step, so that abort() sees one or the other.
    uint8_t flags = _gjf.load(std::memory_order_acquire);
    do {
        if (flags & HasAborted)
            return;
    } while (!_gjf.compare_exchange_weak(flags, flags | HasExecuted, std::memory_order_acq_rel));
    sendMessage();
}

void YJob::sendMessage()
{
    if (auto invocation = this->invocation())
        invocation->invoke();
}

Ref<Invocation> YJob::abortInvocation() const
{
    return invocationFor(target(), abortSelector());
}

void YJob::abort()
{
    if (!(_gjf.fetch_or(HasAborted, std::memory_order_acq_rel) & HasExecuted))
        return; // it will never run
    if (auto invocation = abortInvocation())
        invocation->invoke();
}

void YJob::addObserver(Object* observer)
{
    if (!observer)
        return;
    auto* center = NotificationCenter::defaultCenter();
    for (const auto& notice : detail::jobNotices()) {
        if (observer->respondsToSelector(notice.method))
            center->addObserver(observer, notice.method, notice.name, this);
    }
}

void YJob::removeObserver(Object* observer)
{
    if (!observer)
        return;
    NotificationCenter::defaultCenter()->removeObserver(observer, nullptr, this);
}

Ref<YJob> YConcreteJob::initWithTarget(Object* target, Selector selector) const { return make<YTargetSelectorJob>(target, selector); }
Ref<YJob> YConcreteJob::initWithTarget(Object* target, Selector selector, Object* object) const { return make<YObjectArgJob>(target, selector, object); }
Ref<YJob> YConcreteJob::initWithTarget(Object* target, Selector selector, Object* object1, Object* object2) const { return make<YObjectObjectArgJob>(target, selector, object1, object2); }
Ref<YJob> YConcreteJob::initWithTarget(Object* target, Selector selector, Object* object1, Object* object2, Object* object3) const { return make<YObjectObjectObjectArgJob>(target, selector, object1, object2, object3); }
Ref<YJob> YConcreteJob::initWithTargetWithObjects(Object* target, Selector selector, const Array* objects) const { return make<YObjectsArgJob>(target, selector, objects); }
Ref<YJob> YConcreteJob::initWithTargetWithBool(Object* target, Selector selector, bool value) const { return make<YBoolArgJob>(target, selector, value); }
Ref<YJob> YConcreteJob::initWithTargetWithInt(Object* target, Selector selector, int32_t value) const { return make<YIntArgJob>(target, selector, value); }
Ref<YJob> YConcreteJob::initWithTargetWithInt(Object* target, Selector selector, int32_t value1, int32_t value2) const { return make<YIntIntArgJob>(target, selector, value1, value2); }
Ref<YJob> YConcreteJob::initWithTargetWithFloat(Object* target, Selector selector, float value) const { return make<YFloatArgJob>(target, selector, value); }
Ref<YJob> YConcreteJob::initWithTargetWithDouble(Object* target, Selector selector, double value) const { return make<YDoubleArgJob>(target, selector, value); }
Ref<YJob> YConcreteJob::initWithInvocation(Invocation* invocation) const { return make<YInvocationJob>(invocation); }

YTargetSelectorJob::YTargetSelectorJob(Object* target, Selector selector)
    : _target(target)
    , _selector(selector)
{
}

Ref<Invocation> YTargetSelectorJob::invocation() const
{
    auto invocation = invocationFor(_target.get(), _selector);
    if (invocation)
        setArguments(*invocation); // the job keeps the arguments alive, not the invocation
    return invocation;
}

void YTargetSelectorJob::sendMessage()
{
    // A message without arguments needs no invocation; a subclass's goes through its own.
    if (!isMemberOfClass(staticClass()))
        return YConcreteJob::sendMessage();
    if (_target && _selector)
        send(_target.get(), _selector);
}

bool YTargetSelectorJob::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    if (!other || !other->isMemberOfClass(classObject()))
        return false;
    const auto& job = static_cast<const YTargetSelectorJob&>(*other);
    return matches(job._target.get(), _target.get()) && job._selector == _selector && argumentsMatch(job);
}

YObjectArgJob::YObjectArgJob(Object* target, Selector selector, Object* object)
    : YTargetSelectorJob(target, selector)
    , _objectArg(object)
{
}

void YObjectArgJob::setArguments(Invocation& invocation) const
{
    invocation.setArgument(_objectArg.get(), 2);
}

void YObjectArgJob::sendMessage()
{
    if (target() && selector())
        send(target(), selector(), _objectArg.get());
}

bool YObjectArgJob::argumentsMatch(const YTargetSelectorJob& other) const
{
    return matches(static_cast<const YObjectArgJob&>(other)._objectArg.get(), _objectArg.get());
}

YObjectObjectArgJob::YObjectObjectArgJob(Object* target, Selector selector, Object* object1, Object* object2)
    : YTargetSelectorJob(target, selector)
    , _objectArg1(object1)
    , _objectArg2(object2)
{
}

void YObjectObjectArgJob::setArguments(Invocation& invocation) const
{
    invocation.setArgument(_objectArg1.get(), 2);
    invocation.setArgument(_objectArg2.get(), 3);
}

bool YObjectObjectArgJob::argumentsMatch(const YTargetSelectorJob& other) const
{
    const auto& job = static_cast<const YObjectObjectArgJob&>(other);
    return matches(job._objectArg1.get(), _objectArg1.get()) && matches(job._objectArg2.get(), _objectArg2.get());
}

YObjectObjectObjectArgJob::YObjectObjectObjectArgJob(Object* target, Selector selector, Object* object1, Object* object2, Object* object3)
    : YTargetSelectorJob(target, selector)
    , _objectArg1(object1)
    , _objectArg2(object2)
    , _objectArg3(object3)
{
}

void YObjectObjectObjectArgJob::setArguments(Invocation& invocation) const
{
    invocation.setArgument(_objectArg1.get(), 2);
    invocation.setArgument(_objectArg2.get(), 3);
    invocation.setArgument(_objectArg3.get(), 4);
}

bool YObjectObjectObjectArgJob::argumentsMatch(const YTargetSelectorJob& other) const
{
    const auto& job = static_cast<const YObjectObjectObjectArgJob&>(other);
    return matches(job._objectArg1.get(), _objectArg1.get()) && matches(job._objectArg2.get(), _objectArg2.get())
        && matches(job._objectArg3.get(), _objectArg3.get());
}

YObjectsArgJob::YObjectsArgJob(Object* target, Selector selector, const Array* objects)
    : YTargetSelectorJob(target, selector)
{
    setObjectsArg(objects);
}

void YObjectsArgJob::setObjectsArg(const Array* objects)
{
    _objectsArg = objects ? Array::arrayWithArray(objects) : nullptr;
}

void YObjectsArgJob::setArguments(Invocation& invocation) const
{
    const uint32_t count = _objectsArg ? _objectsArg->count() : 0;
    for (uint32_t index = 2; index < invocation.methodSignature()->numberOfArguments(); ++index) {
        Object* object = index - 2 < count ? _objectsArg->objectAtIndex(index - 2).get() : nullptr;
        invocation.setArgument(object, index);
    }
}

bool YObjectsArgJob::argumentsMatch(const YTargetSelectorJob& other) const
{
    return matches(static_cast<const YObjectsArgJob&>(other)._objectsArg.get(), _objectsArg.get());
}

YBoolArgJob::YBoolArgJob(Object* target, Selector selector, bool value)
    : YTargetSelectorJob(target, selector)
    , _boolArg(value)
{
}

void YBoolArgJob::setArguments(Invocation& invocation) const { invocation.setArgument(_boolArg, 2); }

bool YBoolArgJob::argumentsMatch(const YTargetSelectorJob& other) const { return static_cast<const YBoolArgJob&>(other)._boolArg == _boolArg; }

YIntArgJob::YIntArgJob(Object* target, Selector selector, int32_t value)
    : YTargetSelectorJob(target, selector)
    , _intArg(value)
{
}

void YIntArgJob::setArguments(Invocation& invocation) const { invocation.setArgument(_intArg, 2); }

bool YIntArgJob::argumentsMatch(const YTargetSelectorJob& other) const { return static_cast<const YIntArgJob&>(other)._intArg == _intArg; }

YIntIntArgJob::YIntIntArgJob(Object* target, Selector selector, int32_t value1, int32_t value2)
    : YTargetSelectorJob(target, selector)
    , _intArg1(value1)
    , _intArg2(value2)
{
}

void YIntIntArgJob::setArguments(Invocation& invocation) const
{
    invocation.setArgument(_intArg1, 2);
    invocation.setArgument(_intArg2, 3);
}

bool YIntIntArgJob::argumentsMatch(const YTargetSelectorJob& other) const
{
    const auto& job = static_cast<const YIntIntArgJob&>(other);
    return job._intArg1 == _intArg1 && job._intArg2 == _intArg2;
}

YFloatArgJob::YFloatArgJob(Object* target, Selector selector, float value)
    : YTargetSelectorJob(target, selector)
    , _floatArg(value)
{
}

void YFloatArgJob::setArguments(Invocation& invocation) const { invocation.setArgument(_floatArg, 2); }

// Numeric comparison: NaN is never equal, 0.0 equals -0.0.
bool YFloatArgJob::argumentsMatch(const YTargetSelectorJob& other) const { return static_cast<const YFloatArgJob&>(other)._floatArg == _floatArg; }

YDoubleArgJob::YDoubleArgJob(Object* target, Selector selector, double value)
    : YTargetSelectorJob(target, selector)
    , _doubleArg(value)
{
}

void YDoubleArgJob::setArguments(Invocation& invocation) const { invocation.setArgument(_doubleArg, 2); }

bool YDoubleArgJob::argumentsMatch(const YTargetSelectorJob& other) const { return static_cast<const YDoubleArgJob&>(other)._doubleArg == _doubleArg; }

YInvocationJob::YInvocationJob(Invocation* invocation)
    : _invocation(invocation)
{
}

YInvocationJob::~YInvocationJob() = default;

Object* YInvocationJob::target() const { return _invocation ? _invocation->target() : nullptr; }
void YInvocationJob::setTarget(Object* target)
{
    if (_invocation)
        _invocation->setTarget(target);
}
Selector YInvocationJob::selector() const { return _invocation ? _invocation->selector() : Selector(); }
void YInvocationJob::setSelector(Selector selector)
{
    if (_invocation)
        _invocation->setSelector(selector);
}
Ref<Invocation> YInvocationJob::invocation() const { return _invocation; }

bool YInvocationJob::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    if (!other || !other->isMemberOfClass(classObject()))
        return false;
    const auto& job = static_cast<const YInvocationJob&>(*other);
    if (job._invocation && job._invocation->isEqual(_invocation.get()))
        return true;
    return matches(job.target(), target()) && job.selector() == selector();
}

} // namespace yk
