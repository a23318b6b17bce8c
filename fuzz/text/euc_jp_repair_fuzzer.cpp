#include "repair_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    auto fix = [](std::string_view bytes, const yk::detail::ByteScanner& scanner) {
        return yk::detail::fixEUCJPBytes(bytes, scanner);
    };
    textfuzz::checkRepair(data, size, fix, YKFixEUCJPBytes, 1);
    return 0;
}
