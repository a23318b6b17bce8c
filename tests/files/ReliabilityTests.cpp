// Files under concurrency and failure: threads and spawned processes creating temporary,
// numbered and folder paths at once, failed writes on full and read-only file systems, and a
// file system without user attributes. The larger counts run with YK_LONG_TESTS set (the ctest
// label "long").

#include <Yarkit/FileManagerAdditions.h>
#include <Yarkit/HostAdditions.h>
#include <Yarkit/SystemFunctions.h>
#include <Yarkit/YDefaultHandler.h>
#include <Yarkit/YFile.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>

#include "files/FilesTestSupport.h"

extern char** environ;

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

namespace {

bool longRun()
{
    return std::getenv("YK_LONG_TESTS") != nullptr;
}

struct Worker {
    pid_t pid;
    FILE* output;
};

// Spawns the helper with its output on a pipe.
Worker spawnWorker(const std::vector<std::string>& arguments)
{
    int pipeEnds[2];
    EXPECT_EQ(pipe(pipeEnds), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    std::vector<char*> argv { const_cast<char*>(YK_FILE_WORKER_PATH) };
    for (auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, YK_FILE_WORKER_PATH, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    return { pid, fdopen(pipeEnds[0], "r") };
}

// Reads the worker's lines and waits for it; its exit status.
int finish(Worker& worker, std::vector<std::string>& lines)
{
    char line[4096];
    while (std::fgets(line, sizeof line, worker.output)) {
        std::string text = line;
        if (!text.empty() && text.back() == '\n')
            text.pop_back();
        lines.push_back(text);
    }
    std::fclose(worker.output);
    int status = 0;
    waitpid(worker.pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> runWorkers(int processes, const std::vector<std::string>& arguments)
{
    std::vector<Worker> workers;
    for (int i = 0; i < processes; ++i)
        workers.push_back(spawnWorker(arguments));
    std::vector<std::string> lines;
    for (auto& worker : workers)
        EXPECT_EQ(finish(worker, lines), 0);
    return lines;
}

// The numbered names a folder should hold: report.txt, report 2.txt ... report <count>.txt.
std::set<std::string> numberedNames(int count)
{
    std::set<std::string> names { "report.txt" };
    for (int i = 2; i <= count; ++i)
        names.insert("report " + std::to_string(i) + ".txt");
    return names;
}

std::set<std::string> namesIn(const fs::path& folder)
{
    std::set<std::string> names;
    for (auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

void checkProcesses(int perProcess)
{
    yk::test::TemporaryFolder folder;
    fs::create_directory(folder.path() / "temporary");
    auto temporary = runWorkers(8, { "temporary", (folder.path() / "temporary").string(), std::to_string(perProcess) });
    EXPECT_EQ(std::set<std::string>(temporary.begin(), temporary.end()).size(), size_t(8 * perProcess));
    EXPECT_EQ(namesIn(folder.path() / "temporary").size(), size_t(8 * perProcess));

    fs::create_directory(folder.path() / "numbered");
    auto numbered = runWorkers(8, { "numbered", (folder.path() / "numbered/report.txt").string(), std::to_string(perProcess) });
    EXPECT_EQ(numbered.size(), size_t(8 * perProcess));
    EXPECT_EQ(namesIn(folder.path() / "numbered"), numberedNames(8 * perProcess));
}

TEST(FilesReliability, EightProcessesNeverShareAName)
{
    checkProcesses(250);
}

TEST(FilesReliability, LongEightProcessesNeverShareAName)
{
    if (!longRun())
        GTEST_SKIP() << "set YK_LONG_TESTS (ctest -L long) for 8 x 1,000 files per kind";
    checkProcesses(1000);
}

TEST(FilesReliability, EightThreadsNeverShareAName)
{
    yk::test::TemporaryFolder folder;
    const int perThread = longRun() ? 1000 : 200;
    auto temporaryTemplate = yk::test::pathIn(folder, "tXXXXXX");
    auto report = yk::test::pathIn(folder, "n/report.txt");
    fs::create_directory(folder.path() / "n");
    std::vector<std::thread> threads;
    std::vector<std::vector<std::string>> made(8);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < perThread; ++i) {
                made[t].push_back(YK_createTemporaryFileUsingTemplate(FileManager::defaultManager(), temporaryTemplate.get(), 0)->utf8());
                YK_createNumberedFileUsingPath(FileManager::defaultManager(), report.get())->utf8();
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    std::set<std::string> unique;
    for (auto& list : made)
        unique.insert(list.begin(), list.end());
    EXPECT_EQ(unique.size(), size_t(8 * perThread));
    EXPECT_EQ(namesIn(folder.path() / "n"), numberedNames(8 * perThread));
}

TEST(FilesReliability, SiblingPathsUnderOneMissingParentAllSucceed)
{
    for (int round = 0; round < (longRun() ? 200 : 20); ++round) {
        yk::test::TemporaryFolder folder;
        std::vector<std::thread> threads;
        std::atomic<int> succeeded { 0 };
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&, t] {
                auto path = yk::test::pathIn(folder, "missing/parent/child" + std::to_string(t));
                Ref<Error> error;
                succeeded += YK_createPath(FileManager::defaultManager(), path.get(), nullptr, &error);
            });
        }
        for (auto& thread : threads)
            thread.join();
        ASSERT_EQ(succeeded, 8) << "round " << round;
    }
}

TEST(FilesReliability, SharedFilesHashAndCompareWhileTheHandlerChanges)
{
    std::vector<Ref<YFile>> files;
    for (int i = 0; i < 16; ++i)
        files.push_back(YFile::fileWithPath(str(("/var/mail/box" + std::to_string(i % 8)).c_str()).get()));
    std::atomic<bool> stop { false };
    std::thread switcher([&] {
        auto handler = make<YDefaultHandler>();
        while (!stop) {
            YFile::setHandler(handler.get());
            YFile::setHandler(nullptr);
        }
    });
    std::vector<std::thread> threads;
    std::atomic<int> equal { 0 };
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                auto& a = files[round % 16];
                auto& b = files[(round + 8) % 16];
                equal += a->isEqual(b.get()) && a->hash() == b->hash();
                EXPECT_NE(YFile::handler(), nullptr);
            }
        });
    }
    // The first calls of the helpers that read once.
    std::vector<std::thread> firstCalls;
    for (int t = 0; t < 4; ++t) {
        firstCalls.emplace_back([] {
            EXPECT_NE(y_get_domain_name(), nullptr);
            EXPECT_GT(yk_operatingSystemVersion(ProcessInfo::processInfo()).majorVersion, 0);
            EXPECT_NE(YDefaultHandler::handler(), nullptr);
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (auto& thread : firstCalls)
        thread.join();
    stop = true;
    switcher.join();
    EXPECT_EQ(equal, 8 * 2000);
}

TEST(FilesReliability, FailedWritesKeepTheOldBytes)
{
    yk::test::TemporaryFolder folder;
    std::vector<std::string> lines;
    auto worker = spawnWorker({ "failed-writes", folder.path().string() });
    int status = finish(worker, lines);
    if (status == 77)
        GTEST_SKIP() << "no private mount namespace with a tmpfs here (unshare or mount refused)";
    EXPECT_EQ(status, 0) << "see the worker's lines on standard error";
}

TEST(FilesReliability, NoUserAttributesOnRamfs)
{
    yk::test::TemporaryFolder folder;
    std::vector<std::string> lines;
    auto worker = spawnWorker({ "no-xattrs", folder.path().string() });
    int status = finish(worker, lines);
    if (status == 77)
        GTEST_SKIP() << "no private mount namespace with a ramfs here (unshare or mount refused)";
    EXPECT_EQ(status, 0) << "see the worker's lines on standard error";
}

} // namespace
