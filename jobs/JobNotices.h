#pragma once

// The four notices of a job and the observer method each calls, shared by the job's observer
// registration and the center that sends them.

#include <Yarkit/core/runtime/Selector.h>

#include <span>

namespace yk::detail {

struct JobNotice {
    const char* name;
    Selector method;
};

// Will-begin, did-end, did-cancel, exception-did-occur.
std::span<const JobNotice> jobNotices();
// The notice of that name (compared by address, then by text), or null.
const JobNotice* findJobNotice(const char* name);

} // namespace yk::detail
