#include "tools/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include <Yarkit/core/values/Error.h>

namespace yk::tool {

std::optional<Input> readInput(const std::string& name)
{
    Input input { name == "-" ? "(standard input)" : name, nullptr };
    // Standard input opened by name maps a redirected file like any other.
    Ref<Error> error;
    input.data = Data::dataWithContentsOfFile(name == "-" ? "/dev/stdin" : name.c_str(), Data::ReadingMappedIfSafe, &error);
    int code = input.data ? 0 : static_cast<int>(error->code());
    if (input.data && input.data->length() > MaximumInputSize)
        code = EFBIG;
    if (code) {
        std::fprintf(stderr, "yarkit: %s: %s\n", input.name.c_str(), std::strerror(code));
        return std::nullopt;
    }
    return input;
}

Ref<YFileStream> openInputStream(const std::string& name)
{
    if (name == "-")
        return YFileStream::streamWithStandardInput();
    Ref<FileHandle> handle = FileHandle::fileHandleForReadingAtPath(name);
    if (!handle) {
        std::fprintf(stderr, "yarkit: %s: %s\n", name.c_str(), std::strerror(errno));
        return nullptr;
    }
    return YFileStream::streamWithFileHandle(handle.get());
}

int usageError(const std::string& command, const std::string& message)
{
    std::fprintf(stderr, "yarkit %s: %s\nTry 'yarkit %s --help'.\n", command.c_str(), message.c_str(), command.c_str());
    return ExitError;
}

bool writeOutput(const void* bytes, size_t length)
{
    const auto* p = static_cast<const uint8_t*>(bytes);
    while (length) {
        ssize_t n = write(STDOUT_FILENO, p, length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            std::fprintf(stderr, "yarkit: cannot write to standard output: %s\n", std::strerror(errno));
            return false;
        }
        p += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

namespace {

// "-DefaultBase64LineLength": one dash and a letter.
bool isUserDefault(const std::string& argument)
{
    return argument.size() > 1 && argument[0] == '-' && std::isalpha(static_cast<unsigned char>(argument[1]));
}

} // namespace

std::optional<Arguments> parseArguments(int argc, char** argv, int first, const std::vector<OptionSpec>& accepted,
    std::string& error)
{
    Arguments arguments;
    bool optionsEnded = false;
    for (int i = first; i < argc; ++i) {
        std::string argument = argv[i];
        if (optionsEnded || argument == "-" || !argument.starts_with("-")) {
            arguments.operands.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        if (isUserDefault(argument) && i + 1 < argc) {
            ++i; // the user defaults read "-Key value" pairs themselves
            continue;
        }
        std::string name = argument.substr(0, argument.find('='));
        auto option = std::find_if(accepted.begin(), accepted.end(), [&](const OptionSpec& o) { return o.name == name; });
        if (option == accepted.end()) {
            error = "unknown option '" + argument + "'";
            return std::nullopt;
        }
        if (!option->takesValue) {
            if (name != argument) {
                error = "option '" + name + "' takes no value";
                return std::nullopt;
            }
            arguments.options[name] = "";
        } else if (name != argument) {
            arguments.options[name] = argument.substr(name.size() + 1);
        } else if (i + 1 < argc) {
            arguments.options[name] = argv[++i];
        } else {
            error = "option '" + name + "' needs a value";
            return std::nullopt;
        }
    }
    return arguments;
}

std::optional<Arguments> parseCommandLine(const CommandSpec& command, int argc, char** argv, int first, int& status)
{
    std::vector<OptionSpec> accepted = command.options;
    accepted.push_back({ "--help" });
    std::string error;
    auto arguments = parseArguments(argc, argv, first, accepted, error);
    if (!arguments) {
        status = usageError(command.name, error);
        return std::nullopt;
    }
    if (arguments->has("--help")) {
        std::fputs(command.help, stdout);
        status = ExitSuccess;
        return std::nullopt;
    }
    return arguments;
}

} // namespace yk::tool
