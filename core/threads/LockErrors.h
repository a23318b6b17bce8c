#pragma once

// Reporting misuse of the object locks. Call these with the lock's own state released: they
// ask the lock for its description, which reads its name.

namespace yk {
class Object;
}

namespace yk::detail {

// Logs (yk::log) "*** -[Class selector]: lock (<description>) <problem>" and returns; used where the
// misuse cannot be raised (unlock runs in guards' destructors).
void logLockMisuse(const Object* lock, const char* selector, const char* problem);

// Raises NSInternalInconsistencyException "*** -[Class selector]: deadlock (<description>)":
// the calling thread already holds a lock that is not recursive and asks for it again.
[[noreturn]] void raiseLockDeadlock(const Object* lock, const char* selector);

} // namespace yk::detail
