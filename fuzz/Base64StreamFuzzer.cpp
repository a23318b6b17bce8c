// The base64 decoder stream over a buffered or data stream (decoded in place) against the
// same source read group by group behind a plain filter, with fuzzer-chosen short source
// reads, buffer size and request sizes; and dataWithBase64Data against the codec, whose
// output a valid result must encode back to.
#include <Yarkit/Base64.h>
#include <Yarkit/DataBase64.h>
#include <Yarkit/YBase64DecoderStream.h>
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YDataInputStream.h>
#include <Yarkit/core/values/Exception.h>

#include <optional>
#include <vector>

#include "fuzz/StreamFuzzInput.h"
#include "tests/streams/StreamTestSupport.h"

using namespace yk;

namespace {

// Everything the decoder gives with these request sizes (three reads of 0 end it), or nothing
// when it raises.
std::optional<std::string> drain(YStream* source, const std::vector<uint32_t>& sizes)
{
    auto decoder = YBase64DecoderStream::streamWithStream(source);
    std::string out;
    char buffer[64];
    try {
        for (size_t i = 0, zeros = 0; zeros < 3; ++i) {
            uint32_t n = decoder->readBytes(buffer, sizes[i % sizes.size()]);
            out.append(buffer, n);
            zeros = n ? 0 : zeros + 1;
        }
    } catch (const Exception&) {
        return std::nullopt;
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Choices choices(data, size);
    uint32_t chunk = 1 + choices.next(64);
    uint32_t bufferSize = choices.next(96);
    std::vector<uint32_t> sizes;
    for (int i = 0; i < 4; ++i)
        sizes.push_back(1 + choices.next(64));
    std::string text = choices.rest();

    auto buffered = [&] { return YBufferedInputStream::streamWithStream(make<test::ChunkedSource>(text, chunk).get(), bufferSize); };
    auto oracle = drain(YFilterStream::streamWithStream(buffered().get()).get(), sizes);
    fuzz::require(drain(buffered().get(), sizes) == oracle);
    auto whole = Data::dataWithString(text);
    fuzz::require(drain(YDataInputStream::streamWithData(whole.get()).get(), sizes) == oracle);

    Ref<Data> decoded = dataWithBase64Data(whole.get());
    std::vector<uint8_t> out(text.size() * 3 / 4);
    int32_t n = yk_decode_base64(out.data(), text.data(), uint32_t(text.size()));
    fuzz::require(!decoded == (n == -1));
    if (decoded) {
        fuzz::require(decoded->stringView() == std::string_view(reinterpret_cast<char*>(out.data()), size_t(n)));
        Ref<Data> again = dataWithBase64Data(base64DataWithLineLength(decoded.get(), 76).get());
        fuzz::require(again && again->isEqualToData(decoded.get()));
    }
    return 0;
}
