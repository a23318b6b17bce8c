#include "core/LockErrors.h"

#include <Yarkit/core/Object.h>
#include <Yarkit/core/String.h>

#include "core/RuntimeErrors.h"

#include <cstdio>

namespace yk::detail {

void logLockMisuse(const Object* lock, const char* selector, const char* problem)
{
    std::fprintf(stderr, "*** %s: lock (%s) %s\n", methodName(lock, selector).c_str(), lock->description()->utf8().c_str(), problem);
}

void raiseLockDeadlock(const Object* lock, const char* selector)
{
    raiseInternalInconsistency("*** " + methodName(lock, selector) + ": deadlock (" + lock->description()->utf8() + ")");
}

} // namespace yk::detail
