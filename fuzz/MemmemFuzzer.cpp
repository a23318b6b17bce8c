// Every path of y_memmem against the portable search, and y_memrmem's answer checked to be the
// last occurrence. The first byte splits the input into needle and haystack; small alphabets
// come from the fuzzer's own choices.
#include <Yarkit/MemoryFunctions.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/system/CPUFeatures.h"
#include "files/SubstringSearch.h"

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    size_t needleLength = 1 + data[0] % 64;
    if (needleLength > size - 1)
        needleLength = size - 1;
    // Exactly sized copies, so a read past either buffer is caught.
    std::vector<uint8_t> needle(data + 1, data + 1 + needleLength);
    std::vector<uint8_t> haystack(data + 1 + needleLength, data + size);
    const uint8_t* h = haystack.data();
    size_t hl = haystack.size();
    const uint8_t* n = needle.data();

    const uint8_t* first = hl >= needleLength ? yk::detail::findFirstPortable(h, hl, n, needleLength) : nullptr;
    require(y_memmem(h, hl, n, needleLength) == first);
#if defined(__x86_64__)
    if (hl >= needleLength) {
        require(yk::detail::findFirstSSE2(h, hl, n, needleLength) == first);
        if (yk::detail::cpuFeatures().avx2)
            require(yk::detail::findFirstAVX2(h, hl, n, needleLength) == first);
    }
#endif
    auto* last = static_cast<const uint8_t*>(y_memrmem(h, hl, n, needleLength));
    require((last != nullptr) == (first != nullptr));
    if (last) {
        size_t after = static_cast<size_t>(last - h) + 1;
        require(last >= first && std::memcmp(last, n, needleLength) == 0);
        require(after + needleLength > hl || !yk::detail::findFirstPortable(h + after, hl - after, n, needleLength));
    }
    return 0;
}
