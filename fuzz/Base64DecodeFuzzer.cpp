// Both base64 decoders on arbitrary text: the result must equal the described algorithm's,
// and no byte may be written past floor(3n/4), which the exactly sized heap buffer lets
// AddressSanitizer catch. Valid results are re-encoded and decoded back.
#include <Yarkit/Base64.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "tests/streams/Base64Reference.h"

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

void check(const std::string& text, bool pad)
{
    size_t capacity = text.size() * 3 / 4;
    // malloc(0) still gives a distinct zero-sized block under AddressSanitizer.
    std::unique_ptr<uint8_t, FreeDeleter> out(static_cast<uint8_t*>(std::malloc(capacity)));
    auto length = static_cast<uint32_t>(text.size());
    int32_t n = pad ? yk_decode_base64(out.get(), text.data(), length) : yk_decode_base64_no_pad(out.get(), text.data(), length);

    auto expected = yk::test::referenceDecode(text, pad);
    if (!expected.valid) {
        if (n != -1)
            std::abort();
        return;
    }
    if (n < 0 || static_cast<size_t>(n) != expected.bytes.size() || static_cast<size_t>(n) > capacity)
        std::abort();
    if (n && std::memcmp(out.get(), expected.bytes.data(), static_cast<size_t>(n)) != 0)
        std::abort();

    // Round trip through the encoder with CR LF lines.
    std::string encoded(4 * ((static_cast<size_t>(n) + 2) / 3) + 2 * (static_cast<size_t>(n) / 57), '\0');
    int32_t m = pad ? yk_encode_base64(encoded.data(), out.get(), static_cast<uint32_t>(n), 76)
                    : yk_encode_base64_no_pad(encoded.data(), out.get(), static_cast<uint32_t>(n), 76);
    if (m < 0 || static_cast<size_t>(m) > encoded.size())
        std::abort();
    encoded.resize(static_cast<size_t>(m));
    if (encoded != yk::test::referenceEncode(expected.bytes, 76, pad))
        std::abort();
    auto back = yk::test::referenceDecode(encoded, pad);
    if (!back.valid || back.bytes != expected.bytes)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    check(text, true);
    check(text, false);
    return 0;
}
