#include <Yarkit/ByteSequenceRepair.h>

#include "repair_fuzzer.h"
#include "text/ByteSequenceRepairDetail.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 1 << 20)
        return 0;
    // The first byte chooses the variant: 0, 1, 2, or one without a table.
    int variant = static_cast<int8_t>(data[0]) % 4;
    auto fix = [variant](const uint8_t* b, uint32_t l, unsigned char** o, uint32_t* ol,
                   const yk::detail::ByteScanner& scanner) {
        return yk::detail::fixShiftJISBytes(b, l, o, ol, variant, scanner);
    };
    auto oracleFix = [variant](const oracle::Bytes& bytes) {
        return oracle::fixShiftJIS(bytes, variant);
    };
    textfuzz::checkRepair(data + 1, size - 1, fix, oracleFix, 1);
    return 0;
}
