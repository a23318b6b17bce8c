#include "tools/Commands.h"

#include <charconv>
#include <cstdio>
#include <string>

#include <Yarkit/StringRegex.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/Value.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* regexHelp = R"(Usage: yarkit regex [--all] [--backwards] [--ignore-case] [--syntax N]
                    [--range LOCATION,LENGTH] [--] PATTERN [FILE]

Searches the whole UTF-8 text of FILE (standard input when none is given, or for "-") for the
regular expression PATTERN and prints one line "LOCATION LENGTH" per match, in UTF-16 units, in
the order found.

  --all                    every match, not only the first
  --backwards              search from the end of the range towards its start
  --ignore-case            ignore case
  --syntax N               the pattern syntax for this run only (the user default
                           "YKRegexPatternSyntax"; nothing is saved): 0 Oniguruma, 1 POSIX
                           basic, 2 POSIX extended, 3 Emacs, 4 grep, 5 GNU regex, 6 Java,
                           7 Perl, 8 Ruby
  --range LOCATION,LENGTH  search only these units (the rest stays visible to anchors and
                           look-behind)
  --help                   show this help

Exit status: 0 when something matched, 1 when nothing did, 2 on bad usage, text that is not
well-formed UTF-8, or an exception ("yarkit regex: NAME: REASON").
)";

template <typename Integer>
bool parseNumber(std::string_view text, Integer& value)
{
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

std::optional<Range> parseRange(const std::string& text)
{
    const size_t comma = text.find(',');
    Range range;
    if (comma == std::string::npos || !parseNumber(std::string_view(text).substr(0, comma), range.location)
        || !parseNumber(std::string_view(text).substr(comma + 1), range.length))
        return std::nullopt;
    return range;
}

void printMatch(Range match, std::string& output)
{
    output += std::to_string(match.location) + " " + std::to_string(match.length) + "\n";
}

} // namespace

int runRegex(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "regex", regexHelp,
                                          { { "--all" }, { "--backwards" }, { "--ignore-case" }, { "--syntax", true }, { "--range", true } } },
        argc, argv, first, status);
    if (!arguments)
        return status;
    if (arguments->operands.empty() || arguments->operands.size() > 2)
        return usageError("regex", "takes a PATTERN and at most one FILE");
    if (arguments->has("--syntax")) {
        int64_t syntax = 0;
        if (!parseNumber(std::string_view(arguments->options.at("--syntax")), syntax))
            return usageError("regex", "syntax must be a number, not '" + arguments->options.at("--syntax") + "'");
        UserDefaults::standardUserDefaults()->setArgumentObject(Number::numberWithLongLong(syntax).get(), "YKRegexPatternSyntax");
    }
    std::optional<Range> range;
    if (arguments->has("--range")) {
        range = parseRange(arguments->options.at("--range"));
        if (!range)
            return usageError("regex", "range must be LOCATION,LENGTH, not '" + arguments->options.at("--range") + "'");
    }
    const std::string& patternText = arguments->operands.front();
    auto pattern = String::stringWithBytes(patternText.data(), patternText.size(), kCFStringEncodingUTF8);
    if (!pattern)
        return usageError("regex", "PATTERN is not well-formed UTF-8");
    auto input = readInput(arguments->operands.size() == 2 ? arguments->operands[1] : "-");
    if (!input)
        return ExitError;
    auto subject = String::stringWithBytes(input->bytes().data(), input->bytes().size(), kCFStringEncodingUTF8);
    if (!subject) {
        std::fprintf(stderr, "yarkit regex: %s: not well-formed UTF-8\n", input->name.c_str());
        return ExitError;
    }

    StringCompareOptions options = 0;
    if (arguments->has("--ignore-case"))
        options |= CaseInsensitiveSearch;
    if (arguments->has("--backwards"))
        options |= BackwardsSearch;
    const Range searched = range.value_or(Range { 0, subject->length() });
    std::string output;
    try {
        if (arguments->has("--all")) {
            auto matches = rangeValuesOfPatternString(subject.get(), pattern.get(), options, searched);
            for (uint32_t i = 0; i < matches->count(); ++i)
                printMatch(static_cast<Value*>(matches->objectAtIndex(i).get())->rangeValue(), output);
        } else if (Range match = rangeOfPatternString(subject.get(), pattern.get(), options, searched); match.location != NotFound) {
            printMatch(match, output);
        }
    } catch (const Exception& e) {
        std::fprintf(stderr, "yarkit regex: %s: %s\n", e.name()->utf8().c_str(), e.what());
        return ExitError;
    }
    if (!writeOutput(output.data(), output.size()))
        return ExitError;
    return output.empty() ? ExitChanged : ExitSuccess;
}

} // namespace yk::tool
