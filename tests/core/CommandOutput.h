#pragma once

// Runs a shell command for a test that checks the framework against an outside tool (openssl,
// python3, the shell), and returns what it wrote on standard output with its exit status.

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace yk::test {

struct CommandOutput {
    std::string output;
    // The command's exit status; -1 when it could not be started.
    int status { -1 };
};

inline CommandOutput runCommand(const std::string& command)
{
    CommandOutput result;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return result;
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
        result.output.append(buffer, n);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace yk::test
