#include <Yarkit/core/system/ProcessInfo.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/random.h>
#include <sys/utsname.h>
#include <unistd.h>

extern char** environ;

namespace yk {

YK_DEFINE_CLASS(ProcessInfo);

ProcessInfo* ProcessInfo::processInfo()
{
    static ProcessInfo* const shared = make<ProcessInfo>().leakRef();
    return shared;
}

int ProcessInfo::processIdentifier() const
{
    return getpid();
}

Ref<String> ProcessInfo::processName() const
{
    char path[4096];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0)
        return make<String>();
    return String::stringWithFileSystemRepresentation(path, static_cast<size_t>(length))->lastPathComponent();
}

Ref<Array> ProcessInfo::arguments() const
{
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string all((std::istreambuf_iterator<char>(file)), {});
    auto arguments = make<MutableArray>();
    for (size_t start = 0; start < all.size();) {
        size_t end = all.find('\0', start);
        if (end == std::string::npos)
            end = all.size();
        arguments->addObject(String::stringWithFileSystemRepresentation(all.data() + start, end - start));
        start = end + 1;
    }
    return arguments;
}

Ref<Dictionary> ProcessInfo::environment() const
{
    auto variables = make<MutableDictionary>();
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string_view text(*entry);
        size_t equals = text.find('=');
        if (equals == std::string_view::npos)
            continue;
        variables->setObject(String::stringWithFileSystemRepresentation(text.data() + equals + 1, text.size() - equals - 1),
            String::stringWithFileSystemRepresentation(text.data(), equals));
    }
    return variables;
}

Ref<String> ProcessInfo::hostName() const
{
    char name[256] = {};
    if (gethostname(name, sizeof name - 1))
        return String::withUTF8("localhost");
    return String::withUTF8(name);
}

uint32_t ProcessInfo::processorCount() const
{
    long count = sysconf(_SC_NPROCESSORS_CONF);
    return count > 0 ? static_cast<uint32_t>(count) : 1;
}

uint64_t ProcessInfo::physicalMemory() const
{
    long pages = sysconf(_SC_PHYS_PAGES);
    long size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? uint64_t(pages) * uint64_t(size) : 0;
}

Ref<String> ProcessInfo::operatingSystemVersionString() const
{
    utsname name;
    if (uname(&name))
        return String::withUTF8("Linux");
    return String::withUTF8(std::string(name.sysname) + " " + name.release);
}

OperatingSystemVersion ProcessInfo::versionFromRelease(const char* release)
{
    OperatingSystemVersion version;
    int32_t* parts[] = { &version.majorVersion, &version.minorVersion, &version.patchVersion };
    const char* cursor = release;
    for (int32_t* part : parts) {
        if (*cursor < '0' || *cursor > '9')
            break;
        char* end = nullptr;
        long value = std::strtol(cursor, &end, 10);
        *part = static_cast<int32_t>(value > INT32_MAX ? INT32_MAX : value);
        if (*end != '.')
            break;
        cursor = end + 1;
    }
    return version;
}

OperatingSystemVersion ProcessInfo::operatingSystemVersion() const
{
    static const OperatingSystemVersion version = [] {
        utsname name;
        return uname(&name) ? OperatingSystemVersion {} : versionFromRelease(name.release);
    }();
    return version;
}

bool ProcessInfo::isOperatingSystemAtLeastVersion(OperatingSystemVersion version) const
{
    auto running = operatingSystemVersion();
    if (running.majorVersion != version.majorVersion)
        return running.majorVersion > version.majorVersion;
    if (running.minorVersion != version.minorVersion)
        return running.minorVersion > version.minorVersion;
    return running.patchVersion >= version.patchVersion;
}

Ref<String> ProcessInfo::globallyUniqueString() const
{
    static std::atomic<uint64_t> counter { 0 };
    uint64_t random = 0;
    if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random)
        random = uint64_t(getpid()) << 32;
    char text[96];
    std::snprintf(text, sizeof text, "%s-%d-%016llX-%llu", hostName()->utf8().c_str(), getpid(),
        static_cast<unsigned long long>(random), static_cast<unsigned long long>(counter.fetch_add(1)));
    return String::withUTF8(text);
}

} // namespace yk
