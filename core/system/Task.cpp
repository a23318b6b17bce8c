#include <Yarkit/core/system/Task.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/FileHandle.h>
#include <Yarkit/core/system/Pipe.h>
#include <Yarkit/core/values/Exception.h>

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace yk {

YK_DEFINE_CLASS(Task);

namespace {

// Owns the file actions of one spawn.
class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&_actions); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    posix_spawn_file_actions_t* get() { return &_actions; }

private:
    posix_spawn_file_actions_t _actions;
};

FileHandle* outputHandle(Object* output)
{
    if (auto* pipe = dynamic_cast<Pipe*>(output))
        return pipe->fileHandleForWriting();
    return dynamic_cast<FileHandle*>(output);
}

} // namespace

Task::~Task()
{
    if (!_pid || _reaped)
        return;
    // The child outlives its task: a detached thread reaps it when it exits.
    pid_t pid = _pid;
    std::thread([pid] {
        int status;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
    }).detach();
}

void Task::launch()
{
    if (_pid)
        raise(NSInvalidArgumentException, "task already launched");
    if (!_launchPath)
        raise(NSInvalidArgumentException, "launch path not accessible");
    std::vector<std::string> texts { _launchPath->fileSystemRepresentation() };
    for (uint32_t i = 0; _arguments && i < _arguments->count(); ++i) {
        auto argument = _arguments->objectAtIndex(i);
        texts.push_back(argument ? argument->description()->utf8() : std::string());
    }
    std::vector<char*> argv;
    for (auto& text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);

    SpawnActions actions;
    FileHandle* output = outputHandle(_standardOutput.get());
    if (output)
        posix_spawn_file_actions_adddup2(actions.get(), output->fileDescriptor(), STDOUT_FILENO);
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], actions.get(), nullptr, argv.data(), environ) != 0)
        raise(NSInvalidArgumentException, "launch path not accessible");
    _pid = pid;
    // Only the child may keep the pipe's writing end, or the reader never sees the end.
    if (auto* pipe = dynamic_cast<Pipe*>(_standardOutput.get()))
        pipe->fileHandleForWriting()->closeFile();
}

void Task::recordStatus(int status)
{
    _reaped = true;
    _terminationStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Task::isRunning()
{
    if (!_pid || _reaped)
        return false;
    int status;
    if (waitpid(_pid, &status, WNOHANG) == _pid)
        recordStatus(status);
    return !_reaped;
}

void Task::terminate()
{
    if (isRunning())
        kill(_pid, SIGTERM);
}

void Task::waitUntilExit()
{
    if (!_pid || _reaped)
        return;
    int status;
    pid_t result;
    do {
        result = waitpid(_pid, &status, 0);
    } while (result < 0 && errno == EINTR);
    if (result == _pid)
        recordStatus(status);
    else
        _reaped = true;
}

} // namespace yk
