#pragma once

// The body every repair fuzz target shares: each SIMD scanner gives the portable loop's result,
// the edits rebuild the repaired bytes, the C entry keeps its calling contract and gives the
// same bytes, the output keeps its length bound, and a repaired text needs no further repair.

#include "TextFuzzSupport.h"
#include "text/ByteSequenceRepairDetail.h"

#include <cstring>
#include <string>
#include <string_view>

namespace textfuzz {

inline bool sameRepair(const yk::RepairResult& a, const yk::RepairResult& b)
{
    return a.repaired == b.repaired && a.bytes == b.bytes && a.edits == b.edits;
}

inline std::string applyEdits(std::string_view input, const std::vector<yk::RepairEdit>& edits)
{
    std::string output;
    size_t at = 0;
    for (const auto& edit : edits) {
        require(edit.offset >= at && edit.offset + edit.length <= input.size(), "edits in order, within the input");
        output.append(input.substr(at, edit.offset - at));
        output += edit.replacement;
        at = edit.offset + edit.length;
    }
    output.append(input.substr(at));
    return output;
}

// Checks the C entry's calling contract with sentinels in both outputs and that it gives
// `expected`.
template<typename CFix>
void checkCEntry(std::string_view input, const yk::RepairResult& expected, CFix cFix)
{
    auto* sentinel = reinterpret_cast<unsigned char*>(0x10);
    unsigned char* out = sentinel;
    uint32_t outLength = 0xFFFFFFFF;
    bool repaired = cFix(reinterpret_cast<const uint8_t*>(input.data()), static_cast<uint32_t>(input.size()), &out, &outLength);
    require(repaired == expected.repaired, "the C entry agrees on whether it repaired");
    if (!repaired) {
        require(out == sentinel && outLength == 0xFFFFFFFF, "outputs untouched without repair");
        return;
    }
    require(out != sentinel && out != nullptr, "a repaired buffer is returned");
    require(std::string_view(reinterpret_cast<char*>(out), outLength) == expected.bytes, "the C entry gives the same bytes");
    std::free(out);
}

// `fix(bytes, scanner)` is the C++ entry, `cFix` the C one; `growth` is how many output bytes one
// input byte can become at most.
template<typename Fix, typename CFix>
void checkRepair(const uint8_t* data, size_t size, Fix fix, CFix cFix, size_t growth, bool repairsAreFinal = true)
{
    std::string_view input(reinterpret_cast<const char*>(data), size);
    yk::RepairResult expected = fix(input, yk::detail::portableByteScanner());
    for (const auto* scanner : scanners())
        require(sameRepair(fix(input, *scanner), expected), "a SIMD scanner repairs as the portable loop does");
    require(applyEdits(input, expected.edits) == expected.text(input), "the edits rebuild the repaired bytes");
    require(expected.repaired || expected.bytes.empty(), "clean input is not copied");
    require(expected.edits.empty() != expected.repaired, "edits exactly when repaired");
    checkCEntry(input, expected, cFix);
    if (!expected.repaired)
        return;
    require(expected.bytes.size() <= size * growth, "output within its length bound");
    if (repairsAreFinal)
        require(!fix(expected.bytes, yk::detail::portableByteScanner()).repaired, "a repaired text needs no further repair");
}

} // namespace textfuzz
