#pragma once

// Shared checks of the text fuzz targets: every scanner must give the transcription's answer.

#include "Oracle.h"
#include "text/ByteScan.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace textfuzz {

inline void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

inline const std::vector<const yk::detail::ByteScanner*>& scanners()
{
    static const auto all = yk::detail::availableByteScanners();
    return all;
}

// Runs a repair with sentinels in both outputs and checks the calling contract: when it
// returns false both outputs are untouched; when true the buffer is the caller's. Returns the
// result in the transcription's form.
template<typename Fix>
oracle::Repair checkedRepair(const uint8_t* data, size_t size, Fix fix)
{
    auto* sentinel = reinterpret_cast<unsigned char*>(0x10);
    unsigned char* out = sentinel;
    uint32_t outLength = 0xFFFFFFFF;
    bool repaired = fix(data, static_cast<uint32_t>(size), &out, &outLength);
    if (!repaired) {
        require(out == sentinel && outLength == 0xFFFFFFFF, "outputs untouched without repair");
        return { false, {} };
    }
    require(out != sentinel && out != nullptr, "a repaired buffer is returned");
    oracle::Repair result { true, std::string(reinterpret_cast<const char*>(out), outLength) };
    std::free(out);
    return result;
}

} // namespace textfuzz
