// The foundation additions side by side with their peers: date texts against ICU's own
// formatters, the byte formatter against GLib's g_format_size_full, the C-string pool against
// g_intern_string and a mutex-guarded std::unordered_set, and YK_stackTrace against running
// eu-addr2line directly. Each case runs as <case>/yarkit and <case>/<peer>; a table of ratios
// follows.
#include <Yarkit/DateDescriptions.h>
#include <Yarkit/ExceptionAdditions.h>
#include <Yarkit/YCStringPool.h>
#include <Yarkit/YKByteFormatter.h>
#include <Yarkit/core/system/Locale.h>
#include <Yarkit/core/system/TimeZone.h>

#include <memory>
#include <mutex>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <unordered_set>
#include <vector>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <unicode/datefmt.h>
#include <unicode/timezone.h>

#include "bench/RatioReporter.h"

extern char** environ;

namespace {

constexpr double SampleSince1970 = 1709996709.0;

yk::Ref<yk::Date> sampleDate()
{
    return yk::Date::dateWithTimeIntervalSince1970(SampleSince1970);
}

void dateTextYarkit(benchmark::State& state)
{
    auto date = sampleDate();
    auto zone = yk::TimeZone::timeZoneWithName("Asia/Tokyo");
    auto locale = yk::Locale::localeWithLocaleIdentifier("en_US");
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::dateDescriptionWithDateForm(date.get(), 1, zone.get(), locale.get()));
}

std::unique_ptr<icu::DateFormat> icuFormatter(icu::DateFormat::EStyle style)
{
    std::unique_ptr<icu::DateFormat> formatter(icu::DateFormat::createDateInstance(style, icu::Locale("en_US")));
    formatter->adoptTimeZone(icu::TimeZone::createTimeZone("Asia/Tokyo"));
    return formatter;
}

void dateTextKeptICU(benchmark::State& state)
{
    auto formatter = icuFormatter(icu::DateFormat::kShort);
    for (auto _ : state) {
        icu::UnicodeString text;
        formatter->format(SampleSince1970 * 1000.0, text);
        benchmark::DoNotOptimize(text);
    }
}

void dateTextNewICU(benchmark::State& state)
{
    for (auto _ : state) {
        icu::UnicodeString text;
        icuFormatter(icu::DateFormat::kShort)->format(SampleSince1970 * 1000.0, text);
        benchmark::DoNotOptimize(text);
    }
}

void relativeDayYarkit(benchmark::State& state)
{
    auto date = yk::Date::date();
    auto locale = yk::Locale::localeWithLocaleIdentifier("en_US");
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::dateDescriptionWithDateForm(date.get(), 9, nullptr, locale.get()));
}

void relativeDayICU(benchmark::State& state)
{
    auto formatter = icuFormatter(static_cast<icu::DateFormat::EStyle>(icu::DateFormat::kShort | icu::DateFormat::kRelative));
    const double now = yk::Date::date()->timeIntervalSince1970() * 1000.0;
    for (auto _ : state) {
        icu::UnicodeString text;
        formatter->format(now, text);
        benchmark::DoNotOptimize(text);
    }
}

const uint64_t sizes[] = { 0, 1, 99, 1536, 102400, 1048576, 5368709120ull, 1125899906842620ull };

void sizeYarkit(benchmark::State& state)
{
    size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::YKByteFormatter::stringForBytes(sizes[i++ % std::size(sizes)]));
}

void sizeGLib(benchmark::State& state)
{
    size_t i = 0;
    for (auto _ : state) {
        char* text = g_format_size_full(sizes[i++ % std::size(sizes)], G_FORMAT_SIZE_IEC_UNITS);
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
}

const std::vector<std::string>& headerNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int i = 0; i < 64; ++i)
            all.push_back("X-Header-Name-" + std::to_string(i));
        return all;
    }();
    return names;
}

// Hits look up names already pooled; misses pool fresh names (the pool is reset when large).
template <int Kind>
void poolYarkit(benchmark::State& state)
{
    static yk::YCStringPool pool;
    const auto& names = headerNames();
    size_t i = 0;
    uint64_t fresh = 0;
    for (auto _ : state) {
        if (Kind == 1) {
            std::string name = "miss-" + std::to_string(fresh++);
            benchmark::DoNotOptimize(pool.pooledCString(name.c_str()));
            if (fresh % 65536 == 0)
                pool.reset();
        } else {
            benchmark::DoNotOptimize(pool.pooledCString(names[i++ % names.size()].c_str()));
        }
    }
}

template <int Kind>
void poolGLib(benchmark::State& state)
{
    const auto& names = headerNames();
    size_t i = 0;
    uint64_t fresh = state.thread_index() * (1ull << 40);
    for (auto _ : state) {
        if (Kind == 1) {
            std::string name = "glib-miss-" + std::to_string(fresh++);
            benchmark::DoNotOptimize(g_intern_string(name.c_str()));
        } else {
            benchmark::DoNotOptimize(g_intern_string(names[i++ % names.size()].c_str()));
        }
    }
}

