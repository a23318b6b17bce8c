#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

#include <sys/types.h>

namespace yk {

// Runs another program as a child process: a launch path, arguments and a standard output (a
// FileHandle or a Pipe); standard input and error are this process's. Launched with
// posix_spawn and reaped with waitpid on its own pid, so no SIGCHLD handler is involved and no
// zombie is left: a task released while its child still runs hands the child to a thread that
// waits for it.
//
// Not a thread-safe object: one thread at a time.
class Task final : public Object {
    YK_OBJECT(Task, Object)
public:
    Task() = default;
    ~Task() override;

    void setLaunchPath(Ref<String> path) { _launchPath = std::move(path); }
    const Ref<String>& launchPath() const { return _launchPath; }
    // Strings.
    void setArguments(Ref<Array> arguments) { _arguments = std::move(arguments); }
    // A FileHandle or a Pipe (its writing end); null leaves this process's standard output.
    void setStandardOutput(Ref<Object> output) { _standardOutput = std::move(output); }

    // Starts the program. Raises NSInvalidArgumentException "launch path not accessible" when it
    // cannot be started, and NSInvalidArgumentException "task already launched" the second time.
    void launch();
    // True from launch until the child has exited.
    bool isRunning();
    // Sends SIGTERM to a running child.
    void terminate();
    // Blocks until the child has exited.
    void waitUntilExit();
    // The exit status (or 128 + the signal); 0 until the child has exited.
    int terminationStatus() const { return _terminationStatus; }
    pid_t processIdentifier() const { return _pid; }

private:
    void recordStatus(int status);

    Ref<String> _launchPath;
    Ref<Array> _arguments;
    Ref<Object> _standardOutput;
    pid_t _pid { 0 };
    bool _reaped { false };
    int _terminationStatus { 0 };
};

} // namespace yk
