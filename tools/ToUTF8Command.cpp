#include "tools/Commands.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include <Yarkit/JapaneseEncodingDetection.h>
#include <Yarkit/core/values/StringConverter.h>
#include <Yarkit/core/values/StringEncoding.h>

#include "tools/CommandLine.h"
#include "tools/EncodingRepair.h"
#include "tools/FileJobs.h"

namespace yk::tool {

namespace {

constexpr const char* toUTF8Help = R"(Usage: yarkit to-utf8 [-j N] [FILE...]

Converts each FILE (standard input when none is given, or for "-") to UTF-8 on standard
output: it detects the encoding as 'yarkit detect' does, repairs malformed sequences as
'yarkit repair' does for that encoding, and converts with ICU. Nothing is dropped silently:
standard error names the encoding read and reports every repaired sequence and every
character the converter could not map (it becomes U+FFFD), with byte offsets in the input.

Text that no validator accepts is damaged: it is read as whichever of UTF-8, CP932 and EUC-JP
needs the fewest repairs. Encodings ICU cannot convert go through the nearest converter (Mac
Japanese and Shift_JIS X 0213 through Shift_JIS, ISO-2022-JP-3 through ISO-2022-JP), and the
characters it lacks are reported as unconvertible.

  -j, --jobs N   convert up to N files at once; each file's output and messages still come
                 whole and in the files' order, and Ctrl-C stops the work and exits with 130
  --help         show this help

Exit status: 0 when the text converted unchanged, 1 when something was repaired or replaced,
2 on an error.
)";

constexpr size_t MaximumOffsetsShown = 20;

// Where one input's output and messages go: straight to standard output and error, or, for a
// job of -j, into its result for the main thread to print in order.
struct Sink {
    FileResult* buffer { nullptr };

    bool out(std::string_view utf8)
    {
        if (!buffer)
            return writeOutput(utf8.data(), utf8.size());
        buffer->out.append(utf8);
        return true;
    }
    [[gnu::format(printf, 2, 3)]] void err(const char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        if (!buffer) {
            std::vfprintf(stderr, format, arguments);
        } else {
            char line[1024];
            std::vsnprintf(line, sizeof line, format, arguments);
            buffer->err += line;
        }
        va_end(arguments);
    }
};

std::string offsetList(const std::vector<uint64_t>& offsets)
{
    std::string list;
    for (size_t k = 0; k < offsets.size() && k < MaximumOffsetsShown; ++k)
        list += (k ? ", " : "") + std::to_string(offsets[k]);
    if (offsets.size() > MaximumOffsetsShown)
        list += ", ...";
    return list;
}

// Converts `bytes`, read as `encoding`, to UTF-8 on standard output as it goes; the offsets (in
// `bytes`) of the sequences the converter replaced go to `replaced`. False after a message when
// ICU fails or the output cannot be written.
bool convertAndWrite(Sink& sink, const std::string& inputName, CFStringEncoding encoding, std::span<const uint8_t> bytes,
    std::vector<uint64_t>& replaced)
{
    StringConverter converter(encoding);
    if (!converter.isValid()) {
        sink.err("yarkit to-utf8: %s: cannot open the converter for %s\n", inputName.c_str(), yk::stringEncodingName(encoding));
        return false;
    }
    bool written = true;
    auto write = [&](std::string_view utf8) { return written = sink.out(utf8); };
    if (converter.convertToUTF8(bytes, write, replaced))
        return true;
    if (written)
        sink.err("yarkit to-utf8: %s: conversion failed\n", inputName.c_str());
    return false;
}

void reportRepairs(Sink& sink, const std::string& name, const char* encodingName, const std::vector<RepairEdit>& edits)
{
    std::vector<uint64_t> offsets;
    for (const auto& edit : edits)
        offsets.push_back(edit.offset);
    sink.err("yarkit to-utf8: %s: repaired %zu malformed %s sequence%s at byte offset%s %s\n", name.c_str(),
        offsets.size(), encodingName, offsets.size() == 1 ? "" : "s", offsets.size() == 1 ? "" : "s", offsetList(offsets).c_str());
}

// How one input is read: the encoding it is converted from, and the repair applied first
// (nothing when none applies or nothing needed repair).
struct Reading {
    CFStringEncoding encoding { kCFStringEncodingInvalidId };
    std::optional<RepairResult> repair;

