#pragma once

// The body every repair fuzz target shares: the calling contract, the transcription's answer
// with every scanner, the output's length bound, and that a repaired text needs no further
// repair.

#include "TextFuzzSupport.h"

#include <cstring>

namespace textfuzz {

// `fix(data, size, out, outLength, scanner)`; `oracleFix(bytes)`; `growth`: how many output
// bytes one input byte can become at most.
template<typename Fix, typename OracleFix>
void checkRepair(const uint8_t* data, size_t size, Fix fix, OracleFix oracleFix, size_t growth,
    bool repairsAreFinal = true)
{
    oracle::Bytes bytes(reinterpret_cast<const char*>(data), size);
    oracle::Repair expected = oracleFix(bytes);
    for (const auto* scanner : scanners()) {
        auto withScanner = [&](const uint8_t* b, uint32_t l, unsigned char** o, uint32_t* ol) {
            return fix(b, l, o, ol, *scanner);
        };
        oracle::Repair actual = checkedRepair(data, size, withScanner);
        require(actual == expected, "repair agrees with the transcription");
        if (!actual.repaired)
            continue;
        require(actual.output.size() <= size * growth, "output within its length bound");
        if (repairsAreFinal) {
            auto again = checkedRepair(reinterpret_cast<const uint8_t*>(actual.output.data()),
                actual.output.size(), withScanner);
            require(!again.repaired, "a repaired text needs no further repair");
        }
    }
}

} // namespace textfuzz
