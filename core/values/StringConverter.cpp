#include <Yarkit/core/values/StringConverter.h>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

namespace yk {

namespace {

constexpr size_t PivotSize = 1024;

// Where the converter stands in the whole text: the bytes of earlier pieces, and the current
// piece with the list its replacements go to.
struct ReplacementRecorder {
    uint64_t consumed { 0 };
    const char* piece { nullptr };
    std::vector<uint64_t>* replacedOffsets { nullptr };
};

// Writes U+FFFD for a sequence the converter rejects and records where the sequence began.
void replaceAndRecord(const void* context, UConverterToUnicodeArgs* args, const char*, int32_t length,
    UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    const auto* recorder = static_cast<const ReplacementRecorder*>(context);
    // The rejected bytes were just consumed (ICU hands over a copy of them, which may begin in
    // an earlier piece), so they end where the conversion now stands.
    uint64_t end = recorder->consumed + static_cast<uint64_t>(args->source - recorder->piece);
    recorder->replacedOffsets->push_back(end - static_cast<uint64_t>(length));
    static const UChar replacement = 0xFFFD;
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
}

} // namespace

struct StringConverter::Streaming {
    std::unique_ptr<UConverter, Closer> utf8;
    UChar pivot[PivotSize];
    UChar* pivotSource { pivot };
    UChar* pivotTarget { pivot };
    bool started { false };
    ReplacementRecorder recorder;
};

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

bool StringConverter::convertToUTF8(std::span<const uint8_t> bytes, bool last, std::string& utf8,
    std::vector<uint64_t>& replacedOffsets)
{
    if (!_converter)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    if (!_streaming) {
        _streaming = std::make_unique<Streaming>();
        _streaming->utf8.reset(ucnv_open("UTF-8", &status));
        if (U_FAILURE(status))
            return false;
    }
    Streaming& streaming = *_streaming;
    ucnv_setToUCallBack(_converter.get(), replaceAndRecord, &streaming.recorder, nullptr, nullptr, &status);
    const auto* source = reinterpret_cast<const char*>(bytes.data());
    const char* sourceEnd = source + bytes.size();
    streaming.recorder.piece = source;
    streaming.recorder.replacedOffsets = &replacedOffsets;

    size_t written = utf8.size();
    utf8.resize(written + bytes.size() * 3 + 16);
    for (;;) {
        char* target = utf8.data() + written;
        ucnv_convertEx(streaming.utf8.get(), _converter.get(), &target, utf8.data() + utf8.size(), &source, sourceEnd,
            streaming.pivot, &streaming.pivotSource, &streaming.pivotTarget, streaming.pivot + PivotSize, !streaming.started,
            last, &status);
        streaming.started = true;
        written = static_cast<size_t>(target - utf8.data());
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        status = U_ZERO_ERROR;
        utf8.resize(utf8.size() * 2);
    }
    utf8.resize(written);
    streaming.recorder.consumed += bytes.size();
    streaming.recorder.replacedOffsets = nullptr;
    return U_SUCCESS(status);
}

} // namespace yk
