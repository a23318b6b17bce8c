#include "tools/Commands.h"

#include <cstdio>
#include <string>

#include <Yarkit/YKByteFormatter.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* sizeHelp = R"(Usage: yarkit size N...

Prints each byte count N (0 to 18446744073709551615) as a short size in binary units, one a
line: "0 bytes", "1 byte", "99 bytes", "0.1 KB", "100 KB", "1.0 MB" ... "16384 PB". The texts
follow the messages language (LANGUAGE, LC_MESSAGES).

  --help   show this help

Exit status: 0 on success, 2 for a bad number.
)";

std::optional<uint64_t> parseCount(const std::string& text)
{
    if (text.empty() || text.size() > 20)
        return std::nullopt;
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9' || value > (UINT64_MAX - (c - '0')) / 10)
            return std::nullopt;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    return value;
}

} // namespace

int runSize(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "size", sizeHelp, {} }, argc, argv, first, status);
    if (!arguments)
        return status;
    if (arguments->operands.empty())
        return usageError("size", "no N given");
    std::vector<uint64_t> counts;
    for (const auto& operand : arguments->operands) {
        auto count = parseCount(operand);
        if (!count)
            return usageError("size", "bad number '" + operand + "'");
        counts.push_back(*count);
    }
    for (uint64_t count : counts)
        std::printf("%s\n", YKByteFormatter::stringForBytes(count)->utf8().c_str());
    return ExitSuccess;
}

} // namespace yk::tool
