#include <Yarkit/ByteSequenceRepair.h>

#include "repair_fuzzer.h"
#include "text/ByteSequenceRepairDetail.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    textfuzz::checkRepair(data, size, yk::detail::fixUTF8Bytes, oracle::fixUTF8, 1);
    return 0;
}
