// Host-name conversion against ICU called directly: the first four bytes are the options, the
// rest a UTF-16 name. Both IDNA2003 functions answer what ICU answers (null where it fails),
// and the UTS #46 pair never answers with an error bit set.

#include <Yarkit/StringIDN.h>

#include "TextFuzzSupport.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <unicode/uidna.h>

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::optional<std::u16string> icuAnswer(bool toASCII, const std::u16string& name, int32_t options)
{
    char16_t out[yk::IDNMaximumLength];
    UErrorCode status = U_ZERO_ERROR;
    const auto length = static_cast<int32_t>(name.size());
    const int32_t outLength = toASCII ? uidna_IDNToASCII(name.data(), length, out, yk::IDNMaximumLength, options, nullptr, &status)
                                      : uidna_IDNToUnicode(name.data(), length, out, yk::IDNMaximumLength, options, nullptr, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    return std::u16string(out, static_cast<size_t>(outLength));
}
#pragma GCC diagnostic pop

void check(bool toASCII, const yk::String* name, int32_t options)
{
    auto ours = toASCII ? yk::YK_IDNToASCIIWithOptions(name, options) : yk::YK_IDNToUnicodeWithOptions(name, options);
    if (!name->length()) {
        textfuzz::require(ours.get() == name, "the empty name is returned itself");
        return;
    }
    auto icu = name->length() <= yk::IDNMaximumLength ? icuAnswer(toASCII, name->units(), options) : std::nullopt;
    textfuzz::require(bool(ours) == icu.has_value(), "null exactly where ICU fails");
    textfuzz::require(!ours || ours->isEqualToString(*icu), "ICU's answer");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4 || size > 8192)
        return 0;
    int32_t options;
    std::memcpy(&options, data, 4);
    std::u16string units((size - 4) / 2, u'\0');
    std::memcpy(units.data(), data + 4, units.size() * 2);
    auto name = yk::make<yk::String>(units);
    check(true, name.get(), options);
    check(false, name.get(), options);
    uint32_t errors = 0;
    for (auto result : { yk::YK_UTS46ToASCII(name.get(), &errors), yk::YK_UTS46ToUnicode(name.get(), &errors) })
        textfuzz::require(!result || errors == 0 || !name->length(), "no answer with error bits");
    return 0;
}
