// The detector and each validator, with every scanner, answer as the transcription does.

#include <Yarkit/JapaneseEncodingDetection.h>

#include "TextFuzzSupport.h"
#include "text/JapaneseEncodingValidators.h"

using namespace yk::detail;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    // The first byte chooses the flags; the rest is the text.
    bool preferShiftJIS = size && (data[0] & 1);
    bool preferMacJapanese = size && (data[0] & 2);
    const uint8_t* text = size ? data + 1 : data;
    auto length = static_cast<int32_t>(size ? size - 1 : 0);
    oracle::Bytes bytes(reinterpret_cast<const char*>(text), static_cast<size_t>(length));

    static const oracle::Availability available {
        yk::isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_1),
        yk::isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_2),
        yk::isStringEncodingAvailable(kCFStringEncodingISO_2022_JP_3),
    };
    textfuzz::require(YKDetectJapaneseEncoding(text, length, preferShiftJIS, preferMacJapanese)
            == oracle::detectJapaneseEncoding(bytes, preferShiftJIS, preferMacJapanese, available),
        "detection agrees with the transcription");
    for (const auto* scanner : textfuzz::scanners()) {
        textfuzz::require(_detectUTF8(text, length, *scanner) == oracle::detectUTF8(bytes), "UTF-8");
        textfuzz::require(_detectISO_2022_JP(text, length, *scanner) == oracle::detectISO2022JP(bytes),
            "ISO-2022-JP");
        textfuzz::require(_detectEUC_JP(text, length, *scanner) == oracle::detectEUCJP(bytes), "EUC-JP");
        textfuzz::require(_detectDOSJapanese(text, length, *scanner) == oracle::detectDOSJapanese(bytes),
            "DOS Japanese");
        textfuzz::require(_detectMacJapanese(text, length, *scanner) == oracle::detectMacJapanese(bytes),
            "Mac Japanese");
        textfuzz::require(
            _detectShiftJIS_X0213(text, length, *scanner) == oracle::detectShiftJISX0213(bytes),
            "Shift_JIS X0213");
    }
    return 0;
}
