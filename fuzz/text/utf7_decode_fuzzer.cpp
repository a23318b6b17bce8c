// Both UTF-7 decoders on arbitrary bytes: decoding never fails, and decoding what the encoder
// makes of the result gives the same string again. The codec's entry for unit runs reads the
// bytes as its portable path does, unless it reports a character outside its alphabet.

#include <Yarkit/Base64Units.h>
#include <Yarkit/StringUTF7.h>

#include "TextFuzzSupport.h"
#include "streams/Base64Codec.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

void requireUnitRunsAsPortableCodec(const char* chars, uint32_t length)
{
    std::string run(chars, length), bytes(length, '\0');
    std::replace(run.begin(), run.end(), ',', '/');
    const int32_t count = yk::detail::decodeBase64Using(yk::detail::Base64Path::Portable, reinterpret_cast<uint8_t*>(bytes.data()), run.data(), length, 0);
    std::u16string expected;
    for (int32_t i = 0; count > 0 && count % 2 == 0 && i < count; i += 2)
        expected += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) << 8 | static_cast<uint8_t>(bytes[i + 1]));
    std::u16string units(length, u'\0');
    const int32_t decoded = yk::decodeBase64Units(units.data(), chars, length, yk::Base64UnitAlphabet::MailboxName);
    if (decoded < 0) {
        textfuzz::require(std::any_of(run.begin(), run.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '/'; }),
            "only a stray character makes unit runs give up");
        return;
    }
    units.resize(static_cast<size_t>(decoded));
    textfuzz::require(units == expected, "unit runs decode as the portable codec");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    const auto length = static_cast<uint32_t>(size);
    requireUnitRunsAsPortableCodec(reinterpret_cast<const char*>(data), length);
    auto utf7 = yk::stringWithUTF7Bytes(data, length);
    auto modified = yk::stringWithModifiedUTF7Bytes(data, length);
    textfuzz::require(utf7->length() <= length && modified->length() <= length, "a byte decodes to at most one unit");

    const std::string utf7Again = yk::UTF7String(utf7.get());
    textfuzz::require(yk::stringWithUTF7Bytes(utf7Again.data(), static_cast<uint32_t>(utf7Again.size()))->isEqualToString(utf7.get()),
        "UTF-7 decode, encode, decode gives the same string");
    const std::string modifiedAgain = yk::modifiedUTF7String(modified.get());
    textfuzz::require(yk::stringWithModifiedUTF7Bytes(modifiedAgain.data(), static_cast<uint32_t>(modifiedAgain.size()))->isEqualToString(modified.get()),
        "modified UTF-7 decode, encode, decode gives the same string");
    return 0;
}