    // Input bytes the repairs threw away.
    size_t cost() const
    {
        size_t cost = 0;
        if (repair) {
            for (const auto& edit : repair->edits)
                cost += edit.length;
        }
        return cost;
    }
};

Reading readAs(const Input& input, CFStringEncoding encoding)
{
    auto kind = repairKindForEncoding(encoding);
    return { encoding, kind ? repairBytes(*kind, input.bytes()) : std::nullopt };
}

// Text no validator accepts is damaged; read it as the encoding whose repair keeps the most.
Reading readUnrecognised(const Input& input)
{
    Reading best;
    size_t bestCost = 0;
    for (auto encoding : { kCFStringEncodingUTF8, kCFStringEncodingDOSJapanese, kCFStringEncodingEUC_JP }) {
        Reading reading = readAs(input, encoding);
        size_t cost = reading.cost();
        if (best.encoding == kCFStringEncodingInvalidId || cost < bestCost) {
            best = std::move(reading);
            bestCost = cost;
        }
    }
    return best;
}

int convertInput(Sink& sink, const Input& input)
{
    const std::string& name = input.name;
    CFStringEncoding detected = YKDetectJapaneseEncoding(input.data->bytes(), static_cast<int32_t>(input.bytes().size()), false, false);
    Reading reading;
    if (detected == kCFStringEncodingInvalidId) {
        reading = readUnrecognised(input);
        sink.err("yarkit to-utf8: %s: encoding not recognised; reading it as %s, which needs the fewest repairs\n",
            name.c_str(), yk::stringEncodingName(reading.encoding));
    } else {
        // Repair as detected (Mac Japanese keeps its own characters, which the converter then
        // reports if it lacks them).
        reading = readAs(input, detected);
        sink.err("yarkit to-utf8: %s: reading %s\n", name.c_str(), yk::stringEncodingName(detected));
    }
    if (reading.repair)
        reportRepairs(sink, name, yk::stringEncodingName(reading.encoding), reading.repair->edits);

    CFStringEncoding converted = yk::nearestConvertibleEncoding(reading.encoding);
    if (converted == kCFStringEncodingInvalidId) {
        sink.err("yarkit to-utf8: %s: no converter for %s\n", name.c_str(), yk::stringEncodingName(reading.encoding));
        return ExitError;
    }
    if (converted != reading.encoding)
        sink.err("yarkit to-utf8: %s: ICU cannot convert %s; converting it as %s\n", name.c_str(),
            yk::stringEncodingName(reading.encoding), yk::stringEncodingName(converted));

    std::span<const uint8_t> text = input.bytes();
    if (reading.repair)
        text = { reinterpret_cast<const uint8_t*>(reading.repair->bytes.data()), reading.repair->bytes.size() };
    std::vector<uint64_t> replaced;
    if (!convertAndWrite(sink, name, converted, text, replaced))
        return ExitError;
    if (!replaced.empty()) {
        if (reading.repair) {
            for (auto& offset : replaced)
                offset = inputOffsetOf(reading.repair->edits, offset);
        }
        sink.err("yarkit to-utf8: %s: replaced %zu unconvertible sequence%s with U+FFFD at byte offset%s %s\n",
            name.c_str(), replaced.size(), replaced.size() == 1 ? "" : "s", replaced.size() == 1 ? "" : "s",
            offsetList(replaced).c_str());
    }
    return reading.repair || !replaced.empty() ? ExitChanged : ExitSuccess;
}

} // namespace

int runToUTF8(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "to-utf8", toUTF8Help, { { "-j", true }, { "--jobs", true } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    unsigned jobs = 0;
    if (!parseJobCount(*arguments, jobs))
        return usageError("to-utf8", "-j needs a number of jobs from 1 to 1024");
    const auto names = arguments->inputNames();
    if (jobs > 0) {
        return runFileJobs(names.size(), jobs, [&](size_t index, const bool&) {
            FileResult result;
            Sink sink { &result };
            auto input = readInput(names[index]);
            result.status = input ? convertInput(sink, *input) : ExitError;
            return result;
        });
    }
    Sink sink;
    for (const auto& name : names) {
        auto input = readInput(name);
        int result = input ? convertInput(sink, *input) : ExitError;
        status = std::max(status, result);
    }
    return status;
}

} // namespace yk::tool
