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
#include <thread>

#include "core/CommandOutput.h"
#include "files/FilesTestSupport.h"

namespace fs = std::filesystem;
using namespace yk;
using yk::test::str;

namespace {

const bool longRun = std::getenv("YK_LONG_TESTS") != nullptr;

// Runs the helper (a process of its own, never a fork of this threaded program) with the
// arguments; its exit status and the lines it printed.
yk::test::CommandOutput runWorker(const std::vector<std::string>& arguments)
{
    std::string command = YK_FILE_WORKER_PATH;
    for (auto& argument : arguments)
        command += " '" + argument + "'";
    return yk::test::runCommand(command);
}

// Eight workers at once; every line they printed.
std::vector<std::string> runWorkers(const std::vector<std::string>& arguments)
{
    std::vector<yk::test::CommandOutput> outputs(8);
    std::vector<std::thread> threads;
    for (auto& output : outputs)
        threads.emplace_back([&] { output = runWorker(arguments); });
    std::vector<std::string> lines;
    for (size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        EXPECT_EQ(outputs[i].status, 0);
        for (size_t start = 0, end; (end = outputs[i].output.find('\n', start)) != std::string::npos; start = end + 1)
            lines.push_back(outputs[i].output.substr(start, end - start));
    }
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

TEST(FilesReliability, EightProcessesNeverShareAName)
{
    const int perProcess = longRun ? 1000 : 250;
    yk::test::TemporaryFolder folder;
    fs::create_directory(folder.path() / "temporary");
    auto temporary = runWorkers({ "temporary", (folder.path() / "temporary").string(), std::to_string(perProcess) });
    EXPECT_EQ(std::set<std::string>(temporary.begin(), temporary.end()).size(), size_t(8 * perProcess));
    EXPECT_EQ(namesIn(folder.path() / "temporary").size(), size_t(8 * perProcess));

    fs::create_directory(folder.path() / "numbered");
    auto numbered = runWorkers({ "numbered", (folder.path() / "numbered/report.txt").string(), std::to_string(perProcess) });
    EXPECT_EQ(numbered.size(), size_t(8 * perProcess));
    EXPECT_EQ(namesIn(folder.path() / "numbered"), numberedNames(8 * perProcess));
}

TEST(FilesReliability, EightThreadsNeverShareAName)
{
    yk::test::TemporaryFolder folder;
    const int perThread = longRun ? 1000 : 200;
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
    for (int round = 0; round < (longRun ? 200 : 20); ++round) {
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
            // The first calls of the helpers that read once race here too.
            EXPECT_NE(y_get_domain_name(), nullptr);
            EXPECT_GT(yk_operatingSystemVersion(ProcessInfo::processInfo()).majorVersion, 0);
            EXPECT_NE(YDefaultHandler::handler(), nullptr);
            for (int round = 0; round < 2000; ++round) {
                auto& a = files[round % 16];
                auto& b = files[(round + 8) % 16];
                equal += a->isEqual(b.get()) && a->hash() == b->hash();
                EXPECT_NE(YFile::handler(), nullptr);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    stop = true;
    switcher.join();
    EXPECT_EQ(equal, 8 * 2000);
}

// The worker checks these in a mount namespace of its own; 77 means it could not have one.
TEST(FilesReliability, FailedWritesKeepTheOldBytesAndRamfsHasNoUserAttributes)
{
    std::string skipped;
    for (const char* mode : { "failed-writes", "no-xattrs" }) {
        yk::test::TemporaryFolder folder;
        int status = runWorker({ mode, folder.path().string() }).status;
        if (status == 77)
            skipped += std::string(" ") + mode;
        else
            EXPECT_EQ(status, 0) << mode << ": see the worker's lines on standard error";
    }
    if (!skipped.empty())
        GTEST_SKIP() << "no private mount namespace with a tmpfs or ramfs here (unshare or mount refused):" << skipped;
}

} // namespace
