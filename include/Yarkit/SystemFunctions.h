#pragma once

// The login and host name, and whether a process runs natively. Callable from C and from any
// thread.

#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

// getlogin(): null when the process has no controlling terminal's login record.
const char* y_get_login_name(void);

// The whole host name from gethostname (despite the name), read once and kept for the
// process; "unknown" after perror("gethostname") when it cannot be read.
const char* y_get_domain_name(void);

// 1 when the process runs natively. Linux runs no translated processes and has no sysctl to
// ask, which counts as native: always 1.
int y_is_process_native(pid_t pid);

#ifdef __cplusplus
}
#endif
