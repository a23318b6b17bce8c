#pragma once

// Clang's thread-safety annotations. Locks declare themselves capabilities, guarded fields name
// the lock that guards them, and functions say which locks they need, take or give back; clang
// checks this with -Wthread-safety. Other compilers see empty macros.

#if defined(__clang__)
#define YK_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define YK_THREAD_ANNOTATION(x)
#endif

#define YK_CAPABILITY(name) YK_THREAD_ANNOTATION(capability(name))
#define YK_SCOPED_CAPABILITY YK_THREAD_ANNOTATION(scoped_lockable)
#define YK_GUARDED_BY(lock) YK_THREAD_ANNOTATION(guarded_by(lock))
#define YK_PT_GUARDED_BY(lock) YK_THREAD_ANNOTATION(pt_guarded_by(lock))
#define YK_REQUIRES(...) YK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define YK_REQUIRES_SHARED(...) YK_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define YK_EXCLUDES(...) YK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define YK_ACQUIRE(...) YK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define YK_ACQUIRE_SHARED(...) YK_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define YK_RELEASE(...) YK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define YK_RELEASE_SHARED(...) YK_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define YK_RELEASE_GENERIC(...) YK_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define YK_TRY_ACQUIRE(...) YK_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define YK_RETURN_CAPABILITY(x) YK_THREAD_ANNOTATION(lock_returned(x))
#define YK_NO_THREAD_SAFETY_ANALYSIS YK_THREAD_ANNOTATION(no_thread_safety_analysis)
