// y_strtoll against glibc's strtoll where their contracts agree: the value, the end pointer
// and overflow must match; where glibc finds no digits we must report EINVAL.
#include "fuzz/StrtollComparison.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    // The first byte picks the base among 0 and 2..36; the rest is the text.
    int base = data[0] % 36;
    if (base == 1)
        base = 0;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    const StrtollOutcome ours = runStrtoll(y_strtoll, text, base);
    const StrtollOutcome glibc = runStrtoll(std::strtoll, text, base);
    if (ours.value != glibc.value || ours.end != glibc.end || (ours.error == ERANGE) != (glibc.error == ERANGE))
        std::abort();
    if ((ours.error == EINVAL) != (glibc.end == text.c_str()))
        std::abort();
    if (ours.error != 0 && ours.error != EINVAL && ours.error != ERANGE)
        std::abort();
    return 0;
}
