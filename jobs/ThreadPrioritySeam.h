#pragma once

// Lets tests make reading the scheduling parameters fail.

#include <pthread.h>
#include <sched.h>

namespace yk::detail {

using SchedParamReader = int (*)(pthread_t, int*, sched_param*);
// Replaces pthread_getschedparam for the priority functions; null restores it. Returns the
// previous reader.
SchedParamReader setSchedParamReader(SchedParamReader reader);

} // namespace yk::detail
