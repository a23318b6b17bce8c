#include "repair_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 1 << 20)
        return 0;
    // The first byte chooses the variant: 0, 1, 2, or one without a table.
    int variant = static_cast<int8_t>(data[0]) % 4;
    auto fix = [variant](std::string_view bytes, const yk::detail::ByteScanner& scanner) {
        return yk::detail::fixShiftJISBytes(bytes, variant, scanner);
    };
    auto cFix = [variant](const uint8_t* b, uint32_t l, unsigned char** o, uint32_t* ol) {
        return YKFixShiftJISBytes(b, l, o, ol, variant);
    };
    textfuzz::checkRepair(data + 1, size - 1, fix, cFix, 1);
    return 0;
}
