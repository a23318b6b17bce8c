// Both base64 decoders on arbitrary text: every faster path must give the portable path's
// result, and no byte may be written past floor(3n/4), which the exactly sized heap buffers let
// AddressSanitizer catch. Valid results are encoded again by every path and decoded back.
#include <Yarkit/Base64.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "streams/Base64Codec.h"

namespace {

using yk::detail::Base64Path;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// The bytes, or nullopt-like `valid` false for -1.
struct Decoding {
    bool valid;
    std::string bytes;
    bool operator==(const Decoding&) const = default;
};

Decoding decode(Base64Path path, const std::string& text, bool pad)
{
    size_t capacity = text.size() * 3 / 4;
    // malloc(0) still gives a distinct zero-sized block under AddressSanitizer.
    std::unique_ptr<uint8_t, FreeDeleter> out(static_cast<uint8_t*>(std::malloc(capacity)));
    int32_t n = yk::detail::decodeBase64Using(path, out.get(), text.data(), static_cast<uint32_t>(text.size()), pad);
    if (n == -1)
        return { false, {} };
    require(n >= 0 && static_cast<size_t>(n) <= capacity);
    return { true, std::string(reinterpret_cast<char*>(out.get()), static_cast<size_t>(n)) };
}

std::string encode(Base64Path path, const std::string& bytes, bool pad)
{
    std::string encoded(4 * ((bytes.size() + 2) / 3) + 2 * (bytes.size() / 57), '\0');
    int32_t m = yk::detail::encodeBase64Using(path, encoded.data(), reinterpret_cast<const uint8_t*>(bytes.data()),
        static_cast<uint32_t>(bytes.size()), 76, pad);
    require(m >= 0 && static_cast<size_t>(m) <= encoded.size());
    encoded.resize(static_cast<size_t>(m));
    return encoded;
}

void check(const std::string& text, bool pad)
{
    static const auto faster = yk::detail::availableBase64Paths();
    Decoding expected = decode(Base64Path::Portable, text, pad);
    for (Base64Path path : faster)
        require(decode(path, text, pad) == expected);
    if (!expected.valid)
        return;
    // Round trip with CR LF lines.
    std::string encoded = encode(Base64Path::Portable, expected.bytes, pad);
    for (Base64Path path : faster)
        require(encode(path, expected.bytes, pad) == encoded);
    require(decode(Base64Path::Portable, encoded, pad) == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    check(text, true);
    check(text, false);
    return 0;
}
