#include "tools/Commands.h"

#include <cstdio>
#include <string>
#include <vector>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ustring.h>

#include <Yarkit/JapaneseEncodingDetection.h>
#include <Yarkit/core/values/StringEncoding.h>

#include "tools/CommandLine.h"
#include "tools/EncodingRepair.h"
#include "tools/RepairLocations.h"

namespace yk::tool {

namespace {

constexpr const char* toUTF8Help = R"(Usage: yarkit to-utf8 [FILE...]

Converts each FILE (standard input when none is given, or for "-") to UTF-8 on standard
output: it detects the encoding as 'yarkit detect' does, repairs malformed sequences as
'yarkit repair' does for that encoding, and converts with ICU. Nothing is dropped silently:
standard error names the encoding read and reports every repaired sequence and every
character the converter could not map (it becomes U+FFFD), with byte offsets in the input.

Text that no validator accepts is damaged: it is read as whichever of UTF-8, CP932 and EUC-JP
needs the fewest repairs. Encodings ICU cannot convert go through the nearest converter (Mac
Japanese and Shift_JIS X 0213 through Shift_JIS, ISO-2022-JP-3 through ISO-2022-JP), and the
characters it lacks are reported as unconvertible.

  --help   show this help

Exit status: 0 when the text converted unchanged, 1 when something was repaired or replaced,
2 on an error.
)";

constexpr size_t MaximumOffsetsShown = 20;
// Larger inputs are still repaired and converted, but repairs are counted without offsets.
constexpr size_t MaximumLocatedInput = 16 * 1024 * 1024;

// What the conversion could not map, by offset in the bytes it converted.
struct ConversionReport {
    std::vector<size_t> offsets;
    const char* source { nullptr };
};

// Replaces every illegal, unassigned or truncated sequence by U+FFFD and records where it was.
void recordingCallback(const void* context, UConverterToUnicodeArgs* args, const char* codeUnits, int32_t length,
    UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    // The bad bytes were just consumed (ICU hands over a copy of them), so they end where the
    // conversion now stands.
    auto* report = static_cast<ConversionReport*>(const_cast<void*>(context));
    report->offsets.push_back(static_cast<size_t>(args->source - report->source) - static_cast<size_t>(length));
    static const UChar replacement = 0xFFFD;
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
    (void)codeUnits;
}

const char* converterFor(CFStringEncoding encoding, CFStringEncoding& used)
{
    used = encoding;
    switch (encoding) {
    case kCFStringEncodingMacJapanese:
    case kCFStringEncodingShiftJIS_X0213:
        used = kCFStringEncodingShiftJIS;
        break;
    case kCFStringEncodingISO_2022_JP_3:
        used = kCFStringEncodingISO_2022_JP;
        break;
    default:
        break;
    }
    const char* converter = yk::icuConverterName(used);
    return converter && yk::isStringEncodingAvailable(used) ? converter : nullptr;
}

std::string offsetList(const std::vector<size_t>& offsets)
{
    std::string list;
    for (size_t k = 0; k < offsets.size() && k < MaximumOffsetsShown; ++k)
        list += (k ? ", " : "") + std::to_string(offsets[k]);
    if (offsets.size() > MaximumOffsetsShown)
        list += ", ...";
    return list;
}

// Converts `bytes` with the named ICU converter; nothing (after a message) when ICU fails.
std::optional<std::string> convert(const std::string& inputName, const char* converterName, const std::vector<uint8_t>& bytes,
    ConversionReport& report)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(converterName, &error);
    if (U_FAILURE(error)) {
        std::fprintf(stderr, "yarkit to-utf8: %s: cannot open converter %s: %s\n", inputName.c_str(), converterName, u_errorName(error));
        return std::nullopt;
    }
    report.source = reinterpret_cast<const char*>(bytes.data());
    ucnv_setToUCallBack(converter, recordingCallback, &report, nullptr, nullptr, &error);

    std::vector<UChar> text(bytes.size() + 16);
    const char* source = report.source;
    const char* sourceEnd = source + bytes.size();
    UChar* target = text.data();
    for (;;) {
        error = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, text.data() + text.size(), &source, sourceEnd, nullptr, true, &error);
        if (error != U_BUFFER_OVERFLOW_ERROR)
            break;
        size_t written = static_cast<size_t>(target - text.data());
        text.resize(2 * text.size());
        target = text.data() + written;
    }
    ucnv_close(converter);
    if (U_FAILURE(error)) {
        std::fprintf(stderr, "yarkit to-utf8: %s: conversion failed: %s\n", inputName.c_str(), u_errorName(error));
        return std::nullopt;
    }

    auto units = static_cast<int32_t>(target - text.data());
    int32_t utf8Length = 0;
    error = U_ZERO_ERROR;
    u_strToUTF8(nullptr, 0, &utf8Length, text.data(), units, &error);
    std::string utf8(static_cast<size_t>(utf8Length), '\0');
    error = U_ZERO_ERROR;
    u_strToUTF8(utf8.data(), utf8Length, nullptr, text.data(), units, &error);
    if (U_FAILURE(error)) {
        std::fprintf(stderr, "yarkit to-utf8: %s: conversion failed: %s\n", inputName.c_str(), u_errorName(error));
        return std::nullopt;
    }
    return utf8;
}

