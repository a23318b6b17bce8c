#include "core/LockErrors.h"

#include <Yarkit/core/Log.h>
#include <Yarkit/core/Object.h>
#include <Yarkit/core/String.h>

#include "core/RuntimeErrors.h"

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
