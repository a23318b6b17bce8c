#include <Yarkit/YLoggingOutputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/values/StringEncoding.h>

namespace yk {

YK_DEFINE_CLASS(YLoggingOutputStream);

namespace {

// The core's encoding for a platform NSStringEncoding number.
CFStringEncoding encodingForNumber(uint32_t number)
{
    if (number & 0x80000000u)
        return number & 0x7FFFFFFFu;
    switch (number) {
    case 1: return kCFStringEncodingASCII;
    case 2: return kCFStringEncodingNextStepLatin;
    case 3: return kCFStringEncodingEUC_JP;
    case 4: return kCFStringEncodingUTF8;
    case 5: return kCFStringEncodingISOLatin1;
    case 8: return kCFStringEncodingDOSJapanese;
    case 10: return kCFStringEncodingUnicode;
    case 12: return kCFStringEncodingWindowsLatin1;
    case 21: return kCFStringEncodingISO_2022_JP;
    case 30: return kCFStringEncodingMacRoman;
    default: return kCFStringEncodingInvalidId;
    }
}

} // namespace

YLoggingOutputStream::YLoggingOutputStream(uint32_t encoding)
    : _encoding(encoding)
{
}

YLoggingOutputStream::~YLoggingOutputStream() = default;

Ref<YLoggingOutputStream> YLoggingOutputStream::streamWithEncoding(uint32_t encoding)
{
    return make<YLoggingOutputStream>(encoding);
}

void YLoggingOutputStream::writeBytes(const void* bytes, uint32_t length)
{
    Ref<String> text = String::stringWithBytes(bytes, length, encodingForNumber(_encoding));
    log("%@", text.get());
}

} // namespace yk
