#include <Yarkit/DataAdditions.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sys/stat.h>

#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

namespace fs = std::filesystem;
using namespace yk;

namespace {

Ref<Data> bytes(std::string_view text)
{
    return Data::dataWithString(text);
}

std::string textOf(const Data* data)
{
    return std::string(data->stringView());
}

std::vector<std::string> linesOf(const Data* data, bool trim)
{
    std::vector<std::string> result;
    auto all = lines(data, trim);
    for (auto& line : *all)
        result.push_back(textOf(static_cast<Data*>(line.get())));
    return result;
}

TEST(DataAdditions, SearchesIndexTheWholeData)
{
    auto data = bytes("ab\tcab  c");
    struct Case { const char* what; uint32_t found; uint32_t expected; } cases[] = {
        { "indexOfCharacter c from 4", indexOfCharacter(data.get(), 'c', 4), 8 },
        { "indexOfCharacter past end", indexOfCharacter(data.get(), 'a', 9), NotFound },
        { "indexOfNonCharacter a", indexOfNonCharacter(data.get(), 'a'), 1 },
        { "lastIndexOfCharacter a", lastIndexOfCharacter(data.get(), 'a'), 4 },
        { "lastIndexOfCharacter a from 3", lastIndexOfCharacter(data.get(), 'a', 3), 0 },
        { "lastIndexOfCharacter from length", lastIndexOfCharacter(data.get(), 'a', 9), NotFound },
        { "lastIndexOfNonCharacter c", lastIndexOfNonCharacter(data.get(), 'c'), 7 },
        { "indexOfCharacterUsingFunction from 3", indexOfCharacterUsingFunction(data.get(), is_whitespace, 3), 6 },
        { "lastIndexOfNonCharacterUsingFunction from 7", lastIndexOfNonCharacterUsingFunction(data.get(), is_whitespace, 7), 5 },
        { "indexOfBytes ab from 1", indexOfBytes(data.get(), "ab", 2, 1), 4 },
        { "lastIndexOfBytes ab", lastIndexOfBytes(data.get(), "ab", 2), 4 },
        // Wholly within 0..index: "ab" at 4 ends at 5, beyond 4.
        { "lastIndexOfBytes ab from 4", lastIndexOfBytes(data.get(), "ab", 2, 4), 0 },
        { "lastIndexOfBytes ab from 5", lastIndexOfBytes(data.get(), "ab", 2, 5), 4 },
        { "on empty data", indexOfCharacter(bytes("").get(), 'a'), NotFound },
        { "backwards on empty data", lastIndexOfCharacter(bytes("").get(), 'a'), NotFound },
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.found, c.expected) << c.what;
    EXPECT_TRUE(startsWithBytes(data.get(), "cab", 3, 3));
    EXPECT_FALSE(startsWithBytes(data.get(), "ab", 2, 9));
    EXPECT_TRUE(endsWithBytes(data.get(), "cab", 3, 5));
    EXPECT_TRUE(endsWithBytes(data.get(), " c", 2));
    EXPECT_FALSE(endsWithBytes(data.get(), "c", 1, 9));
}

TEST(DataAdditions, TrimmingReturnsTheReceiverWhenNothingGoes)
{
    auto clean = bytes("mail");
    EXPECT_EQ(subdataByTrimmingWhitespaceAndNewline(clean.get()).get(), clean.get());
    auto empty = bytes("");
    EXPECT_EQ(subdataByTrimmingWhitespace(empty.get()).get(), empty.get());
    struct Case { const char* given; const char* whitespace; const char* newline; const char* both; } cases[] = {
        { "   ", "", "   ", "" },
        { " \r\na b\t\n", "\r\na b\t\n", " \r\na b\t", "a b" },
        { "\nx", "\nx", "x", "x" },
    };
    for (const auto& c : cases) {
        auto data = bytes(c.given);
        EXPECT_EQ(textOf(subdataByTrimmingWhitespace(data.get()).get()), c.whitespace) << c.given;
        EXPECT_EQ(textOf(subdataByTrimmingNewline(data.get()).get()), c.newline) << c.given;
        EXPECT_EQ(textOf(subdataByTrimmingWhitespaceAndNewline(data.get()).get()), c.both) << c.given;
    }
}

TEST(DataAdditions, LineBoundsNeverSplitCRLF)
{
    auto data = bytes("one\r\ntwo\rthree\n\nlast");
    // {4, 0} lies between CR and LF: the line that CR LF ends. {15, 0} is the empty line, the
    // last has no terminator.
    struct Case { Range range; std::vector<uint32_t> bounds; } cases[] = {
        { { 0, 0 }, { 0, 5, 3 } }, { { 4, 0 }, { 0, 5, 3 } }, { { 3, 1 }, { 0, 5, 3 } }, { { 4, 1 }, { 0, 5, 3 } },
        { { 5, 0 }, { 5, 9, 8 } }, { { 2, 5 }, { 0, 9, 8 } }, { { 15, 0 }, { 15, 16, 15 } }, { { 16, 4 }, { 16, 20, 20 } },
        { { 20, 0 }, { 16, 20, 20 } },
    };
    for (const auto& c : cases) {
        std::vector<uint32_t> bounds(3, 99);
        getLineStart(data.get(), &bounds[0], &bounds[1], &bounds[2], c.range);
        EXPECT_EQ(bounds, c.bounds) << c.range.location << "," << c.range.length;
    }
    EXPECT_EQ(textOf(subdataByCuttingLineForRange(data.get(), { 10, 1 }).get()), "three\n");
    yk::test::expectRaise([&] { lineRangeForRange(data.get(), { 18, 3 }); }, NSRangeException,
        "*** -[Data getLineStart:end:contentsEnd:forRange:]: Range or index out of bounds");
}

TEST(DataAdditions, LinesAndNewlineCodes)
{
    struct Case { const char* text; std::vector<std::string> trimmed; int code; const char* asLF; } cases[] = {
        { "", {}, 0, "" }, { "plain", { "plain" }, 0, "plain" }, { "a\r\nb\r\n", { "a", "b" }, 3, "a\nb\n" },
        { "a\rb\r", { "a", "b" }, 1, "a\nb\n" }, { "a\nb", { "a", "b" }, 2, "a\nb" }, { "a\r\nb\n", { "a", "b" }, 4, "a\nb\n" },
        { "\n\n", { "", "" }, 2, "\n\n" }, { "\r\r\n\n", { "", "", "" }, 4, "\n\n\n" },
        { "x\r", { "x" }, 1, "x\n" }, // a CR at the very end is lone
    };
    for (const auto& c : cases) {
        auto data = bytes(c.text);
        EXPECT_EQ(linesOf(data.get(), true), c.trimmed) << c.text;
        EXPECT_EQ(checkNewline(data.get()), c.code) << c.text;
        EXPECT_EQ(textOf(dataByConvertingNewlineTo(data.get(), YKNewlineLF).get()), c.asLF) << c.text;
    }
    auto untouched = bytes("a\r\n");
    EXPECT_EQ(dataByConvertingNewlineTo(untouched.get(), 7).get(), untouched.get());
    EXPECT_EQ(textOf(dataByConvertingNewlineTo(untouched.get(), YKNewlineCR).get()), "a\r");
}

TEST(DataAdditions, LinesAgreeWithLineBoundsOnRandomText)
{
    std::mt19937 random(61);
    const char alphabet[] = "ab\r\n";
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (size_t i = random() % 12; i > 0; --i)
            text += alphabet[random() % 4];
        auto data = bytes(text);
        std::vector<std::string> walked;
        for (uint32_t index = 0; index < data->length();) {
            uint32_t start, end;
            getLineStart(data.get(), &start, &end, nullptr, { index, 0 });
            ASSERT_EQ(start, index);
            walked.push_back(text.substr(start, end - start));
            index = end;
        }
        // The walk covers the text; joined lines and conversions are the lines fuzzer's.
        ASSERT_EQ(linesOf(data.get(), false), walked) << text;
    }
}

