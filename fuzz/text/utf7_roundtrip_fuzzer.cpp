// The input as UTF-16 units: both encoders round-trip through their decoders (lone surrogates
// included), and on well-formed text the modified encoder writes what ICU's IMAP-mailbox-name
// converter writes and the decoder reads ICU's UTF-7. The encoders' vector path writes what
// their portable path writes, and the codec's entry for unit runs what its portable path writes
// for the big-endian bytes.

#include <Yarkit/Base64Units.h>
#include <Yarkit/StringUTF7.h>

#include "TextFuzzSupport.h"
#include "streams/Base64Codec.h"
#include "text/UTF7Paths.h"

#include <algorithm>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unicode/ucnv.h>
#include <unicode/utf16.h>

namespace {

bool isWellFormed(const std::u16string& units)
{
    for (size_t i = 0; i < units.size(); ++i) {
        if (U16_IS_LEAD(units[i]) && i + 1 < units.size() && U16_IS_TRAIL(units[i + 1]))
            ++i;
        else if (U16_IS_SURROGATE(units[i]))
            return false;
    }
    return true;
}

std::string icuEncode(const char* name, const std::u16string& units)
{
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    std::string out(units.size() * 5 + 16, '\0');
    out.resize(static_cast<size_t>(ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()), units.data(),
        static_cast<int32_t>(units.size()), &status)));
    ucnv_close(converter);
    textfuzz::require(U_SUCCESS(status), "ICU encodes well-formed text");
    return out;
}

void requireUnitRunsAsPortableCodec(const std::u16string& units)
{
    std::string bytes;
    for (char16_t unit : units)
        bytes += { static_cast<char>(unit >> 8), static_cast<char>(unit) };
    std::string expected(bytes.size() * 2 + 8, '\0');
    expected.resize(static_cast<size_t>(yk::detail::encodeBase64Using(yk::detail::Base64Path::Portable, expected.data(),
        reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()), -1, 0)));
    for (auto alphabet : { yk::Base64UnitAlphabet::Standard, yk::Base64UnitAlphabet::MailboxName }) {
        std::string text(8 * (units.size() / 3 + 1), '\0');
        text.resize(static_cast<size_t>(yk::encodeBase64Units(text.data(), units.data(), static_cast<uint32_t>(units.size()), alphabet)));
        if (alphabet == yk::Base64UnitAlphabet::MailboxName)
            std::replace(text.begin(), text.end(), ',', '/');
        textfuzz::require(text == expected, "unit runs encode as the portable codec");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::u16string units(size / 2, u'\0');
    std::memcpy(units.data(), data, units.size() * 2);
    auto string = yk::make<yk::String>(units);
    requireUnitRunsAsPortableCodec(units);

    const std::string utf7 = yk::UTF7String(string.get());
    const std::string modified = yk::modifiedUTF7String(string.get());
    textfuzz::require(utf7 == yk::detail::encodeUTF7Using(yk::detail::UTF7Path::Portable, string.get())->stringView(),
        "the vector path writes UTF-7 as the portable path");
    textfuzz::require(modified == yk::detail::encodeModifiedUTF7Using(yk::detail::UTF7Path::Portable, string.get())->stringView(),
        "the vector path writes modified UTF-7 as the portable path");
    textfuzz::require(yk::stringWithUTF7String(utf7.c_str())->isEqualToString(units), "UTF-7 round trip");
    textfuzz::require(yk::stringWithModifiedUTF7String(modified.c_str())->isEqualToString(units), "modified UTF-7 round trip");
    for (char c : utf7 + modified)
        textfuzz::require(c > 0 && c < 0x7F, "the encoders write 7-bit text without NUL");
    if (!isWellFormed(units) || units.find(u'\0') != std::u16string::npos)
        return 0;
    textfuzz::require(modified == icuEncode("IMAP-mailbox-name", units), "modified UTF-7 as ICU writes it");
    const std::string icuUTF7 = icuEncode("UTF-7", units);
    textfuzz::require(yk::stringWithUTF7Bytes(icuUTF7.data(), static_cast<uint32_t>(icuUTF7.size()))->isEqualToString(units),
        "ICU's UTF-7 decodes to the text");
    return 0;
}
