#pragma once

#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct UConverter;

namespace yk {

// Converts text between bytes in one encoding and Unicode with the ICU converter named by
// icuConverterName, which it owns and closes. String's conversions use it for whole buffers;
// convertToUTF8 streams a text of any length piece by piece, keeping the converter's state
// (an escape mode, a sequence split between pieces) from one piece to the next.
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

    // Appends the UTF-8 of the next piece of the text to `utf8`. Each illegal, unmapped or
    // truncated sequence becomes U+FFFD, and its byte offset, counted from the first byte of
    // the first piece, is appended to `replacedOffsets`. `last` marks the final piece, where a
    // sequence left unfinished counts as truncated. False (with nothing useful appended) when
    // ICU fails for another reason.
    [[nodiscard]] bool convertToUTF8(std::span<const uint8_t> bytes, bool last, std::string& utf8,
        std::vector<uint64_t>& replacedOffsets);

private:
    struct Closer {
        void operator()(UConverter*) const;
    };
    struct Streaming;

    std::unique_ptr<UConverter, Closer> _converter;
    // The UTF-8 side and the pivot buffer of convertToUTF8, made on its first call.
    std::unique_ptr<Streaming> _streaming;
    CFStringEncoding _encoding;
};

} // namespace yk
