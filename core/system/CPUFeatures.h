#pragma once

// The processor features the vectorised byte paths may use, asked once for the process. Every
// SIMD path (text scanners, base64, substring search) chooses by this one answer.

namespace yk::detail {

struct CPUFeatures {
    bool sse2;
    bool avx2;
};

// False everywhere on processors other than x86-64. Thread-safe.
const CPUFeatures& cpuFeatures();

} // namespace yk::detail
