#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

std::string sample(const std::string& name)
{
    return readFile(std::string(YK_SAMPLES_DIR) + "/" + name);
}

// The broken UTF-8 sample as the UTF-8 repair writes it.
std::string repairedBrokenSample()
{
    return sample("broken-utf-8.txt").replace(162, 4, "??").replace(341, 1, "?");
}

// Runs the tool with `arguments` (shell words) and `input` on standard input.
Result run(const std::string& arguments, const std::string& input = "")
{
    char directory[] = "/tmp/yk-tool-XXXXXX";
    EXPECT_NE(mkdtemp(directory), nullptr);
    std::string base = directory;
    std::ofstream(base + "/in", std::ios::binary) << input;
    std::string command = "cd " + std::string(YK_SAMPLES_DIR) + " && '" + YK_TOOL_PATH + "' " + arguments + " <" + base + "/in >"
        + base + "/out 2>" + base + "/err";
    int status = std::system(command.c_str());
    Result result { WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(base + "/out"), readFile(base + "/err") };
    std::system(("rm -rf " + base).c_str());
    return result;
}

struct Case {
    std::string arguments;
    std::string input;
    int status;
    std::string out; // exact standard output
    std::string errContains;
};

void check(const std::vector<Case>& cases)
{
    for (const auto& c : cases) {
        SCOPED_TRACE("yarkit " + c.arguments);
        Result r = run(c.arguments, c.input);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_EQ(r.out, c.out);
        EXPECT_NE(r.err.find(c.errContains), std::string::npos) << r.err;
    }
}

TEST(Tool, DetectNamesEachInput)
{
    check({
        { "detect utf-8.txt", "", 0, "UTF-8\n", "" },
        { "detect shift_jis.txt euc-jp.txt iso-2022-jp.txt",
            "", 0, "shift_jis.txt: Shift_JIS\neuc-jp.txt: EUC-JP\niso-2022-jp.txt: ISO-2022-JP\n", "" },
        { "detect --numeric utf-8.txt shift_jis.txt", "", 0, "utf-8.txt: 0x08000100\nshift_jis.txt: 0x0A01\n", "" },
        { "detect", "plain ascii", 0, "US-ASCII\n", "" },
        { "detect -", "\xff\xfe" "a\0", 0, "UTF-16\n", "" },
        // Valid as EUC-JP and as Shift_JIS: the flag decides.
        { "detect", "\xb1\xb2", 0, "EUC-JP\n", "" },
        { "detect --prefer-sjis", "\xb1\xb2", 0, "Shift_JIS\n", "" },
        // NEC circled digit one: CP932 unless Mac Japanese is tried first.
        { "detect --prefer-sjis", "\x87\x40", 0, "CP932\n", "" },
        { "detect --prefer-sjis --prefer-mac", "\x87\x40", 0, "MacJapanese\n", "" },
        { "detect broken-utf-8.txt", "", 1, "unknown\n", "" },
    });
}

TEST(Tool, RepairReportsWhetherItChangedAnything)
{
    check({
        { "repair --encoding utf8", "A\xc3" "B", 1, "A?B", "" },
        { "repair --encoding utf8", "caf\xc3\xa9", 0, "caf\xc3\xa9", "" },
        { "repair --encoding=sjis", "\x81\x20x", 1, "?x", "" },
        { "repair --encoding sjis", "\x85\x40", 1, "?", "" },
        { "repair --encoding dos", "\x85\x40", 0, "\x85\x40", "" },
        { "repair --encoding mac", "\xfd", 0, "\xfd", "" },
        { "repair --encoding eucjp", "\xa4\xa2\xf6\xa1", 1, "\xa4\xa2?", "" },
        { "repair --encoding jis", "\x1b$B0!\r\n", 1, "\x1b$B0!\x1b(B\r\n", "" },
        { "repair --encoding utf8 broken-utf-8.txt", "", 1, repairedBrokenSample(), "" },
    });
}

TEST(Tool, ToUTF8ConvertsEverySampleAndReportsReplacements)
{
    const std::string text = sample("utf-8.txt");
    // The Shift_JIS sample lost the trail byte of the ら before a line break (the "?" swallows
    // the CR as that character's trail) and gained a stray 0xFD after the signature.
    std::string damaged = text;
    damaged.replace(damaged.find("から\r\n"), 8, "か?\n");
    damaged.replace(damaged.find("鈴木"), 6, "鈴木 ?");
    std::string nineReplacements;
    while (nineReplacements.size() < 27)
        nineReplacements += "\xef\xbf\xbd";
    std::string fullWidth = text;
    fullWidth.replace(fullWidth.find("\xef\xbd\xb6\xef\xbe\x80\xef\xbd\xb6\xef\xbe\x85"), 12, "カタカナ");
    check({
        { "to-utf8 utf-8.txt", "", 0, text, "reading UTF-8" },
        { "to-utf8 shift_jis.txt", "", 0, text, "reading Shift_JIS" },
        { "to-utf8 euc-jp.txt", "", 0, text, "reading EUC-JP" },
        { "to-utf8 iso-2022-jp.txt", "", 0, fullWidth, "reading ISO-2022-JP" },
        { "to-utf8 shift_jis.txt euc-jp.txt", "", 0, text + text, "" },
        { "to-utf8 broken-utf-8.txt", "", 1, repairedBrokenSample(), "repaired 3 malformed UTF-8 sequences at byte offsets 162, 165, 343" },
        // Unrecognised damaged text is read as the encoding that needs the fewest repairs.
        { "to-utf8 broken-shift_jis.txt", "", 1, damaged, "reading it as CP932" },
        // Encoded surrogates are valid to the UTF-8 repair but not to ICU: each bad byte
        // becomes U+FFFD and is reported at its input offset.
        { "to-utf8", "a\xed\xa0\x80" "b", 1, "a\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd" "b",
            "replaced 3 unconvertible sequences with U+FFFD at byte offsets 1, 2, 3" },
        // A converter replacement after a repair that shortened the text is reported at its
        // offset in the input, not in the repaired copy.
        { "to-utf8", "\xe3\x81!\xed\xa0\x80\xed\xa0\x80\xed\xa0\x80", 1, "?!" + nineReplacements,
            "replaced 9 unconvertible sequences with U+FFFD at byte offsets 3, 4, 5, 6, 7, 8, 9, 10, 11" },
        // Mac Japanese goes through Shift_JIS; the Mac-only character is reported.
        { "to-utf8", "\x88\x40" "ab", 1, "\xef\xbf\xbd" "ab", "converting it as Shift_JIS" },
        // Code page 932 characters that plain Shift_JIS lacks pass through ICU's converter.
        { "to-utf8", "\x87\x40", 0, "\xe2\x91\xa0", "reading CP932" },
    });
}

