// Both UTF-7 decoders on arbitrary bytes: decoding never fails, and decoding what the encoder
// makes of the result gives the same string again.

#include <Yarkit/StringUTF7.h>

#include "TextFuzzSupport.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    const auto length = static_cast<uint32_t>(size);
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
