#include <Yarkit/core/values/StringConverter.h>

#include <algorithm>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

namespace yk {

namespace {

constexpr size_t PivotSize = 1024;

// The text being converted and the list its replacements go to.
struct ReplacementRecorder {
    const char* text;
    std::vector<uint64_t>* replacedOffsets;
};

// Writes U+FFFD for a sequence the converter rejects and records where the sequence began.
void replaceAndRecord(const void* context, UConverterToUnicodeArgs* args, const char*, int32_t length,
    UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    const auto* recorder = static_cast<const ReplacementRecorder*>(context);
    // The rejected bytes were just consumed, so they end where the conversion now stands. The
    // whole text is the source of every call, so ICU never holds bytes back between calls
    // and the position is always one in the text.
    auto end = static_cast<uint64_t>(args->source - recorder->text);
    recorder->replacedOffsets->push_back(end - static_cast<uint64_t>(length));
    static const UChar replacement = 0xFFFD;
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
}

} // namespace

void StringConverter::Closer::operator()(UConverter* converter) const
{
    ucnv_close(converter);
}

StringConverter::StringConverter(CFStringEncoding encoding)
    : _encoding(encoding)
{
    const char* name = icuConverterName(encoding);
    if (!name)
        return;
    UErrorCode status = U_ZERO_ERROR;
    _converter.reset(ucnv_open(name, &status));
    if (U_FAILURE(status))
        _converter.reset();
}

StringConverter::~StringConverter() = default;
StringConverter::StringConverter(StringConverter&&) noexcept = default;
StringConverter& StringConverter::operator=(StringConverter&&) noexcept = default;

std::optional<std::u16string> StringConverter::decode(std::span<const uint8_t> bytes)
{
    if (!_converter)
        return std::nullopt;
    ucnv_resetToUnicode(_converter.get());
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(_converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    const auto* source = reinterpret_cast<const char*>(bytes.data());
    const char* sourceEnd = source + bytes.size();
    std::u16string units(bytes.size() + 1, u'\0');
    size_t written = 0;
    for (;;) {
        char16_t* target = units.data() + written;
        ucnv_toUnicode(_converter.get(), &target, units.data() + units.size(), &source, sourceEnd, nullptr, true, &status);
        written = static_cast<size_t>(target - units.data());
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        status = U_ZERO_ERROR;
        units.resize(units.size() * 2);
    }
    if (U_FAILURE(status))
        return std::nullopt;
    units.resize(written);
    return units;
}

std::optional<std::vector<uint8_t>> StringConverter::encode(std::u16string_view units, bool allowLossyConversion)
{
    if (!_converter)
        return std::nullopt;
    ucnv_resetFromUnicode(_converter.get());
    UErrorCode status = U_ZERO_ERROR;
    if (allowLossyConversion) {
        ucnv_setFromUCallBack(_converter.get(), UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr, &status);
        // Encodings that cannot write "?" as one byte (UTF-16, UTF-32) keep ICU's substitute.
        UErrorCode substitutionStatus = U_ZERO_ERROR;
        ucnv_setSubstChars(_converter.get(), "?", 1, &substitutionStatus);
    } else {
        ucnv_setFromUCallBack(_converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    }
    const char16_t* source = units.data();
    const char16_t* sourceEnd = source + units.size();
    std::vector<uint8_t> bytes(units.size() * 2 + 16);
    size_t written = 0;
    for (;;) {
        char* base = reinterpret_cast<char*>(bytes.data());
        char* target = base + written;
        ucnv_fromUnicode(_converter.get(), &target, base + bytes.size(), &source, sourceEnd, nullptr, true, &status);
        written = static_cast<size_t>(target - base);
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        status = U_ZERO_ERROR;
        bytes.resize(bytes.size() * 2);
    }
    if (U_FAILURE(status))
        return std::nullopt;
    bytes.resize(written);
    return bytes;
}

bool StringConverter::convertToUTF8(std::span<const uint8_t> text, const std::function<bool(std::string_view)>& write,
    std::vector<uint64_t>& replacedOffsets, size_t pieceSize)
{
    if (!_converter)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, Closer> utf8(ucnv_open("UTF-8", &status));
    if (U_FAILURE(status))
        return false;
    // ICU takes no null source, which an empty span may have.
    static const char nothing = 0;
    const char* source = text.empty() ? &nothing : reinterpret_cast<const char*>(text.data());
    const char* sourceEnd = source + text.size();
    ReplacementRecorder recorder { source, &replacedOffsets };
    ucnv_setToUCallBack(_converter.get(), replaceAndRecord, &recorder, nullptr, nullptr, &status);

    UChar pivot[PivotSize];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    std::string piece(std::max<size_t>(pieceSize, 1), '\0');
    // The first call resets both converters and the pivot; a full piece returns
    // U_BUFFER_OVERFLOW_ERROR, and the next call goes on where it stopped.
    for (bool first = true;; first = false) {
        status = U_ZERO_ERROR;
        char* target = piece.data();
        ucnv_convertEx(utf8.get(), _converter.get(), &target, piece.data() + piece.size(), &source, sourceEnd, pivot,
            &pivotSource, &pivotTarget, pivot + PivotSize, first, true, &status);
        auto written = static_cast<size_t>(target - piece.data());
        if (written && !write({ piece.data(), written }))
            return false;
        if (status != U_BUFFER_OVERFLOW_ERROR)
            return U_SUCCESS(status);
    }
}

} // namespace yk
