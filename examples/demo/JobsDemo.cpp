// The demo's jobs: the mailbox is fetched and each message decoded in background jobs, two at a
// time, which report to the main thread's run loop; a timer ticks meanwhile, one job is
// cancelled before it starts and one is aborted while it runs.

#include "DemoParts.h"

#include <Yarkit/Yarkit.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

const char MailboxProgressNotification[] = "MailboxProgressNotification";

// Repairs the bytes in the encoding they were detected in; the repaired copy replaces them.
bool repairInPlace(std::vector<unsigned char>& bytes, CFStringEncoding encoding)
{
    unsigned char* repaired = nullptr;
    uint32_t repairedLength = 0;
    const auto length = static_cast<uint32_t>(bytes.size());
    bool fixed = false;
    switch (encoding) {
    case kCFStringEncodingUTF8:
        fixed = YKFixUTF8Bytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    case kCFStringEncodingShiftJIS:
    case kCFStringEncodingDOSJapanese:
        fixed = YKFixShiftJISBytes(bytes.data(), length, &repaired, &repairedLength, encoding == kCFStringEncodingDOSJapanese ? 2 : 0);
        break;
    case kCFStringEncodingEUC_JP:
        fixed = YKFixEUCJPBytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    default:
        return false;
    }
    if (fixed) {
        bytes.assign(repaired, repaired + repairedLength);
        std::free(repaired);
    }
    return fixed;
}

// For bytes no encoding accepts as they are: the encoding whose repair replaces the fewest
// sequences with "?", with the bytes repaired in it.
CFStringEncoding repairInLikeliestEncoding(std::vector<unsigned char>& bytes)
{
    CFStringEncoding best = kCFStringEncodingInvalidId;
    std::vector<unsigned char> bestBytes;
    long fewestMarks = 0;
    for (CFStringEncoding candidate : { kCFStringEncodingUTF8, kCFStringEncodingShiftJIS, kCFStringEncodingEUC_JP }) {
        auto repaired = bytes;
        repairInPlace(repaired, candidate);
        const long marks = std::count(repaired.begin(), repaired.end(), '?');
        if (best == kCFStringEncodingInvalidId || marks < fewestMarks) {
            best = candidate;
            bestBytes = std::move(repaired);
            fewestMarks = marks;
        }
    }
    bytes = std::move(bestBytes);
    return best;
}

// A message's line: its name, its encoding as detected and its first line decoded.
std::string messageLine(const std::filesystem::path& path)
{
    auto bytes = demo::readFile(path);
    CFStringEncoding encoding = YKDetectJapaneseEncoding(bytes.data(), static_cast<int32_t>(bytes.size()), false, false);
    const char* note = "";
    if (encoding == kCFStringEncodingInvalidId) {
        encoding = repairInLikeliestEncoding(bytes);
        note = " (repaired)";
    }
    auto text = yk::String::stringWithBytes(bytes.data(), bytes.size(), encoding);
    std::string firstLine = text ? text->utf8() : "(does not decode)";
    firstLine = firstLine.substr(0, firstLine.find('\n'));
    const char* name = yk::stringEncodingName(encoding);
    char line[512];
    std::snprintf(line, sizeof line, "  %-22s %-12s%-11s %s", path.filename().c_str(), name ? name : "unknown", note, firstLine.c_str());
    return line;
}

// The work the jobs do, on their own threads; results go to the controller on the main thread.
class MailWorker : public yk::Object {
    YK_OBJECT(MailWorker, yk::Object)
public:
    explicit MailWorker(yk::Object* controller)
        : _controller(controller)
    {
    }

    void fetch(yk::String* folder)
    {
        std::vector<yk::Ref<yk::Object>> messages;
        for (const auto& path : demo::listSamples(folder->utf8()))
            messages.push_back(yk::String::withUTF8(path.string()));
        yk::performSelectorInMainThread(_controller, "mailboxDidFetch:", yk::make<yk::Array>(std::move(messages)).get());
    }

    void decode(yk::String* path)
    {
        yk::performSelectorInMainThread(_controller, "showLine:", yk::String::withUTF8(messageLine(path->utf8())).get());
        // Progress notices coalesce: the main thread posts one for however many are queued.
        auto progress = yk::Notification::notificationWithName(yk::String::withUTF8(MailboxProgressNotification), nullptr);
        yk::enqueueNotificationInMainThread(progress.get(), yk::NSPostASAP, yk::NSNotificationCoalescingOnName, nullptr);
    }

    // Checks for new mail until told to stop.
    void watchForMail()
    {
        while (!_stopped.load())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    void stopWatching() { _stopped = true; }

private:
    yk::Object* _controller; // not retained: it outlives the jobs
    std::atomic<bool> _stopped { false };
};

YK_DEFINE_CLASS(MailWorker, [](yk::MethodListBuilder& c) {
    c.method("fetch:", &MailWorker::fetch);
    c.method("decode:", &MailWorker::decode);
    c.method("watchForMail", &MailWorker::watchForMail);
    c.method("stopWatching", &MailWorker::stopWatching);
});

// The center's delegate, on the main thread for everything but the vetting question.
class MailController : public yk::Object {
    YK_OBJECT(MailController, yk::Object)
public:
    // Two jobs at a time beside the mail watcher; the postponed job waits until it is cancelled.
    bool shouldExecuteJob(yk::YJobCenter*, yk::YJob* job, yk::Array* running)
    {
        uint32_t busy = 0;
        for (uint32_t i = 0; i < running->count(); ++i)
            busy += running->objectAtIndex(i).get() != _watcherJob.load();
        return job != _postponed.load() && busy < 2;
    }

