#include "tools/Commands.h"

#include <charconv>
#include <cstdio>
#include <string>

#include <Yarkit/StringIDN.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* idnHelp = R"(Usage: yarkit idn --to-ascii|--to-unicode [--options N] [--uts46] [--] NAME

Converts the host name NAME (UTF-8) to its ASCII form ("xn--" labels) or back to Unicode, by
ICU's IDNA2003 operations, and prints the result and a newline.

  --to-ascii     convert to the ASCII form
  --to-unicode   convert to the Unicode form
  --options N    ICU's IDNA option bits, a signed 32-bit number passed unchanged: 0 the
                 defaults, 1 allow unassigned code points, 2 the STD3 host-name rules
  --uts46        use UTS #46 (non-transitional, with the BiDi and CONTEXTJ checks) instead;
                 --options does not apply
  --help         show this help

Exit status: 0 on success, 1 when the name cannot be converted (a message on standard error),
2 on bad usage.
)";

std::optional<int32_t> parseOptions(const std::string& text)
{
    int32_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

} // namespace

int runIDN(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "idn", idnHelp, { { "--to-ascii" }, { "--to-unicode" }, { "--options", true }, { "--uts46" } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    const bool toASCII = arguments->has("--to-ascii");
    if (toASCII == arguments->has("--to-unicode"))
        return usageError("idn", "give one of --to-ascii and --to-unicode");
    if (arguments->operands.size() != 1)
        return usageError("idn", "takes one NAME");
    int32_t options = 0;
    if (arguments->has("--options")) {
        auto parsed = parseOptions(arguments->options.at("--options"));
        if (!parsed)
            return usageError("idn", "options must be a signed 32-bit number, not '" + arguments->options.at("--options") + "'");
        options = *parsed;
    }
    const std::string& operand = arguments->operands.front();
    auto name = String::stringWithBytes(operand.data(), operand.size(), kCFStringEncodingUTF8);
    if (!name)
        return usageError("idn", "NAME is not well-formed UTF-8");

    uint32_t errors = 0;
    Ref<String> result;
    if (arguments->has("--uts46"))
        result = toASCII ? YK_UTS46ToASCII(name.get(), &errors) : YK_UTS46ToUnicode(name.get(), &errors);
    else
        result = toASCII ? YK_IDNToASCIIWithOptions(name.get(), options) : YK_IDNToUnicodeWithOptions(name.get(), options);
    if (!result) {
        if (errors)
            std::fprintf(stderr, "yarkit idn: %s: cannot be converted (UTS #46 errors 0x%x)\n", operand.c_str(), errors);
        else
            std::fprintf(stderr, "yarkit idn: %s: cannot be converted\n", operand.c_str());
        return ExitChanged;
    }
    const std::string text = result->utf8() + "\n";
    return writeOutput(text.data(), text.size()) ? ExitSuccess : ExitError;
}

} // namespace yk::tool
