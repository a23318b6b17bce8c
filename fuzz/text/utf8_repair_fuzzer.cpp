#include "repair_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    auto fix = [](std::string_view bytes, const yk::detail::ByteScanner& scanner) {
        return yk::detail::fixUTF8Bytes(bytes, scanner);
    };
    textfuzz::checkRepair(data, size, fix, YKFixUTF8Bytes, 1);
    return 0;
}
