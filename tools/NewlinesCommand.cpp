#include "tools/Commands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YBufferedOutputStream.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* newlinesHelp = R"(Usage: yarkit newlines [--to lf|crlf|cr] [--count] [FILE]

Reads FILE (standard input when none is given, or for "-") line by line, whatever ends its
lines (LF, CR LF or a lone CR), and writes it to standard output with every line ending
rewritten; a last line without an ending is left without one.

  --to lf|crlf|cr   the line ending to write (default lf)
  --count           write nothing but the counts of lone CR, lone LF and CR LF endings
  --help            show this help

Exit status: 0 on success, 2 on an error.
)";

constexpr uint32_t blockSize = 65536;

struct Counts {
    unsigned long long cr = 0, lf = 0, crlf = 0;
};

// The length of the line's ending, counting it.
uint32_t endingLength(const Data& line, Counts& counts)
{
    std::string_view text = line.stringView();
    if (text.ends_with("\r\n")) {
        ++counts.crlf;
        return 2;
    }
    if (text.ends_with('\n')) {
        ++counts.lf;
        return 1;
    }
    if (text.ends_with('\r')) {
        ++counts.cr;
        return 1;
    }
    return 0;
}

} // namespace

int runNewlines(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "newlines", newlinesHelp, { { "--to", true }, { "--count" } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    std::string to = arguments->has("--to") ? arguments->options.at("--to") : "lf";
    std::string ending = to == "lf" ? "\n" : to == "crlf" ? "\r\n" : to == "cr" ? "\r" : "";
    if (ending.empty())
        return usageError("newlines", "--to takes lf, crlf or cr, not '" + to + "'");
    if (arguments->operands.size() > 1)
        return usageError("newlines", "takes at most one file");
    Ref<YStream> file = openInputStream(arguments->inputNames().front());
    if (!file)
        return ExitError;

    bool countOnly = arguments->has("--count");
    auto lines = YLineInputStream::streamWithStream(YBufferedInputStream::streamWithStream(file.get(), blockSize).get());
    auto output = YBufferedOutputStream::streamWithStream(YFileStream::streamWithStandardOutput().get(), blockSize);
    Counts counts;
    try {
        while (Ref<Data> line = lines->readLineData()) {
            uint32_t endLength = endingLength(*line, counts);
            if (countOnly)
                continue;
            output->writeBytes(line->bytes(), line->length() - endLength);
            if (endLength)
                output->writeBytes(ending.data(), static_cast<uint32_t>(ending.size()));
        }
        if (countOnly) {
            std::string report = "cr " + std::to_string(counts.cr) + "\nlf " + std::to_string(counts.lf) + "\ncrlf "
                + std::to_string(counts.crlf) + "\n";
            output->writeBytes(report.data(), static_cast<uint32_t>(report.size()));
        }
        output->flush();
    } catch (const Exception& e) {
        std::fprintf(stderr, "yarkit newlines: %s\n", e.what());
        return ExitError;
    }
    return ExitSuccess;
}

} // namespace yk::tool