template <int Kind>
void poolMutexSet(benchmark::State& state)
{
    static std::mutex lock;
    static std::unordered_set<std::string> set;
    const auto& names = headerNames();
    size_t i = 0;
    uint64_t fresh = 0;
    for (auto _ : state) {
        std::lock_guard guard(lock);
        if (Kind == 1) {
            benchmark::DoNotOptimize(set.insert("miss-" + std::to_string(fresh++)).first->c_str());
            if (fresh % 65536 == 0)
                set.clear();
        } else {
            benchmark::DoNotOptimize(set.insert(names[i++ % names.size()]).first->c_str());
        }
    }
}

[[gnu::noinline]] yk::Ref<yk::Exception> raisedException()
{
    try {
        yk::raise("Bench", "trace");
    } catch (const yk::Exception& e) {
        return e.copy();
    }
}

void stackTraceYarkit(benchmark::State& state)
{
    auto exception = raisedException();
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::YK_stackTrace(exception.get()));
}

void stackTraceAddr2line(benchmark::State& state)
{
    auto exception = raisedException();
    std::vector<std::string> arguments { "eu-addr2line", "--pid=" + std::to_string(getpid()), "-f", "-C", "-i", "--pretty-print", "-a" };
    for (uintptr_t address : exception->backtrace()) {
        char text[32];
        std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(address - 1));
        arguments.push_back(text);
    }
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    for (auto _ : state) {
        int ends[2];
        if (pipe(ends) != 0)
            state.SkipWithError("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        pid_t pid;
        posix_spawnp(&pid, "eu-addr2line", &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        std::string output;
        char buffer[4096];
        for (ssize_t n; (n = read(ends[0], buffer, sizeof(buffer))) > 0;)
            output.append(buffer, static_cast<size_t>(n));
        close(ends[0]);
        waitpid(pid, nullptr, 0);
        benchmark::DoNotOptimize(output);
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("date_text_kept/yarkit", dateTextYarkit);
    benchmark::RegisterBenchmark("date_text_kept/icu_kept", dateTextKeptICU);
    benchmark::RegisterBenchmark("date_text_new/yarkit", dateTextYarkit);
    benchmark::RegisterBenchmark("date_text_new/icu_new", dateTextNewICU);
    benchmark::RegisterBenchmark("relative_day/yarkit", relativeDayYarkit);
    benchmark::RegisterBenchmark("relative_day/icu_relative", relativeDayICU);
    benchmark::RegisterBenchmark("string_for_bytes/yarkit", sizeYarkit);
    benchmark::RegisterBenchmark("string_for_bytes/g_format_size", sizeGLib);
    benchmark::RegisterBenchmark("pool_hits/yarkit", poolYarkit<0>);
    benchmark::RegisterBenchmark("pool_hits/g_intern_string", poolGLib<0>);
    benchmark::RegisterBenchmark("pool_hits_set/yarkit", poolYarkit<0>);
    benchmark::RegisterBenchmark("pool_hits_set/mutex_set", poolMutexSet<0>);
    benchmark::RegisterBenchmark("pool_misses/yarkit", poolYarkit<1>);
    benchmark::RegisterBenchmark("pool_misses/g_intern_string", poolGLib<1>);
    benchmark::RegisterBenchmark("pool_misses_set/yarkit", poolYarkit<1>);
    benchmark::RegisterBenchmark("pool_misses_set/mutex_set", poolMutexSet<1>);
    benchmark::RegisterBenchmark("pool_hits_2threads/yarkit", poolYarkit<0>)->Threads(2);
    benchmark::RegisterBenchmark("pool_hits_2threads/g_intern_string", poolGLib<0>)->Threads(2);
    benchmark::RegisterBenchmark("pool_hits_2threads_set/yarkit", poolYarkit<0>)->Threads(2);
    benchmark::RegisterBenchmark("pool_hits_2threads_set/mutex_set", poolMutexSet<0>)->Threads(2);
    // The symbol tool's time is spent in a child process: compared in real time.
    benchmark::RegisterBenchmark("stack_trace/yarkit", stackTraceYarkit)->Iterations(20)->UseRealTime();
    benchmark::RegisterBenchmark("stack_trace/eu-addr2line", stackTraceAddr2line)->Iterations(20)->UseRealTime();

    return yk::bench::runAndPrintRatios(argc, argv, { { "date_text_kept", "icu_kept" }, { "date_text_new", "icu_new" }, { "relative_day", "icu_relative" },
                             { "string_for_bytes", "g_format_size" }, { "pool_hits", "g_intern_string" }, { "pool_hits_set", "mutex_set" },
                             { "pool_misses", "g_intern_string" }, { "pool_misses_set", "mutex_set" },
                             { "pool_hits_2threads", "g_intern_string" }, { "pool_hits_2threads_set", "mutex_set" },
                             { "stack_trace", "eu-addr2line" } },
        { { "date_text_kept", 0.8 }, { "date_text_new", 15 }, { "relative_day", 0.5 }, { "string_for_bytes", 1.2 }, { "pool_hits", 1 },
            { "pool_hits_set", 1.5 }, { "pool_misses", 1 }, { "pool_misses_set", 1.5 }, { "pool_hits_2threads", 1 },
            { "pool_hits_2threads_set", 1.5 }, { "stack_trace", 0.8 } });
}
