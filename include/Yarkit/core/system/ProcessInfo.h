#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

#include <cstdint>

namespace yk {

// A system version: major, minor and patch (the bug-fix number).
struct OperatingSystemVersion {
    int32_t majorVersion { 0 };
    int32_t minorVersion { 0 };
    int32_t patchVersion { 0 };
};

// The running process and its system: identity, arguments, environment, host name and the
// system's version. One shared instance; any thread.
class ProcessInfo : public Object {
    YK_OBJECT(ProcessInfo, Object)
public:
    static ProcessInfo* processInfo();

    int processIdentifier() const;
    // The executable's name (the last component of /proc/self/exe).
    [[nodiscard]] Ref<String> processName() const;
    // From /proc/self/cmdline.
    [[nodiscard]] Ref<Array> arguments() const;
    [[nodiscard]] Ref<Dictionary> environment() const;
    [[nodiscard]] Ref<String> hostName() const;
    uint32_t processorCount() const;
    uint64_t physicalMemory() const;
    // uname's system name and release, "Linux 6.1.0-18-amd64".
    [[nodiscard]] Ref<String> operatingSystemVersionString() const;
    // The numbers at the start of uname's release ("6.1.0-18-amd64" is 6.1.0); read once.
    OperatingSystemVersion operatingSystemVersion() const;
    bool isOperatingSystemAtLeastVersion(OperatingSystemVersion version) const;
    // A new string unique in space and time.
    [[nodiscard]] Ref<String> globallyUniqueString() const;

    // The numbers at the start of a release text: "6.1.0-18" gives 6.1.0, "5.15" 5.15.0.
    static OperatingSystemVersion versionFromRelease(const char* release);
};

} // namespace yk
