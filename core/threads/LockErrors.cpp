#include "core/threads/LockErrors.h"

#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk::detail {

void logLockMisuse(const Object* lock, const char* selector, const char* problem)
{
    log("*** %s: lock (%@) %s", methodName(lock, selector).c_str(), lock, problem);
}

void raiseLockDeadlock(const Object* lock, const char* selector)
{
    raiseInternalInconsistency("*** " + methodName(lock, selector) + ": deadlock (" + lock->description()->utf8() + ")");
}

} // namespace yk::detail
