#pragma once

#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct UConverter;

namespace yk {

// Converts text between bytes in one encoding and Unicode with the ICU converter named by
// icuConverterName, which it owns and closes. String's conversions use it; convertToUTF8
// turns a text of any length (a mapped file, say) into UTF-8 a piece at a time.
// One converter is used by one thread at a time.
class StringConverter {
public:
    // isValid() is false when ICU has no converter for the encoding.
    explicit StringConverter(CFStringEncoding encoding);
    ~StringConverter();
    StringConverter(StringConverter&&) noexcept;
    StringConverter& operator=(StringConverter&&) noexcept;

    bool isValid() const { return _converter != nullptr; }
    CFStringEncoding encoding() const { return _encoding; }

    // The UTF-16 of the bytes; nothing at an illegal, unmapped or truncated sequence.
    [[nodiscard]] std::optional<std::u16string> decode(std::span<const uint8_t> bytes);
    // The bytes of the text; nothing when a character cannot be represented, unless
    // `allowLossyConversion`, which writes "?" (or ICU's substitute where "?" is not one byte).
    [[nodiscard]] std::optional<std::vector<uint8_t>> encode(std::u16string_view units, bool allowLossyConversion);

    // Converts the whole text to UTF-8 and hands the output to `write` in pieces of at most
    // `pieceSize` bytes as it goes, so the output never needs to be held whole. Each illegal,
    // unmapped or truncated sequence becomes U+FFFD and its byte offset in `text` is appended
    // to `replacedOffsets`. False when ICU fails or `write` returns false.
    [[nodiscard]] bool convertToUTF8(std::span<const uint8_t> text, const std::function<bool(std::string_view)>& write,
        std::vector<uint64_t>& replacedOffsets, size_t pieceSize = 64 * 1024);

private:
    struct Closer {
        void operator()(UConverter*) const;
    };

    std::unique_ptr<UConverter, Closer> _converter;
    CFStringEncoding _encoding;
};

} // namespace yk
