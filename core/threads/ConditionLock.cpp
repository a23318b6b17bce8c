#include <Yarkit/core/threads/ConditionLock.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(ConditionLock);

int ConditionLock::condition() const
{
    return _state.condition();
}

// Like OwnedLock's operations, these implement the capability, so the analysis cannot follow
// them; the state they call is analysed.
YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::lockWhenCondition(int condition)
{
    _state.take(this, "lockWhenCondition:", nullptr, &condition);
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::tryLockWhenCondition(int condition)
{
    return _state.tryTake(&condition);
}

YK_NO_THREAD_SAFETY_ANALYSIS bool ConditionLock::lockWhenCondition(int condition, Clock::time_point limit)
{
    return _state.take(this, "lockWhenCondition:beforeDate:", &limit, &condition);
}

YK_NO_THREAD_SAFETY_ANALYSIS void ConditionLock::unlockWithCondition(int condition)
{
    _state.release(this, "unlockWithCondition:", &condition);
}

Ref<String> ConditionLock::description() const
{
    return _state.describe(Object::description());
}

} // namespace yk
