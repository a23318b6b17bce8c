#include <Yarkit/JapaneseEncodingDetection.h>

#include "TextTestSupport.h"
#include "text/JapaneseEncodingValidators.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

using namespace texttest;
using namespace yk::detail;

constexpr bool littleEndian = std::endian::native == std::endian::little;

// Short names for the tables.
constexpr CFStringEncoding ASCII = kCFStringEncodingASCII, None = kCFStringEncodingInvalidId,
                           JIS = kCFStringEncodingISO_2022_JP, EUC = kCFStringEncodingEUC_JP,
                           SJIS = kCFStringEncodingShiftJIS, DOS = kCFStringEncodingDOSJapanese,
                           Mac = kCFStringEncodingMacJapanese, Unicode = kCFStringEncodingUnicode,
                           X0213 = kCFStringEncodingShiftJIS_X0213, UTF8 = kCFStringEncodingUTF8;

CFStringEncoding detect(const Bytes& bytes, bool preferShiftJIS = false, bool preferMac = false)
{
    return YKDetectJapaneseEncoding(bytesOf(bytes), static_cast<int32_t>(bytes.size()),
        preferShiftJIS, preferMac);
}

std::string name(CFStringEncoding encoding)
{
    if (const char* known = yk::stringEncodingName(encoding))
        return known;
    return encoding == None ? "InvalidId" : std::to_string(encoding);
}

using Validator = CFStringEncoding (*)(const uint8_t*, int32_t, const ByteScanner&);

struct DetectionCase {
    const char* scenario;
    Bytes bytes;
    bool preferShiftJIS;
    bool preferMacJapanese;
    CFStringEncoding expected;
};

TEST(YKDetectJapaneseEncoding, DecidesByTheFirstValidatorThatAccepts)
{
    const Bytes hostBOM = littleEndian ? "\xFF\xFE" : "\xFE\xFF";
    const Bytes otherBOM = littleEndian ? "\xFE\xFF" : "\xFF\xFE";
    const DetectionCase cases[] = {
        { "empty", "", false, false, ASCII },
        { "7-bit text", "Hello, world\r\n", false, false, ASCII },
        { "lone 0xFF is no mark; only Mac accepts it", "\xFF", false, false, Mac },
        { "host-order mark", hostBOM + "\x41\x00", false, false, Unicode },
        { "host-order mark before invalid bytes", hostBOM + "\x80\x80\x80", true, true, Unicode },
        { "opposite-order mark falls through to Mac", otherBOM, false, false, Mac },
        { "unknown escape reaches EUC-JP, which takes 7 bits", "a\x1B[0m", false, false, ASCII },
        { "truncated escape is unknown", "a\x1B$", true, false, ASCII },
        { "cut UTF-8 lead: the Shift_JIS family reads a pair", "\xE3\x81", false, false, SJIS },
        { "Shift_JIS lead at the end rejects everywhere", "\x82", false, false, None },
        { "NEC circled one, DOS first", "\x87\x40", false, false, DOS },
        { "NEC circled one, Mac first", "\x87\x40", false, true, Mac },
        { "NEC circled one, Shift_JIS first, DOS first", "\x87\x40", true, false, DOS },
        { "0x88 0x40: DOS rejects, Mac accepts", "\x88\x40", true, false, Mac },
        { "0x88 0x70: DOS and Mac reject, X0213 accepts", "\x88\x70", true, false, X0213 },
        { "single shift 3: EUC-JP rejects, DOS takes", "\xA4\xA2\x8F\xB0\xA1", false, false, SJIS },
        { "EUC-JP or Shift_JIS, EUC-JP first", "\xB0\xA1\xC4\xDF", false, false, EUC },
        { "EUC-JP or Shift_JIS, Shift_JIS first", "\xB0\xA1\xC4\xDF", true, false, SJIS },
        { "half-width katakana alone is Shift_JIS", "\xB1\xB2\xB3", false, false, SJIS },
        { "X0213 is the last resort, also before EUC-JP", "\xEA\xA5", true, true, X0213 },
        { "EUC-JP is the last resort with Shift_JIS first", "\xEF\xA1", true, true, EUC },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(name(detect(c.bytes, c.preferShiftJIS, c.preferMacJapanese)), name(c.expected))
            << c.scenario << ": " << hex(c.bytes);
    }
    // A length of zero or below scans nothing.
    EXPECT_EQ(YKDetectJapaneseEncoding(bytesOf("\x82"), 0, false, false), ASCII);
    EXPECT_EQ(YKDetectJapaneseEncoding(bytesOf("\x82"), -5, true, true), ASCII);
}

