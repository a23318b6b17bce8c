#include <Yarkit/ByteSequenceRepair.h>

#include "TextTestSupport.h"
#include "text/ByteSequenceRepairDetail.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

namespace {

using namespace texttest;
using yk::RepairEdit;
using yk::RepairResult;
using yk::detail::fixISO2022JPBytes;

// The input with the edits applied; it must give the repaired bytes.
Bytes applyEdits(const Bytes& input, const std::vector<RepairEdit>& edits)
{
    Bytes output;
    size_t at = 0;
    for (const RepairEdit& edit : edits) {
        EXPECT_GE(edit.offset, at) << "edits overlap or are out of order";
        EXPECT_LE(edit.offset + edit.length, input.size());
        output.append(input, at, edit.offset - at);
        output += edit.replacement;
        at = edit.offset + edit.length;
    }
    return output + input.substr(std::min(at, input.size()));
}

// `output` is what a repair gives; it equals the input where nothing is repaired. The edits the
// repair reports must rebuild it from the input.
struct RepairCase {
    const char* scenario;
    Bytes input;
    Bytes output;
    int variant = 0; // the Shift_JIS variant, or 1 for ISO-2022-JP's trailing-escape rule
};

void expectRepairs(const std::function<RepairResult(const Bytes&, int)>& fix,
    std::initializer_list<RepairCase> cases)
{
    for (const RepairCase& c : cases) {
        RepairResult actual = fix(c.input, c.variant);
        SCOPED_TRACE(std::string(c.scenario) + ": " + hex(c.input) + " variant " + std::to_string(c.variant));
        EXPECT_EQ(actual.repaired, c.output != c.input);
        EXPECT_EQ(hex(Bytes(actual.text(c.input))), hex(c.output));
        EXPECT_EQ(hex(applyEdits(c.input, actual.edits)), hex(c.output));
        EXPECT_EQ(actual.edits.empty(), !actual.repaired);
    }
}

TEST(YKFixUTF8Bytes, ReplacesEachMalformedSequenceWithOneQuestionMark)
{
    expectRepairs([](const Bytes& bytes, int) { return yk::fixUTF8Bytes(bytes); }, {
        { "wide forms are valid", "\xF8\x88\x80\x80\x80\xFC\x84\x80\x80\x80\x80", "\xF8\x88\x80\x80\x80\xFC\x84\x80\x80\x80\x80" },
        { "0xF5 leads and surrogates are valid", "\xF5\x80\x80\x80\xED\xA0\x80", "\xF5\x80\x80\x80\xED\xA0\x80" },
        { "ASCII after a broken lead is kept", "\x41\xC3\x42", "\x41?\x42" }, { "truncated at the end", "\xE3\x81", "?" },
        { "a following lead is swallowed", "\xC3\xC3\xA9", "??" },
        { "swallowing stops at the expected length", "\xE3\x81\xE3\x81\x82", "???" },
        { "lone continuation bytes", "\x80\xBF", "??" }, { "overlong four-byte form", "\xF0\x80\x80\x80z", "?z" },
        { "above U+10FFFF", "\xF4\x90\x80\x80", "?" }, { "0xFE and 0xFF", "\xFE\xFF", "??" },
        { "six-byte form cut short", "\xFC\x80\x80\x80\x80", "?" },
        { "valid text around a repair", "\xC3\xA9\xC3\xC3\xA9", "\xC3\xA9??" },
    });
}

TEST(YKFixShiftJISBytes, ChecksPairsAgainstTheVariantsTable)
{
    expectRepairs([](const Bytes& bytes, int variant) { return yk::fixShiftJISBytes(bytes, variant); }, {
        { "row 9 is not plain Shift_JIS", "\x85\x40", "?", 0 }, { "row 9 cell 1 is DOS", "\x85\x40", "\x85\x40", 2 },
        { "row 9 cell 1 is Mac", "\x85\x40", "\x85\x40", 1 }, { "the swallowed trail may be ASCII", "\x81\x20", "?", 0 },
        { "0x7F is judged as 0x80", "\x81\x7F", "\x81\x7F", 0 }, { "no cell above 0xFC", "\x81\xFDx", "?x", 0 },
        { "lead at the end", "ab\x82", "ab?", 2 }, { "0xA0 becomes a space", "\xA0", " ", 0 },
        { "0xA0 becomes a space", "\xA0", " ", 7 }, { "0xFD is not a character", "\x80\xFD\xFE\xFF", "????", 2 },
        { "0x80 and 0xFD-0xFF are Mac characters", "\x80\xFD\xFE\xFF", "\x80\xFD\xFE\xFF", 1 },
        { "other variants look nothing up", "\x85\x40\xFD\x82", "\x85\x40\xFD\x82", 3 },
        { "other variants look nothing up", "\x81\x20", "\x81\x20", -1 },
        { "the trail of a pair is never judged alone", "\x81\xA0", "\x81\xA0", 0 },
        { "half-width katakana", "\xB1\xDF", "\xB1\xDF", 0 }, { "user-defined area", "\xF0\x40\xFC\xFC", "\xF0\x40\xFC\xFC", 0 },
        { "DOS stops at row 119 cell 12", "\xFC\x4B\xFC\x4C", "\xFC\x4B?", 2 },
        { "Mac-only category 2 is a character", "\xEB\x41", "\xEB\x41", 1 },
        { "Mac-only category 2 is not Shift_JIS", "\xEB\x41", "?", 0 }, { "NEC row 13", "\x87\x40", "\x87\x40", 2 },
        { "IBM rows 89-92", "\xED\x40\xEE\xEC\xEE\xED", "\xED\x40\xEE\xEC?", 2 },
    });
}

TEST(YKFixEUCJPBytes, ChecksPairsAgainstTheStandardMacCharacters)
{
    expectRepairs([](const Bytes& bytes, int) { return yk::fixEUCJPBytes(bytes); }, {
        { "single shift 3 is kept, then an ordinary pair", "\x8F\xB0\xA1", "\x8F\xB0\xA1" },
        { "single shift 3 is kept, then an undefined pair", "\x8F\xA2\xAF", "\x8F?" }, { "row 86", "\xF6\xA1", "?" },
        { "half-width katakana", "\x8E\xB1\x8E\xDF", "\x8E\xB1\x8E\xDF" }, { "single shift 2 outside katakana", "\x8E\xE0", "?" },
        { "single shift 2 swallows ASCII", "\x8E\x41x", "?x" }, { "single shift 2 at the end", "\x8E", "?" },
        { "lead at the end", "x\xA4", "x?" }, { "a 7-bit trail is judged as if high", "\xA4\x22", "\xA4\x22" },
        { "trail without a cell", "\xA4\xFF", "?" }, { "NEC row 13 standard part", "\xAD\xA1", "\xAD\xA1" },
        { "Mac-only category 2", "\xAD\xF1", "?" },
        { "stray high bytes are kept", "\x80\x8D\x90\xA0\xFF", "\x80\x8D\x90\xA0\xFF" },
    });
}

TEST(YKFixISO2022JPBytes, BracketsRepairsWithEscapes)
{
    expectRepairs([](const Bytes& bytes, int) { return fixISO2022JPBytes(bytes, false); }, {
        { "clean text", "a\x1B$B\x24\x22\x1B(B\r\n", "a\x1B$B\x24\x22\x1B(B\r\n" },
        { "line break in JIS X 0208 mode", "\x1B$B\x24\x22\r\n", "\x1B$B\x24\x22\x1B(B\r\n" },
        { "line break in katakana mode", "\x1B(I\x31\n", "\x1B(I\x31\x1B(B\n" },
        { "line break in JIS Roman mode", "\x1B(J\\\r\n", "\x1B(J\\\r\n" }, { "unknown escape", "\x1B\x4B", "\x1B(B\x4B" },
        { "escape at the end", "a\x1B", "a\x1B(B" }, { "four-byte escape is unknown here", "\x1B$(D", "\x1B(B$(D" },
        { "bad pair in 1983 mode", "\x1B$B\x7F\x21", "\x1B$B\x1B(B?\x1B$B" },
        { "bad pair in 1978 mode", "\x1B$@\x7F\x21", "\x1B$@\x1B(B?\x1B$@" },
        { "Mac-only character", "\x1B$B\x2D\x51", "\x1B$B\x1B(B?\x1B$B" },
        { "lone byte at the end", "\x1B$B\x24", "\x1B$B\x1B(B?\x1B$B" },
        { "a bad pair swallows a line feed", "\x1B$B\x24\n", "\x1B$B\x1B(B?\x1B$B" },
        { "bad katakana byte", "\x1B(I\x31\x60", "\x1B(I\x31\x1B(B?\x1B(I" },
        { "ASCII mode keeps high bytes", "\x80\xFF", "\x80\xFF" },
    });
}

TEST(YKFixISO2022JPBytes, TrailingEscapeRuleDropsAFinalEscapeOfLongResults)
{
    const Bytes end = "\x1B(B";
    const Bytes at507 = Bytes(504, 'a') + end;
    const Bytes at506 = Bytes(503, 'a') + end;
    const Bytes repairedTo509 = "\x1BK" + Bytes(502, 'a') + end;
    const Bytes repairedTo506 = "\x1BK" + Bytes(499, 'a') + end;
    const Bytes katakanaAt507 = "\x1B(I" + Bytes(497, '!') + "\x60";
    expectRepairs([](const Bytes& bytes, int rule) { return fixISO2022JPBytes(bytes, rule); }, {
        { "clean, 507 bytes, rule off", at507, at507, 0 }, { "clean, 507 bytes, rule on", at507, Bytes(504, 'a'), 1 },
        { "clean, 506 bytes, rule on", at506, at506, 1 }, { "escape not third from the end", at507 + "x", at507 + "x", 1 },
        { "repaired to 509 bytes, rule on", repairedTo509, "\x1B(BK" + Bytes(502, 'a'), 1 },
        { "repaired to 509 bytes, rule off", repairedTo509, "\x1B(BK" + Bytes(502, 'a') + end, 0 },
        { "repaired to 506 bytes, rule on", repairedTo506, "\x1B(BK" + Bytes(499, 'a') + end, 1 },
        { "the dropped escape ends a replacement", katakanaAt507,
            "\x1B(I" + Bytes(497, '!') + "\x1B(B?", 1 },
    });
    // The C entry follows the process-wide switch, off unless the build turns it on.
    ASSERT_FALSE(yk::isISO2022JPTrailingEscapeRuleEnabled());
    for (bool enabled : { true, false }) { // ends switched off again
        yk::setISO2022JPTrailingEscapeRuleEnabled(enabled);
        uint32_t outLength = 0;
        EXPECT_EQ(YKFixISO2022JPBytes(bytesOf(at507), 507, nullptr, &outLength), enabled);
        EXPECT_EQ(outLength, enabled ? 504u : 0u);
    }
}

const struct {
    const char* name;
    bool (*fix)(const unsigned char*, uint32_t, unsigned char**, uint32_t*);
    Bytes clean;
    Bytes dirty;
    Bytes repaired;
} exportedRepairs[] = {
    { "YKFixUTF8Bytes", YKFixUTF8Bytes, "a\xE3\x81\x82", "a\xE3\x81", "a?" },
    { "YKFixShiftJISBytes", [](const unsigned char* b, uint32_t l, unsigned char** o, uint32_t* ol) { return YKFixShiftJISBytes(b, l, o, ol, 0); },
        "a\x82\xA0", "a\x85\x40", "a?" },
    { "YKFixEUCJPBytes", YKFixEUCJPBytes, "a\xA4\xA2", "a\xF6\xA1", "a?" },
    { "YKFixISO2022JPBytes", YKFixISO2022JPBytes, "\x1B$B\x24\x22\x1B(B", "a\x1B$B\x24\n", "a\x1B$B\x1B(B?\x1B$B" },
};

// Clean or empty input reports no repair and leaves the outputs alone; a repair
// fills whichever outputs are given.
TEST(ByteSequenceRepair, CEntriesFillOnlyTheOutputsGiven)
{
    for (const auto& repair : exportedRepairs) {
        SCOPED_TRACE(repair.name);
        auto* sentinel = reinterpret_cast<unsigned char*>(0x1234);
        unsigned char* out = sentinel;
        uint32_t outLength = 77;
        const auto dirtyLength = static_cast<uint32_t>(repair.dirty.size());
        for (uint32_t length : { static_cast<uint32_t>(repair.clean.size()), 0u })
            EXPECT_FALSE(repair.fix(bytesOf(repair.clean), length, &out, &outLength));
        EXPECT_EQ(out, sentinel);
        EXPECT_EQ(outLength, 77u);
        EXPECT_TRUE(repair.fix(bytesOf(repair.dirty), dirtyLength, nullptr, nullptr));
        EXPECT_TRUE(repair.fix(bytesOf(repair.dirty), dirtyLength, nullptr, &outLength));
        EXPECT_EQ(outLength, repair.repaired.size());
        EXPECT_TRUE(repair.fix(bytesOf(repair.dirty), dirtyLength, &out, nullptr));
        EXPECT_EQ(Bytes(reinterpret_cast<char*>(out), repair.repaired.size()), repair.repaired);
        std::free(out);
    }
}

// ICU's ISO-2022 decoder rejects an escape followed at once by another escape, which a repair
// right after a mode switch produces; the first escape of such a pair changes nothing.
Bytes withoutEmptySegments(Bytes bytes)
{
    for (size_t at = bytes.find("\x1B"); at != Bytes::npos; at = bytes.find("\x1B", at + 1)) {
        while (at + 3 < bytes.size() && bytes[at + 3] == '\x1B')
            bytes.erase(at, 3);
    }
    return bytes;
}

// What the repairs leave is accepted by ICU's strict converters, on inputs drawn from the part
// of each code space where the tables and ICU agree (JIS X 0208 rows, modern UTF-8 forms).
TEST(ByteSequenceRepair, RepairedTextDecodesWithICU)
{
    std::mt19937 random(5);
    auto below = [&random](unsigned bound) {
        return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
    };
    auto pick = [&](std::initializer_list<std::pair<unsigned, unsigned>> ranges) {
        const auto& range = *(ranges.begin() + below(static_cast<unsigned>(ranges.size())));
        return static_cast<char>(range.first + below(range.second - range.first + 1));
    };
    for (int n = 0; n < 3000; ++n) {
        Bytes utf8, sjis, euc, iso = "\x1B$B";
        for (int k = 0, tokens = 1 + below(30); k < tokens; ++k) {
            // UTF-8: anything but 0xED and the leads of the wider forms.
            utf8 += pick({ { 0x00, 0x7F }, { 0x80, 0xEC }, { 0xEE, 0xF4 }, { 0xFE, 0xFF } });
            // Shift_JIS: leads of rows 1-8 and 17-84, any trail but 0x7F.
            if (below(4))
                sjis += { pick({ { 0x81, 0x84 }, { 0x89, 0x9F }, { 0xE0, 0xEA } }),
                    below(6) ? pick({ { 0x40, 0x7E }, { 0x80, 0xFC } }) : pick({ { 0x00, 0x7E } }) };
            else
                sjis += pick({ { 0x20, 0x7E }, { 0xA1, 0xDF } });
            // EUC-JP: ASCII, or rows 1-8 and 16-84, or single shift 2, each with a high trail
            // (a 7-bit trail is judged as if high, which ICU does not accept).
            if (below(4))
                euc += { below(5) ? pick({ { 0xA1, 0xA8 }, { 0xB0, 0xF4 } }) : '\x8E',
                    pick({ { 0x80, 0xFF } }) };
            else
                euc += pick({ { 0x20, 0x7E } });
            // ISO-2022-JP: JIS X 0208 pairs, line breaks, unknown escapes.
            iso += pick({ { 0x21, 0x28 }, { 0x30, 0x74 } });
            iso += pick({ { 0x21, 0x7E } });
            if (!below(8))
                iso += below(2) ? "\r\n" : "\x1B";
            if (!below(8))
                iso += "\x1B$B";
        }
        EXPECT_TRUE(icuDecode("UTF-8", Bytes(yk::fixUTF8Bytes(utf8).text(utf8)))) << hex(utf8);
        EXPECT_TRUE(icuDecode("Shift_JIS", Bytes(yk::fixShiftJISBytes(sjis, 0).text(sjis)))) << hex(sjis);
        EXPECT_TRUE(icuDecode("EUC-JP", Bytes(yk::fixEUCJPBytes(euc).text(euc)))) << hex(euc);
        EXPECT_TRUE(icuDecode("ISO_2022,locale=ja,version=0", withoutEmptySegments(Bytes(fixISO2022JPBytes(iso, false).text(iso))))) << hex(iso);
    }
}

} // namespace
