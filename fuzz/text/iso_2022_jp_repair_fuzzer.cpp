#include <Yarkit/ByteSequenceRepair.h>

#include "repair_fuzzer.h"
#include "text/ByteSequenceRepairDetail.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 1 << 20)
        return 0;
    // The first byte switches the trailing-escape rule; with it a second repair may drop
    // another final escape, so only without it must a repair be final.
    bool rule = data[0] & 1;
    auto fix = [rule](const uint8_t* b, uint32_t l, unsigned char** o, uint32_t* ol,
                   const yk::detail::ByteScanner&) {
        return yk::detail::fixISO2022JPBytes(b, l, o, ol, rule);
    };
    auto oracleFix = [rule](const oracle::Bytes& bytes) {
        return oracle::fixISO2022JP(bytes, rule);
    };
    // A bad katakana byte becomes seven bytes.
    textfuzz::checkRepair(data + 1, size - 1, fix, oracleFix, 7, !rule);
    return 0;
}
