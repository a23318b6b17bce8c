#pragma once

// Shared checks of the text fuzz targets.

#include "text/ByteScan.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace textfuzz {

inline void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// The SIMD scanners, each to be held to the portable one.
inline const std::vector<const yk::detail::ByteScanner*>& scanners()
{
    static const auto all = yk::detail::availableByteScanners();
    return all;
}

} // namespace textfuzz
