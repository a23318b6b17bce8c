#include "core/system/CPUFeatures.h"

namespace yk::detail {
namespace {

CPUFeatures detectCPUFeatures()
{
#if defined(__x86_64__)
    __builtin_cpu_init();
    return { __builtin_cpu_supports("sse2") != 0, __builtin_cpu_supports("avx2") != 0 };
#else
    return { false, false };
#endif
}

} // namespace

const CPUFeatures& cpuFeatures()
{
    static const CPUFeatures features = detectCPUFeatures();
    return features;
}

} // namespace yk::detail
