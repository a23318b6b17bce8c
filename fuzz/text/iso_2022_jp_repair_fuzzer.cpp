#include "repair_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 1 << 20)
        return 0;
    // The first byte switches the trailing-escape rule; with it a second repair may drop
    // another final escape, so only without it must a repair be final.
    bool rule = data[0] & 1;
    yk::setISO2022JPTrailingEscapeRuleEnabled(rule);
    auto fix = [rule](std::string_view bytes, const yk::detail::ByteScanner&) {
        return yk::detail::fixISO2022JPBytes(bytes, rule);
    };
    // A bad katakana byte becomes seven bytes.
    textfuzz::checkRepair(data + 1, size - 1, fix, YKFixISO2022JPBytes, 7, !rule);
    return 0;
}
