// Arbitrary bytes as Finder information: the invisible-flag reader never reads past them.

#include <Yarkit/ExtendedAttributes.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // An exact-size copy, so ASan sees any read beyond the end.
    auto* copy = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    if (size)
        std::memcpy(copy, data, size);
    auto info = yk::Data::dataWithBytesNoCopy(copy, static_cast<uint32_t>(size), true);
    bool invisible = yk::YKFinderInfoIsInvisible(info.get());
    if (invisible != (size >= 10 && (data[8] & 0x40)))
        std::abort();
    return 0;
}