TEST(Tool, Base64WritesWhatTheCodecWrites)
{
    const std::string line76 = "QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJD";
    std::string abc57;
    while (abc57.size() < 57)
        abc57 += "ABC";
    check({
        { "base64", "A", 0, "QQ==", "" },
        { "base64 --no-pad", "A", 0, "QQ", "" },
        { "base64", "", 0, "", "" },
        // A break follows a group only when the line is full, so none after a partial line.
        { "base64", abc57, 0, line76 + "\r\n", "" },
        { "base64", abc57 + "A", 0, line76 + "\r\nQQ==", "" },
        { "base64 --line-length 4", "ABCABCA", 0, "QUJD\r\nQUJD\r\nQQ==", "" },
        // A length that no group boundary meets gives one unbroken line.
        { "base64 --line-length=75", abc57 + "A", 0, line76 + "QQ==", "" },
        { "base64 --decode", "QUJD\r\n QQ==\r\n", 0, "ABCA", "" },
        { "base64 --decode --no-pad", "QQ", 0, "A", "" },
        { "base64 --decode", " QUJD", 1, "", "not valid base64" },
    });
}

// Large inputs are encoded in pieces; the pieces must join into full lines and carry no
// padding before the end.
TEST(Tool, Base64OfALargeInputRoundTrips)
{
    std::string bytes;
    for (int i = 0; i < 200000; ++i)
        bytes += static_cast<char>(i * 7 % 256);
    Result encoded = run("base64 --line-length 72", bytes);
    ASSERT_EQ(encoded.status, 0);
    // Every line but the last is 72 characters and a CRLF; the only padding is at the end.
    for (size_t start = 0; start + 72 < encoded.out.size(); start += 74)
        ASSERT_EQ(encoded.out.substr(start + 72, 2), "\r\n") << "line at " << start;
    EXPECT_EQ(encoded.out.find('='), encoded.out.size() - 1);
    Result decoded = run("base64 --decode", encoded.out);
    EXPECT_EQ(decoded.out, bytes);
}

TEST(Tool, UsageErrorsExitWithStatusTwo)
{
    check({
        { "", "", 2, "", "Usage" },
        { "frobnicate", "", 2, "", "unknown command 'frobnicate'" },
        { "detect --bogus", "", 2, "", "unknown option '--bogus'" },
        { "repair", "", 2, "", "missing --encoding" },
        { "repair --encoding latin9", "", 2, "", "unknown encoding 'latin9'" },
        { "repair --encoding", "", 2, "", "needs a value" },
        { "base64 --line-length -4", "", 2, "", "line length must be" },
        { "detect no-such-file.txt", "", 2, "", "no-such-file.txt: No such file or directory" },
        { "to-utf8 no-such-file.txt", "", 2, "", "no-such-file.txt" },
        { "repair --encoding utf8 /", "", 2, "", "Is a directory" },
    });
}

TEST(Tool, EveryCommandHasHelp)
{
    for (const char* command : { "--help", "detect --help", "repair --help", "to-utf8 --help", "base64 --help", "mime --help", "handler --help" })
        EXPECT_EQ(run(command).out.rfind("Usage: yarkit ", 0), 0u) << command;
    EXPECT_EQ(run("detect --help").status, 0);
}

TEST(Tool, MimeAndHandlerUsePrivateXDGFolders)
{
    char directory[] = "/tmp/yk-xdg-XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    const std::string root = directory;
    std::system(("mkdir -p " + root + "/data/mime " + root + "/data/applications " + root + "/config").c_str());
    std::ofstream(root + "/data/mime/globs2") << "50:message/rfc822:*.eml\n";
    std::ofstream(root + "/data/applications/mutt.desktop") << "[Desktop Entry]\nName=Mutt\n";
    setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
    setenv("XDG_DATA_DIRS", (root + "/none").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    check({
        { "mime eml x.EML", "", 0, "eml\tmessage/rfc822\t\nx.EML\tmessage/rfc822\t\n", "" },
        { "mime eml txt", "", 1, "eml\tmessage/rfc822\t\ntxt\tunknown\n", "" },
        { "mime", "", 2, "", "needs at least one" },
        { "handler mailto", "", 1, "", "no handler for mailto" },
        { "handler --set mailto mutt.desktop", "", 0, "", "" },
        { "handler mailto", "", 0, "mutt.desktop\n", "" },
        { "handler --set mailto", "", 2, "", "--set takes" },
    });
    unsetenv("XDG_DATA_HOME");
    unsetenv("XDG_DATA_DIRS");
    unsetenv("XDG_CONFIG_HOME");
    std::system(("rm -rf " + root).c_str());
}

} // namespace
