// Every path of y_memmem and y_memrmem against a plain scan. The first byte splits the input
// into needle and haystack; small alphabets come from the fuzzer's own choices.
#include <Yarkit/MemoryFunctions.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "files/SubstringSearch.h"

namespace {

const uint8_t* scanFirst(const uint8_t* h, size_t hl, const uint8_t* n, size_t nl)
{
    for (size_t i = 0; nl <= hl && i <= hl - nl; ++i) {
        if (std::memcmp(h + i, n, nl) == 0)
            return h + i;
    }
    return nullptr;
}

const uint8_t* scanLast(const uint8_t* h, size_t hl, const uint8_t* n, size_t nl)
{
    if (nl > hl)
        return nullptr;
    for (size_t i = hl - nl + 1; i-- > 0;) {
        if (std::memcmp(h + i, n, nl) == 0)
            return h + i;
    }
    return nullptr;
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

    const uint8_t* first = hl ? scanFirst(h, hl, n, needleLength) : nullptr;
    if (y_memmem(h, hl, n, needleLength) != first)
        std::abort();
    if (hl >= needleLength) {
        if (yk::detail::findFirstSSE2(h, hl, n, needleLength) != first)
            std::abort();
        if (yk::detail::substringSearchCanUseAVX2() && yk::detail::findFirstAVX2(h, hl, n, needleLength) != first)
            std::abort();
    }
    const uint8_t* last = hl ? scanLast(h, hl, n, needleLength) : nullptr;
    if (y_memrmem(h, hl, n, needleLength) != last)
        std::abort();
    return 0;
}
