#pragma once

// What every command of the yarkit tool shares: reading its inputs, reporting errors, and the
// exit statuses.

#include <Yarkit/YFileStream.h>
#include <Yarkit/core/values/Data.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace yk::tool {

enum ExitStatus : int {
    ExitSuccess = 0,
    // The command did its job but changed or could not place something (see each command).
    ExitChanged = 1,
    // Bad usage, an unknown encoding, or an input that cannot be read.
    ExitError = 2,
};

// One input: a named file, or standard input when the name is "-".
struct Input {
    std::string name;
    Ref<Data> data;

    std::span<const uint8_t> bytes() const { return data->span(); }
};

// Maps the file read-only (a pipe, a device or standard input that is not a regular file is
// read instead). On failure prints "yarkit: NAME: reason" to standard error and returns
// nothing; inputs larger than MaximumInputSize fail.
std::optional<Input> readInput(const std::string& name);

// The largest input the byte functions take (their lengths are 32-bit).
inline constexpr size_t MaximumInputSize = 0x7FFFFFFF;

// A stream that reads the named file, or standard input for "-". On failure prints
// "yarkit: NAME: reason" to standard error and returns null.
Ref<YFileStream> openInputStream(const std::string& name);

// Prints "yarkit COMMAND: message" and a pointer to --help on standard error; returns ExitError.
int usageError(const std::string& command, const std::string& message);

// Writes all bytes to standard output; false (after a message) when the write fails.
bool writeOutput(const void* bytes, size_t length);

// The options a command accepts, by full name ("--decode"); `takesValue` options read their
// value from the next argument or after "=".
struct OptionSpec {
    std::string name;
    bool takesValue { false };
};

// A command line split into options and operands. Everything after "--", and "-" itself, is
// an operand. A user default given as "-Key value" (one dash, then a letter) is skipped: the
// user defaults read it from the command line themselves.
struct Arguments {
    std::map<std::string, std::string> options; // flags map to ""
    std::vector<std::string> operands;

    bool has(const std::string& name) const { return options.contains(name); }
    // The inputs named, or "-" (standard input) when none is.
    std::vector<std::string> inputNames() const { return operands.empty() ? std::vector<std::string> { "-" } : operands; }
};

// Parses argv[first...] against the accepted options. On an unknown option or a missing value
// returns nothing and sets `error` to a message for usageError.
std::optional<Arguments> parseArguments(int argc, char** argv, int first, const std::vector<OptionSpec>& accepted,
    std::string& error);

// A command's name, its help text and the options it accepts besides --help.
struct CommandSpec {
    const char* name;
    const char* help;
    std::vector<OptionSpec> options;
};

// Parses a command's arguments. For --help it prints the help, for a bad option a usage error;
// then it returns nothing and sets `status` to the exit status the command returns at once.
std::optional<Arguments> parseCommandLine(const CommandSpec& command, int argc, char** argv, int first, int& status);

} // namespace yk::tool