    void jobCenterDidActivate(yk::Notification*) { std::printf("  the job center is busy\n"); }
    void jobCenterDidDeactivate(yk::Notification*)
    {
        std::printf("  the job center is idle again\n");
        idle = true;
    }
    void jobDidCancel(yk::Notification*) { std::printf("  a job for a message nobody wants was cancelled before it started\n"); }

    void mailboxDidFetch(yk::Array* messages)
    {
        std::printf("  fetched %u messages (on the %s thread); decoding them two at a time:\n", messages->count(), yk::Thread::isMainThread() ? "main" : "other");
        auto worker = yk::make<MailWorker>(this);
        for (uint32_t i = 0; i < messages->count(); ++i)
            center->postJob(yk::YJob::jobWithTarget(worker.get(), "decode:", messages->objectAtIndex(i).get()).get());
        auto unwanted = yk::YJob::jobWithTarget(worker.get(), "decode:", yk::String::withUTF8("unwanted.txt").get());
        _postponed = unwanted.get();
        center->postJob(unwanted.get());
        center->removeJob(unwanted.get());
        _expected = messages->count();
    }
    void showLine(yk::String* line)
    {
        std::printf("%s\n", line->utf8().c_str());
        if (++_shown == _expected)
            _watcher->abort(); // the watch job is running: its abort message stops it
    }
    void progress(yk::Notification*) { ++progressNotices; }
    void tick(yk::Timer*) { ++ticks; }

    void start(const std::filesystem::path& samples)
    {
        auto worker = yk::make<MailWorker>(this);
        center->postJob(yk::YJob::jobWithTarget(worker.get(), "fetch:", yk::String::withUTF8(samples.string()).get()).get());
        auto watcher = yk::YJob::jobWithTarget(worker.get(), "watchForMail");
        watcher->setAbortSelector("stopWatching");
        _watcher = watcher;
        _watcherJob = watcher.get();
        center->postJob(watcher.get());
    }

    yk::Ref<yk::YJobCenter> center = yk::YJobCenter::jobCenter();
    bool idle { false };
    int progressNotices { 0 };
    int ticks { 0 };

private:
    yk::Ref<yk::YJob> _watcher;
    std::atomic<yk::Object*> _watcherJob { nullptr };
    uint32_t _expected { 0 };
    uint32_t _shown { 0 };
    std::atomic<yk::YJob*> _postponed { nullptr };
};

YK_DEFINE_CLASS(MailController, [](yk::MethodListBuilder& c) {
    c.method("jobCenter:shouldExecuteJob:withRunningJobs:", &MailController::shouldExecuteJob);
    c.method("jobCenterDidActivate:", &MailController::jobCenterDidActivate);
    c.method("jobCenterDidDeactivate:", &MailController::jobCenterDidDeactivate);
    c.method("jobDidCancel:", &MailController::jobDidCancel);
    c.method("mailboxDidFetch:", &MailController::mailboxDidFetch);
    c.method("showLine:", &MailController::showLine);
    c.method("progress:", &MailController::progress);
    c.method("tick:", &MailController::tick);
});

} // namespace

std::vector<unsigned char> demo::readFile(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>() };
}

bool demo::showJobs(const std::filesystem::path& samples)
{
    yk::YJobCenter::mainThreadCenter(); // prepared on the main thread before any job reports
    auto controller = yk::make<MailController>();
    controller->center->setDelegate(controller.get());
    auto* notifications = yk::NotificationCenter::defaultCenter();
    notifications->addObserver(controller.get(), "progress:", MailboxProgressNotification, nullptr);
    auto timer = yk::Timer::scheduledTimerWithTimeInterval(0.001, controller.get(), "tick:", nullptr, true);

    controller->start(samples);
    yk::RunLoop* loop = yk::RunLoop::currentRunLoop();
    const auto limit = yk::RunLoop::Clock::now() + std::chrono::seconds(30);
    while (!controller->idle && yk::RunLoop::Clock::now() < limit)
        loop->runMode(yk::kCFRunLoopDefaultMode, yk::RunLoop::Clock::now() + std::chrono::milliseconds(100));
    loop->limitDateForMode(yk::kCFRunLoopDefaultMode); // the last progress notices

    timer->invalidate();
    notifications->removeObserver(controller.get());
    controller->center->setDelegate(nullptr);
    std::printf("  %s, and a timer ticked in the main loop meanwhile: %s\n",
        controller->progressNotices < 6 ? "progress notices were coalesced" : "progress was announced for each message", controller->ticks > 0 ? "yes" : "no");
    return controller->idle;
}