// Reports the repairs of one input; the edits are empty when offsets are not available.
void reportRepairs(const std::string& name, const char* encodingName, const std::optional<std::vector<RepairEdit>>& edits)
{
    if (!edits) {
        std::fprintf(stderr, "yarkit to-utf8: %s: repaired malformed %s sequences (offsets not computed for this input)\n",
            name.c_str(), encodingName);
        return;
    }
    std::vector<size_t> offsets;
    for (const auto& edit : *edits)
        offsets.push_back(edit.inputOffset);
    std::fprintf(stderr, "yarkit to-utf8: %s: repaired %zu malformed %s sequence%s at byte offset%s %s\n", name.c_str(),
        offsets.size(), encodingName, offsets.size() == 1 ? "" : "s", offsets.size() == 1 ? "" : "s", offsetList(offsets).c_str());
}

// How one input is read: the encoding it is converted from, the repair applied first, and the
// repaired copy with the locations of its repairs (edits are empty when nothing was repaired,
// and absent when they could not be located).
struct Reading {
    CFStringEncoding encoding { kCFStringEncodingInvalidId };
    std::optional<RepairKind> repairKind;
    std::optional<std::vector<uint8_t>> repaired;
    std::optional<std::vector<RepairEdit>> edits = std::vector<RepairEdit> {};
};

Reading readAs(const Input& input, CFStringEncoding encoding, std::optional<RepairKind> kind)
{
    Reading reading { encoding, kind, std::nullopt };
    if (kind)
        reading.repaired = repairBytes(*kind, input.bytes);
    if (reading.repaired)
        reading.edits = input.bytes.size() <= MaximumLocatedInput ? locateRepairs(input.bytes, *reading.repaired) : std::nullopt;
    return reading;
}

// Input bytes a reading throws away; unknown locations count as everything.
size_t repairCost(const Reading& reading, size_t inputLength)
{
    if (!reading.edits)
        return inputLength + 1;
    size_t cost = 0;
    for (const auto& edit : *reading.edits)
        cost += edit.inputLength;
    return cost;
}

// Text no validator accepts is damaged; read it as the encoding whose repair keeps the most.
Reading readUnrecognised(const Input& input)
{
    Reading best;
    size_t bestCost = 0;
    for (auto encoding : { kCFStringEncodingUTF8, kCFStringEncodingDOSJapanese, kCFStringEncodingEUC_JP }) {
        Reading reading = readAs(input, encoding, repairKindForEncoding(encoding));
        size_t cost = repairCost(reading, input.bytes.size());
        if (best.encoding == kCFStringEncodingInvalidId || cost < bestCost) {
            best = std::move(reading);
            bestCost = cost;
        }
    }
    return best;
}

int convertInput(const Input& input)
{
    const std::string& name = input.name;
    CFStringEncoding detected = YKDetectJapaneseEncoding(input.bytes.data(), static_cast<int32_t>(input.bytes.size()), false, false);
    Reading reading;
    if (detected == kCFStringEncodingInvalidId) {
        reading = readUnrecognised(input);
        std::fprintf(stderr, "yarkit to-utf8: %s: encoding not recognised; reading it as %s, which needs the fewest repairs\n",
            name.c_str(), yk::stringEncodingName(reading.encoding));
    } else {
        // Repair as detected (Mac Japanese keeps its own characters, which the converter then
        // reports if it lacks them).
        reading = readAs(input, detected, repairKindForEncoding(detected));
        std::fprintf(stderr, "yarkit to-utf8: %s: reading %s\n", name.c_str(), yk::stringEncodingName(detected));
    }
    if (reading.repaired)
        reportRepairs(name, yk::stringEncodingName(reading.encoding), reading.edits);

    CFStringEncoding converted = reading.encoding;
    const char* converterName = converterFor(reading.encoding, converted);
    if (!converterName) {
        std::fprintf(stderr, "yarkit to-utf8: %s: no converter for %s\n", name.c_str(), yk::stringEncodingName(converted));
        return ExitError;
    }
    if (converted != reading.encoding)
        std::fprintf(stderr, "yarkit to-utf8: %s: ICU cannot convert %s; converting it as %s\n", name.c_str(),
            yk::stringEncodingName(reading.encoding), yk::stringEncodingName(converted));

    ConversionReport report;
    auto utf8 = convert(name, converterName, reading.repaired ? *reading.repaired : input.bytes, report);
    if (!utf8)
        return ExitError;
    if (!report.offsets.empty()) {
        std::vector<size_t> offsets;
        for (size_t offset : report.offsets)
            offsets.push_back(reading.edits ? inputOffsetOf(*reading.edits, offset) : offset);
        std::fprintf(stderr, "yarkit to-utf8: %s: replaced %zu unconvertible sequence%s with U+FFFD at %sbyte offset%s %s\n",
            name.c_str(), offsets.size(), offsets.size() == 1 ? "" : "s", reading.edits ? "" : "repaired-text ",
            offsets.size() == 1 ? "" : "s", offsetList(offsets).c_str());
    }
    if (!writeOutput(utf8->data(), utf8->size()))
        return ExitError;
    return reading.repaired || !report.offsets.empty() ? ExitChanged : ExitSuccess;
}

} // namespace

int runToUTF8(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "to-utf8", toUTF8Help, {} }, argc, argv, first, status);
    if (!arguments)
        return status;
    for (const auto& name : arguments->inputNames()) {
        auto input = readInput(name);
        int result = input ? convertInput(*input) : ExitError;
        status = std::max(status, result);
    }
    return status;
}

} // namespace yk::tool
