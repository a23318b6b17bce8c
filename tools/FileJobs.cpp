#include "tools/FileJobs.h"

#include "tools/CommandLine.h"

#include <Yarkit/MainThreadMessaging.h>
#include <Yarkit/YJob.h>
#include <Yarkit/YJobCenter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/threads/RunLoopSource.h>
#include <Yarkit/core/values/Array.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstdio>
#include <mutex>
#include <sys/signalfd.h>
#include <unistd.h>

namespace yk::tool {

namespace {

// The jobs' target and the center's delegate: runs a file's work on a job thread, keeps at most
// `parallel` jobs running, and prints finished results in order on the main thread.
class FileJobRunner final : public Object {
    YK_OBJECT(FileJobRunner, Object)
public:
    FileJobRunner(size_t count, unsigned parallel, const std::function<FileResult(size_t, const bool&)>& work)
        : _work(work)
        , _parallel(parallel)
        , _results(count)
        , _done(count, false)
    {
    }

    void process(int32_t index)
    {
        bool cancelled = _cancelled.load();
        FileResult result = _work(static_cast<size_t>(index), cancelled);
        {
            std::lock_guard guard(_lock);
            _results[static_cast<size_t>(index)] = std::move(result);
        }
        performSelectorInMainThreadWithInt(this, "finished:", index);
    }
    // The abort message: the work in progress is told to stop.
    void abortProcessing() { _cancelled = true; }
    bool shouldExecute(YJobCenter*, YJob*, Array* running) { return running->count() < _parallel; }

    // On the main thread.
    void finished(int32_t index)
    {
        _done[static_cast<size_t>(index)] = true;
        while (_printed < _done.size() && _done[_printed]) {
            FileResult result;
            {
                std::lock_guard guard(_lock);
                result = std::move(_results[_printed]);
            }
            std::fwrite(result.out.data(), 1, result.out.size(), stdout);
            std::fwrite(result.err.data(), 1, result.err.size(), stderr);
            _status = std::max(_status, result.status);
            ++_printed;
        }
        std::fflush(stdout);
    }
    bool allPrinted() const { return _printed == _done.size(); }
    int status() const { return _status; }

private:
    std::function<FileResult(size_t, const bool&)> _work;
    const unsigned _parallel;
    std::atomic<bool> _cancelled { false };
    std::mutex _lock;
    std::vector<FileResult> _results; // guarded by _lock
    std::vector<bool> _done; // main thread only
    size_t _printed { 0 };
    int _status { 0 };
};

YK_DEFINE_CLASS(FileJobRunner, [](MethodListBuilder& c) {
    c.method("process:", &FileJobRunner::process);
    c.method("finished:", &FileJobRunner::finished);
    c.method("abortProcessing", &FileJobRunner::abortProcessing);
    c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &FileJobRunner::shouldExecute);
});

} // namespace

bool parseJobCount(const Arguments& arguments, unsigned& jobs)
{
    jobs = 0;
    for (const char* option : { "-j", "--jobs" }) {
        if (!arguments.has(option))
            continue;
        const std::string& value = arguments.options.at(option);
        char* end = nullptr;
        const unsigned long count = std::strtoul(value.c_str(), &end, 10);
        if (value.empty() || *end || count < 1 || count > 1024)
            return false;
        jobs = static_cast<unsigned>(count);
    }
    return true;
}

int runFileJobs(size_t count, unsigned parallel, const std::function<FileResult(size_t, const bool&)>& work)
{
    YJobCenter::mainThreadCenter(); // prepared here, on the main thread
    // Ctrl-C arrives as a descriptor the main loop watches; the job threads inherit the mask.
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    const int signals = signalfd(-1, &interrupt, SFD_NONBLOCK | SFD_CLOEXEC);

    auto runner = make<FileJobRunner>(count, std::max(parallel, 1u), work);
    auto center = YJobCenter::jobCenter();
    center->setDelegate(runner.get());
    bool interrupted = false;
    auto onInterrupt = RunLoopSource::sourceWithFileDescriptor(signals, 0, [&] {
        signalfd_siginfo info;
        while (read(signals, &info, sizeof info) == sizeof info) { }
        interrupted = true;
        center->removeAllWaitingJobs();
        center->abortAllRunningJobs();
    });
    RunLoop* loop = RunLoop::currentRunLoop();
    loop->addSource(onInterrupt.get(), kCFRunLoopDefaultMode);

    for (size_t index = 0; index < count; ++index) {
        auto job = YJob::jobWithTargetWithInt(runner.get(), "process:", static_cast<int32_t>(index));
        job->setAbortSelector("abortProcessing");
        center->postJob(job.get());
    }
    while (!runner->allPrinted() && !(interrupted && !center->hasRunningJobs()))
        loop->runMode(kCFRunLoopDefaultMode, RunLoop::Clock::now() + std::chrono::milliseconds(100));

    loop->removeSource(onInterrupt.get(), kCFRunLoopDefaultMode);
    center->setDelegate(nullptr);
    close(signals);
    pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
    std::fflush(stdout);
    return interrupted ? 130 : runner->status();
}

} // namespace yk::tool