TEST(DataAdditions, MutableAdditions)
{
    auto data = MutableData::dataWithBytes("a.b.c", 5);
    replaceCharacter(data.get(), '.', Range { 2, 100 }, '-');
    EXPECT_EQ(textOf(data.get()), "a.b-c");
    replaceCharacter(data.get(), '.', '/');
    EXPECT_EQ(textOf(data.get()), "a/b-c");
    appendData(data.get(), bytes("xyz").get(), Range { 1, 2 });
    EXPECT_EQ(textOf(data.get()), "a/b-cyz");
    yk::test::expectRaise([&] { appendData(data.get(), bytes("xyz").get(), Range { 2, 2 }); }, NSRangeException,
        "*** -[MutableData appendData:range:]: Range or index out of bounds");
    YK_replaceBytesInRange(data.get(), Range { 1, 3 }, "", 0);
    EXPECT_EQ(textOf(data.get()), "acyz");
}

std::string fileText(const fs::path& path)
{
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST(DataAdditions, BackupByHardLinkSurvivesANonAtomicWrite)
{
    yk::test::TemporaryFolder folder;
    const auto mbox = folder.path() / "inbox.mbox";
    std::ofstream(mbox) << "old";
    fs::permissions(mbox, fs::perms(0640));
    auto path = String::withUTF8(mbox.c_str());
    for (bool atomically : { false, true }) {
        EXPECT_TRUE(writeWithBackupToFile(bytes(atomically ? "newer" : "new").get(), path.get(), atomically));
        EXPECT_EQ(fs::status(mbox).permissions() & fs::perms::all, fs::perms(0640));
    }
    EXPECT_EQ(fileText(folder.path() / "inbox~.mbox"), "new");
    EXPECT_EQ(fileText(mbox), "newer");

    // No backup possible (its name is one byte too long): logged, nothing written.
    const auto longest = folder.path() / std::string(255, 'n');
    std::ofstream(longest) << "keep";
    LogCapture capture;
    EXPECT_FALSE(writeWithBackupToFile(bytes("lost").get(), String::withUTF8(longest.c_str()).get(), false));
    EXPECT_EQ(fileText(longest), "keep");
    EXPECT_EQ(capture.text(), "Couldn't create backup file '" + longest.string() + "~'\n");
}

TEST(DataAdditions, FileErrorsCarryPOSIXCodes)
{
    yk::test::TemporaryFolder folder;
    struct Case { Ref<String> path; int64_t code; } cases[] = {
        { nullptr, 14 }, { String::withUTF8(""), 2 }, { String::withUTF8(folder.path().c_str()), 21 },
        { String::withUTF8((folder.path() / "missing/x").c_str()), 2 },
    };
    for (const auto& c : cases) {
        Ref<Error> readError, writeError;
        EXPECT_EQ(YK_dataWithContentsOfFile(c.path.get(), 0, &readError), nullptr);
        EXPECT_FALSE(YK_writeToFile(bytes("x").get(), c.path.get(), 0, &writeError));
        EXPECT_EQ(readError->code(), c.code) << yk::test::describe(c.path.get());
        EXPECT_EQ(writeError->code(), c.code) << yk::test::describe(c.path.get());
    }
    auto status = YK_dataWithContentsOfFile(String::withUTF8("/proc/self/status").get(), 0, nullptr);
    ASSERT_NE(status, nullptr); // /proc files report size 0 but are read to the end
    EXPECT_NE(textOf(status.get()).find("Umask:"), std::string::npos);
}

} // namespace
