#include <Yarkit/StringIDN.h>

#include <unicode/uidna.h>

#include <cstring>

namespace yk {
namespace {

// The receiver, null or a new string from ICU's answer, as the functions' contract says.
template <typename Convert>
Ref<String> convertName(const String* string, Convert convert)
{
    if (!string)
        return nullptr;
    const uint32_t length = string->length();
    if (!length)
        return Ref<String>(const_cast<String*>(string));
    if (length > IDNMaximumLength)
        return nullptr;
    const char16_t* source = string->units().data();
    char16_t output[IDNMaximumLength];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t outputLength = convert(source, static_cast<int32_t>(length), output, status);
    if (U_FAILURE(status) || outputLength < 0 || outputLength > static_cast<int32_t>(IDNMaximumLength))
        return nullptr;
    if (static_cast<uint32_t>(outputLength) == length && !std::memcmp(output, source, length * sizeof(char16_t)))
        return string->copy();
    // Made in String's own file: here the copy's known bound would have the compiler inline it
    // as a "rep movs", which is slow to start for a host name's few bytes.
    return String::stringWithCharacters(output, static_cast<uint32_t>(outputLength));
}

// ICU deprecated the IDNA2003 calls in favour of UTS #46, which answers some names differently
// ("faß.de", "😀.com"); they are the answers these functions promise, so the warning is
// silenced here and nowhere else.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
int32_t idnaToASCII(const char16_t* source, int32_t length, char16_t* output, int32_t options, UErrorCode& status)
{
    return uidna_IDNToASCII(source, length, output, IDNMaximumLength, options, nullptr, &status);
}

int32_t idnaToUnicode(const char16_t* source, int32_t length, char16_t* output, int32_t options, UErrorCode& status)
{
    return uidna_IDNToUnicode(source, length, output, IDNMaximumLength, options, nullptr, &status);
}
#pragma GCC diagnostic pop

// One UTS #46 object for the process; ICU's UIDNA is immutable and safe to share.
const UIDNA* sharedUTS46()
{
    static const UIDNA* const idna = [] {
        UErrorCode status = U_ZERO_ERROR;
        return uidna_openUTS46(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_NONTRANSITIONAL_TO_UNICODE
                | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ,
            &status);
    }();
    return idna;
}

using UTS46Function = int32_t (*)(const UIDNA*, const UChar*, int32_t, UChar*, int32_t, UIDNAInfo*, UErrorCode*);

Ref<String> convertUTS46(const String* string, uint32_t* errors, UTS46Function function)
{
    if (errors)
        *errors = 0;
    return convertName(string, [&](const char16_t* source, int32_t length, char16_t* output, UErrorCode& status) {
        UIDNAInfo info = UIDNA_INFO_INITIALIZER;
        if (!sharedUTS46()) {
            status = U_MISSING_RESOURCE_ERROR;
            return 0;
        }
        const int32_t outputLength = function(sharedUTS46(), source, length, output, IDNMaximumLength, &info, &status);
        if (errors)
            *errors = info.errors;
        if (info.errors && U_SUCCESS(status))
            status = U_IDNA_PROHIBITED_ERROR;
        return outputLength;
    });
}

} // namespace

Ref<String> YK_IDNToASCIIWithOptions(const String* string, int32_t options)
{
    return convertName(string, [options](const char16_t* source, int32_t length, char16_t* output, UErrorCode& status) {
        return idnaToASCII(source, length, output, options, status);
    });
}

Ref<String> YK_IDNToUnicodeWithOptions(const String* string, int32_t options)
{
    return convertName(string, [options](const char16_t* source, int32_t length, char16_t* output, UErrorCode& status) {
        return idnaToUnicode(source, length, output, options, status);
    });
}

Ref<String> YK_UTS46ToASCII(const String* string, uint32_t* errors)
{
    return convertUTS46(string, errors, uidna_nameToASCII);
}

Ref<String> YK_UTS46ToUnicode(const String* string, uint32_t* errors)
{
    return convertUTS46(string, errors, uidna_nameToUnicode);
}

} // namespace yk
