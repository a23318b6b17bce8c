#pragma once

// The repairs behind the exported functions. Each scans the input once and records its repairs
// in a RepairOutput, which the C functions turn into a malloc'd copy and the C++ ones into a
// RepairResult. The scanner only chooses how fast 7-bit stretches are skipped, never the
// answer; the portable scanner makes each a plain byte loop, the reference the others are
// held to.

#include "text/ByteScan.h"
#include "text/RepairOutput.h"

#include <Yarkit/ByteSequenceRepair.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace yk::detail {

void repairUTF8(RepairOutput&, const uint8_t* bytes, size_t length, const ByteScanner&);
void repairShiftJIS(RepairOutput&, const uint8_t* bytes, size_t length, int variant,
    const ByteScanner&);
void repairEUCJP(RepairOutput&, const uint8_t* bytes, size_t length, const ByteScanner&);
// `trailingEscapeRule`: drop the last three bytes of a result of at least 507 bytes whose third
// byte from the end is ESC.
void repairISO2022JP(RepairOutput&, const uint8_t* bytes, size_t length, bool trailingEscapeRule);

// The C++ entries with the scanner and the trailing-escape rule given.
RepairResult fixUTF8Bytes(std::string_view, const ByteScanner&);
RepairResult fixShiftJISBytes(std::string_view, int variant, const ByteScanner&);
RepairResult fixEUCJPBytes(std::string_view, const ByteScanner&);
RepairResult fixISO2022JPBytes(std::string_view, bool trailingEscapeRule);

// Runs `repair(output)` and collects its result with the edits.
template<typename Repair>
RepairResult collectRepair(std::string_view input, Repair repair)
{
    RepairResult result { {}, {}, false };
    RepairOutput output(reinterpret_cast<const uint8_t*>(input.data()), input.size(), &result.edits);
    repair(output);
    result.repaired = output.finish(result.bytes);
    return result;
}

// Runs `repair(output)` for a C entry: the repaired copy, when there is one, goes to the caller.
template<typename Repair>
bool repairInto(const uint8_t* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, Repair repair)
{
    RepairOutput output(bytes, length);
    repair(output);
    return output.finish(outBytes, outLength);
}

} // namespace yk::detail