// The deliberate quirks and the edges of the lead-byte tables, on the byte loops; the scanners
// are held to those below. (Modern UTF-8's limits are held to ICU.)
TEST(JapaneseEncodingValidators, KeepTheDeliberateQuirks)
{
    const struct {
        const char* validator;
        Validator validate;
        Bytes bytes;
        CFStringEncoding expected;
    } cases[] = {
        { "UTF-8", _detectUTF8, "\xF5\x80\x80\x80", UTF8 }, { "UTF-8", _detectUTF8, "\xF7\xBF\xBF\xBF", UTF8 },
        { "UTF-8", _detectUTF8, "\xFB\xBF\xBF\xBF\xBF", UTF8 }, { "UTF-8", _detectUTF8, "\xFD\xBF\xBF\xBF\xBF\xBF", UTF8 },
        { "UTF-8", _detectUTF8, "\xED\xBF\xBF", UTF8 }, { "UTF-8", _detectUTF8, "\xFE", None },
        { "UTF-8", _detectUTF8, "\xFC\x80\x80\x80\x80", None }, { "EUC-JP", _detectEUC_JP, "\x8F\xB0\xA1", None },
        { "EUC-JP", _detectEUC_JP, "\x8E\xFE", EUC }, { "EUC-JP", _detectEUC_JP, "\xA1\xFF", None },
        { "X0213", _detectShiftJIS_X0213, "\x85\x40", None }, { "X0213", _detectShiftJIS_X0213, "\x87\x9E", None },
        { "X0213", _detectShiftJIS_X0213, "\xEB\x40", None }, { "X0213", _detectShiftJIS_X0213, "\xEF\xFC", None },
        { "X0213", _detectShiftJIS_X0213, "\x98\x73", X0213 }, { "X0213", _detectShiftJIS_X0213, "\x98\x9F\x88\x9F", SJIS },
        { "X0213", _detectShiftJIS_X0213, "\xF0\x40\x82\xA0", X0213 }, { "Mac", _detectMacJapanese, "\x80\xA0\xFD", Mac },
        { "Mac", _detectMacJapanese, "\x88\x6E", None }, { "Mac", _detectMacJapanese, "\x88\x9F", SJIS },
        { "Mac", _detectMacJapanese, "\xED\x97", None }, { "Mac", _detectMacJapanese, "\x82\x7F", None },
        { "Mac", _detectMacJapanese, "\x84\xBF", None }, { "DOS", _detectDOSJapanese, "\x87\x9C", DOS },
        { "DOS", _detectDOSJapanese, "\x87\x9D", None }, { "DOS", _detectDOSJapanese, "\xFC\x4B", DOS },
        { "DOS", _detectDOSJapanese, "\xFC\x4C", None }, { "DOS", _detectDOSJapanese, "\x98\x73", None },
        { "DOS", _detectDOSJapanese, "\xA0", None },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(name(c.validate(bytesOf(c.bytes), static_cast<int32_t>(c.bytes.size()), portableByteScanner())),
            name(c.expected)) << c.validator << ": " << hex(c.bytes);
    }
}

