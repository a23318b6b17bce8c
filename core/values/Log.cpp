#include <Yarkit/core/values/Log.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <ctime>
#include <string>
#include <utility>

#include <unistd.h>

namespace yk {
namespace {

Mutex sinkLock;
LogSink currentSink YK_GUARDED_BY(sinkLock); // empty means the default sink

// "2026-11-21 05:56:54.123 name[pid:tid] message\n", written with one write() so lines from
// several threads do not mix.
void writeToStandardError(const String& message)
{
    using namespace std::chrono;
    auto now = system_clock::now();
    time_t seconds = system_clock::to_time_t(now);
    auto milliseconds = duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    struct tm local;
    localtime_r(&seconds, &local);
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local);
    char prefix[160];
    std::snprintf(prefix, sizeof(prefix), "%s.%03lld %s[%d:%ld] ", stamp, static_cast<long long>(milliseconds),
        program_invocation_short_name, static_cast<int>(getpid()), static_cast<long>(gettid()));
    std::string line = prefix + message.utf8() + "\n";
    const char* bytes = line.data();
    size_t remaining = line.size();
    while (remaining) {
        ssize_t written = ::write(STDERR_FILENO, bytes, remaining);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        bytes += written;
        remaining -= size_t(written);
    }
}

} // namespace

void log(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> message = formatv(format, arguments);
    va_end(arguments);

    LogSink sink;
    {
        Locker guard(sinkLock);
        sink = currentSink;
    }
    // Outside the lock, so that a sink may log or replace the sink itself.
    if (sink)
        sink(*message);
    else
        writeToStandardError(*message);
}

LogSink setLogSink(LogSink sink)
{
    Locker guard(sinkLock);
    return std::exchange(currentSink, std::move(sink));
}

} // namespace yk