TEST(YKDetectJapaneseEncoding, StepsDownToAnISO2022JPVariantThatCanBeConverted)
{
    // ICU converts ISO-2022-JP-1 and -2 but has no ISO-2022-JP-3 converter.
    const struct {
        Bytes bytes;
        CFStringEncoding validator;
        CFStringEncoding detected;
    } cases[] = {
        { "\x1B$B\x30\x21\x1B(B", JIS, JIS }, { "\x1B$(D\x30\x21", kCFStringEncodingISO_2022_JP_1, kCFStringEncodingISO_2022_JP_1 },
        { "\x1B$B\x1B$(Dx\x1B$B", kCFStringEncodingISO_2022_JP_1, kCFStringEncodingISO_2022_JP_1 }, { "\x1B$A\x30\x21", kCFStringEncodingISO_2022_JP_2, kCFStringEncodingISO_2022_JP_2 },
        { "\x1B.A\x1B$(D", kCFStringEncodingISO_2022_JP_2, kCFStringEncodingISO_2022_JP_2 }, { "\x1B$(Dx\x1B$(C", kCFStringEncodingISO_2022_JP_2, kCFStringEncodingISO_2022_JP_2 },
        { "\x1B$(O\x30\x21", kCFStringEncodingISO_2022_JP_3, JIS }, { "\x1B$(P\x1B$B\x1B(J", kCFStringEncodingISO_2022_JP_3, JIS },
        { "\x1B$(D\x1B$(O", None, ASCII }, { "\x1B$(O\x1B.F", None, ASCII },
        { "\x1B$(Q", None, ASCII }, { "\x1B$(", None, ASCII },
        { "\x1B$B\xA4\xA2", None, EUC },
    };
    for (const auto& c : cases) {
        int32_t length = static_cast<int32_t>(c.bytes.size());
        EXPECT_EQ(name(_detectISO_2022_JP(bytesOf(c.bytes), length)), name(c.validator)) << hex(c.bytes);
        EXPECT_EQ(name(detect(c.bytes)), name(c.detected)) << hex(c.bytes);
    }
}

const std::pair<const char*, Validator> validators[] = {
    { "UTF-8", _detectUTF8 }, { "ISO-2022-JP", _detectISO_2022_JP }, { "EUC-JP", _detectEUC_JP },
    { "DOS Japanese", _detectDOSJapanese }, { "Mac Japanese", _detectMacJapanese }, { "Shift_JIS X0213", _detectShiftJIS_X0213 },
};

void expectScannersAgree(const Bytes& bytes)
{
    int32_t length = static_cast<int32_t>(bytes.size());
    for (const auto& [what, validate] : validators) {
        CFStringEncoding expected = validate(bytesOf(bytes), length, portableByteScanner());
        for (const auto* scanner : scanners()) {
            if (validate(bytesOf(bytes), length, *scanner) != expected)
                FAIL() << what << " with " << scanner->name << " on " << hex(bytes);
        }
    }
}

// Every pair of bytes across a vector block's end, after long 7-bit and double-byte stretches;
// then generated input.
TEST(JapaneseEncodingValidators, FastScannersAgreeWithThePortableLoop)
{
    const Bytes sjisStretch = Bytes(31, '\x82') + "\xA0"; // "\x82\x82" pairs, then a hiragana
    for (unsigned first = 0; first < 256 && !HasFatalFailure(); ++first) {
        for (unsigned second = 0; second < 256 && !HasFatalFailure(); ++second) {
            Bytes pair { static_cast<char>(first), static_cast<char>(second) };
            expectScannersAgree(Bytes(63, 'x') + pair + Bytes(63, 'y'));
            expectScannersAgree(Bytes(30, 'x') + sjisStretch + pair + Bytes(40, 'y'));
        }
    }
    InputGenerator generator(20240611);
    for (int n = 0; n < 60000 && !HasFatalFailure(); ++n)
        expectScannersAgree(generator.next());
}

// ICU's UTF-8 decoder is the strict modern definition; the validator agrees with it on every
// input that has none of the forms it accepts deliberately (surrogates, leads 0xF5-0xFD).
TEST(JapaneseEncodingValidators, UTF8AgreesWithICUOutsideTheWiderForms)
{
    auto hasWiderForm = [](const Bytes& bytes) {
        for (size_t i = 0; i < bytes.size(); ++i) {
            uint8_t byte = bytes[i], next = i + 1 < bytes.size() ? bytes[i + 1] : 0;
            if ((byte >= 0xF5 && byte <= 0xFD) || (byte == 0xED && next >= 0xA0))
                return true;
        }
        return false;
    };
    InputGenerator generator(99);
    int compared = 0;
    for (int n = 0; n < 40000; ++n) {
        Bytes bytes = generator.next();
        if (hasWiderForm(bytes))
            continue;
        ++compared;
        bool accepted = _detectUTF8(bytesOf(bytes), static_cast<int32_t>(bytes.size())) != None;
        ASSERT_EQ(accepted, icuDecode("UTF-8", bytes)) << hex(bytes);
    }
    EXPECT_GT(compared, 10000);
}

} // namespace
