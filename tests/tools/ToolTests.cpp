#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <Yarkit/Base64.h>

#include "core/CommandOutput.h"
#include "core/TemporaryFolder.h"

namespace {

struct Result {
    int status;
    std::string out, err;
};

// The broken UTF-8 sample as the UTF-8 repair writes it.
std::string repairedBrokenSample()
{
    return yk::test::TemporaryFolder::read(YK_SAMPLES_DIR "/broken-utf-8.txt").replace(162, 4, "??").replace(341, 1, "?");
}

// Runs the tool in the samples folder with `arguments` (shell words), `input` on standard input
// and `environment` (shell assignments) added to the test's environment.
Result run(const std::string& arguments, const std::string& input = "", const std::string& environment = "")
{
    yk::test::TemporaryFolder folder;
    const auto in = folder.write("in", input), err = folder.path() / "err";
    auto out = yk::test::runCommand(
        "cd '" YK_SAMPLES_DIR "' && " + environment + " '" YK_TOOL_PATH "' " + arguments + " <'" + in.string() + "' 2>'" + err.string() + "'");
    return { out.status, out.output, yk::test::TemporaryFolder::read(err) };
}

// A run of the tool: its exit status, its exact standard output and a part of standard error.
struct Case {
    std::string arguments, input;
    int status;
    std::string out, errContains;
};

void check(const std::vector<Case>& cases, const std::string& environment = "")
{
    for (const auto& c : cases) {
        SCOPED_TRACE("yarkit " + c.arguments);
        Result r = run(c.arguments, c.input, environment);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_EQ(r.out, c.out);
        EXPECT_NE(r.err.find(c.errContains), std::string::npos) << r.err;
    }
}

TEST(Tool, DetectNamesEachInput)
{
    check({
        { "detect utf-8.txt", "", 0, "UTF-8\n", "" },
        { "detect --numeric utf-8.txt shift_jis.txt", "", 0, "utf-8.txt: 0x08000100\nshift_jis.txt: 0x0A01\n", "" },
        { "detect -j 2 shift_jis.txt euc-jp.txt iso-2022-jp.txt utf-8.txt", "", 0, "shift_jis.txt: Shift_JIS\neuc-jp.txt: EUC-JP\niso-2022-jp.txt: ISO-2022-JP\nutf-8.txt: UTF-8\n", "" },
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
    const std::string text = yk::test::TemporaryFolder::read(YK_SAMPLES_DIR "/utf-8.txt");
    // The Shift_JIS sample lost the trail byte of the ら before a line break (the "?" swallows
    // the CR as that character's trail) and gained a stray 0xFD after the signature.
    std::string damaged = text;
    damaged.replace(damaged.find("から\r\n"), 8, "か?\n");
    damaged.replace(damaged.find("鈴木"), 6, "鈴木 ?");
    std::string nineReplacements;
    for (int i = 0; i < 9; ++i)
        nineReplacements += "\xef\xbf\xbd";
    std::string fullWidth = text;
    fullWidth.replace(fullWidth.find("\xef\xbd\xb6\xef\xbe\x80\xef\xbd\xb6\xef\xbe\x85"), 12, "カタカナ");
    check({
        { "to-utf8 utf-8.txt", "", 0, text, "reading UTF-8" },
        { "to-utf8 shift_jis.txt", "", 0, text, "reading Shift_JIS" },
        { "to-utf8 euc-jp.txt", "", 0, text, "reading EUC-JP" },
        { "to-utf8 iso-2022-jp.txt", "", 0, fullWidth, "reading ISO-2022-JP" },
        { "to-utf8 -j 2 shift_jis.txt broken-utf-8.txt euc-jp.txt", "", 1, text + repairedBrokenSample() + text, "repaired 3 malformed UTF-8 sequences" },
        { "to-utf8 broken-utf-8.txt", "", 1, repairedBrokenSample(), "repaired 3 malformed UTF-8 sequences at byte offsets 162, 165, 343" },
        // Unrecognised damaged text is read as the encoding that needs the fewest repairs.
        { "to-utf8 broken-shift_jis.txt", "", 1, damaged, "reading it as CP932" },
        // Encoded surrogates are valid to the UTF-8 repair but not to ICU: each bad byte becomes
        // U+FFFD, reported at its offset in the input, not in the repaired (shorter) copy.
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
        // The default line length is a user default, here from the command line.
        { "base64 -DefaultBase64LineLength 8", std::string(12, 'x'), 0, "eHh4eHh4\r\neHh4eHh4\r\n", "" },
    });
}

// Large inputs are encoded in pieces; the pieces must join into full lines and carry no
// padding before the end.
TEST(Tool, Base64OfALargeInputRoundTripsWithProgressAndWriteErrors)
{
    std::string bytes;
    for (int i = 0; i < 200000; ++i)
        bytes += static_cast<char>(i * 7 % 256);
    Result encoded = run("base64 --progress --line-length 72", bytes);
    ASSERT_EQ(encoded.status, 0);
    EXPECT_NE(encoded.err.find("100%"), std::string::npos) << encoded.err;
    // Every line but the last is 72 characters and a CRLF; the only padding is at the end.
    for (size_t start = 0; start + 72 < encoded.out.size(); start += 74)
        ASSERT_EQ(encoded.out.substr(start + 72, 2), "\r\n") << "line at " << start;
    EXPECT_EQ(encoded.out.find('='), encoded.out.size() - 1);
    EXPECT_EQ(run("base64 --decode", encoded.out).out, bytes);
    EXPECT_EQ(yk::test::runCommand("echo x | '" YK_TOOL_PATH "' base64 >/dev/full 2>/dev/null").status, 2) << "a write error";
}

// Decoding reads the text in pieces of 64 KiB; joined, they must give what the C decoder gives
// for the whole text: groups split by line breaks, folds and "!" breaks at every offset,
// stray characters between groups, and text after the padded group.
TEST(Tool, Base64DecodesInPiecesAsTheCDecoderDecodesTheWhole)
{
    const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char* breaks[] = { "\r\n", "\n", "\r\n ", "!\r\n", "\r\r\n\t" };
    std::mt19937 random(7);
    std::string text;
    while (text.size() < 300000) {
        for (int i = 0; i < 4; ++i) {
            text += alphabet[random() % 64];
            if (random() % 23 == 0)
                text += breaks[random() % 5];
        }
        if (random() % 31 == 0)
            text += random() % 2 ? "*" : " ";
    }
    for (bool pad : { true, false }) {
        std::string input = pad ? text + "QQ==QUI=*" + text : text;
        std::string expected(input.size(), '\0');
        int32_t n = pad ? yk_decode_base64(reinterpret_cast<uint8_t*>(expected.data()), input.data(), uint32_t(input.size()))
                        : yk_decode_base64_no_pad(reinterpret_cast<uint8_t*>(expected.data()), input.data(), uint32_t(input.size()));
        ASSERT_GT(n, 200000);
        expected.resize(size_t(n));
        Result decoded = run(pad ? "base64 --decode" : "base64 --decode --no-pad", input);
        EXPECT_EQ(decoded.status, 0) << decoded.err;
        EXPECT_TRUE(decoded.out == expected) << "padded " << pad << ": " << decoded.out.size() << " bytes, expected " << n;
    }
}

TEST(Tool, NewlinesRewritesAndCountsLineEndings)
{
    const std::string mixed = "a\r\nb\rc\n\r\rd";
    check({
        { "newlines", mixed, 0, "a\nb\nc\n\n\nd", "" },
        { "newlines --to crlf", mixed, 0, "a\r\nb\r\nc\r\n\r\n\r\nd", "" },
        { "newlines --to cr", "x\n", 0, "x\r", "" },
        { "newlines --count", mixed, 0, "cr 3\nlf 1\ncrlf 1\n", "" },
        { "newlines --to nl", "", 2, "", "--to takes lf, crlf or cr" },
    });
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
        { "repair --encoding utf8 /", "", 2, "", "Is a directory" },
        { "digest --algorithm nope utf-8.txt", "", 2, "", "Unknown algorithm 'nope'" },
        { "digest --algorithm md5 --hmac-key-hex 0g", "", 2, "", "not hexadecimal" },
        { "digest --algorithm md5 --hmac-key-hex abc", "", 2, "", "not hexadecimal" },
        { "digest utf-8.txt", "", 2, "", "--algorithm NAME is required" },
    });
}

TEST(Tool, DigestAgreesWithOpenSSL)
{
    const std::pair<std::string, std::string> argumentsAndOpenSSLOptions[] = {
        { "--algorithm MD5", "-md5" },
        { "--algorithm RSA-SHA256", "-sha256" },
        { "--algorithm SHA3-512", "-sha3-512" },
        { "--algorithm whirlpool", "-provider legacy -provider default -whirlpool" },
        { "--algorithm SHA256 --hmac-key-hex ''", "-sha256 -hmac ''" },
        { "--algorithm md5 --hmac-key-hex 0b0B0b", "-md5 -mac HMAC -macopt hexkey:0b0b0b" },
        { "--algorithm SHA512 --hmac-key-hex " + std::string(400, 'a'), "-sha512 -mac HMAC -macopt hexkey:" + std::string(400, 'a') },
    };
    for (const auto& [arguments, options] : argumentsAndOpenSSLOptions) {
        SCOPED_TRACE(arguments);
        Result r = run("digest " + arguments + " utf-8.txt");
        EXPECT_EQ(r.status, 0) << r.err;
        // openssl prints "...= <digest>".
        const std::string openssl = yk::test::runCommand("openssl dgst " + options + " '" YK_SAMPLES_DIR "/utf-8.txt'").output;
        EXPECT_EQ(r.out, openssl.substr(openssl.rfind("= ") + 2));
    }
    check({
        { "digest --algorithm md5 - -", "", 0, "d41d8cd98f00b204e9800998ecf8427e  -\nd41d8cd98f00b204e9800998ecf8427e  -\n", "" },
    });
    EXPECT_NE(run("digest --list").out.find("\nsha256\n"), std::string::npos);
}

TEST(Tool, EveryCommandHasHelp)
{
    for (const char* command : { "--help", "detect --help", "repair --help", "to-utf8 --help", "base64 --help", "newlines --help",
             "digest --help", "password --help", "utf7 --help", "idn --help", "regex --help", "mime --help", "handler --help",
             "size --help", "date --help" })
        EXPECT_EQ(run(command).out.rfind("Usage: yarkit ", 0), 0u) << command;
    EXPECT_EQ(run("detect --help").status, 0);
}

TEST(Tool, SizeAndDatePrintOneLinePerOperand)
{
    // Relative day names count the default zone's days: the process's TZ.
    check({
        { "size 0 1 100 1048576 18446744073709551615", "", 0, "0 bytes\n1 byte\n0.1 KB\n1.0 MB\n16384 PB\n", "" },
        { "size 12 1.5", "", 2, "", "bad number '1.5'" },
        { "size 18446744073709551616", "", 2, "", "bad number" },
        { "date --locale en_US --time-zone Asia/Tokyo --now 2024-03-10T00:05:00+09:00 @1709996100 2024-03-10T00:01:00.5+09:00 @1710255660",
            "", 0, "yesterday 11:55\u202FPM\ntoday 12:01\u202FAM\n3/13/24 12:01\u202FAM\n", "" },
        { "date --date-form 2 --time-form 0 --locale en_US --time-zone UTC @0", "", 0, "Jan 1, 1970\n", "" },
        { "date --date-form 1 --separator ', ' --locale en_US --time-zone UTC 2024-03-09T15:05:09Z", "", 0, "3/9/24, 3:05\u202FPM\n", "" },
        { "date --date-form 0 --time-form 0 @0", "", 0, "\n", "" },
        { "date --time-zone Mars/Olympus @0", "", 2, "", "unknown time zone" },
        { "date --date-form nine @0", "", 2, "", "form must be" },
        { "date 2024-02-30T00:00:00Z", "", 2, "", "bad date" },
        { "date --now yesterday @0", "", 2, "", "bad date 'yesterday'" },
        { "date", "", 2, "", "no WHEN" },
    }, "TZ=Asia/Tokyo");
    // The messages language comes from the environment, which the tool adopts with setlocale.
    EXPECT_EQ(run("size 0 99", "", "LANGUAGE=ja LC_ALL=C.UTF-8").out, "0 バイト\n99 バイト\n");
}

TEST(Tool, MimeAndHandlerUsePrivateXDGFolders)
{
    yk::test::TemporaryFolder folder;
    const std::string root = folder.path().string();
    folder.write("data/mime/globs2", "50:message/rfc822:*.eml\n");
    folder.write("data/applications/mutt.desktop", "[Desktop Entry]\nName=Mutt\n");
    std::filesystem::create_directory(folder.path() / "config");
    check({
        { "mime eml x.EML", "", 0, "eml\tmessage/rfc822\t\nx.EML\tmessage/rfc822\t\n", "" },
        { "mime eml txt", "", 1, "eml\tmessage/rfc822\t\ntxt\tunknown\n", "" },
        { "mime", "", 2, "", "needs at least one" },
        { "handler mailto", "", 1, "", "no handler for mailto" },
        { "handler --set mailto mutt.desktop", "", 0, "", "" },
        { "handler mailto", "", 0, "mutt.desktop\n", "" },
        { "handler --set mailto", "", 2, "", "--set takes" },
    }, "XDG_DATA_HOME='" + root + "/data' XDG_DATA_DIRS='" + root + "/none' XDG_CONFIG_HOME='" + root + "/config'");
}

TEST(Tool, UTF7IDNAndRegexCommands)
{
    check({
        { "utf7 --imap", "Inbox/送信済み", 0, "Inbox/&kAFP4W4IMH8-", "" },
        { "utf7", "Hi Mom -☺-!", 0, "Hi Mom -+Jjo--+ACE", "" },
        { "utf7 --decode", "+AGE-", 0, "a", "" },
        { "utf7 --imap --decode", "&2D3-x", 1, "\xEF\xBF\xBDx", "1 unpaired surrogate" },
        { "utf7", "\xFF", 2, "", "not well-formed UTF-8" },
        { "idn --to-ascii --options 0 -- faß.de", "", 0, "fass.de\n", "" },
        { "idn --to-ascii --uts46 -- faß.de", "", 0, "xn--fa-hia.de\n", "" },
        { "idn --to-unicode --options 1 -- xn--e28h.com", "", 0, "😀.com\n", "" },
        { "idn --to-ascii --options 2 -- abc_def.com", "", 1, "", "yarkit idn: abc_def.com:" },
        { "idn --to-ascii --options x -- a", "", 2, "", "signed 32-bit" },
        { "regex --all '\\d+:\\d\\d'", "12:30 と 9:05", 0, "0 5\n8 4\n", "" },
        { "regex --backwards '\\p{Han}+'", "漢字 かな 日本", 0, "7 1\n", "" },
        { "regex --range 5,2 --all '(?<=な)'", "漢字 かな 日本", 0, "5 0\n", "" },
        { "regex --syntax 3 '\\`a'", "ab", 0, "0 1\n", "" },
        { "regex --ignore-case SS", "straße", 0, "4 1\n", "" },
        { "regex zzz", "abc", 1, "", "" },
        { "regex '(a'", "abc", 2, "", "yarkit regex: YKRegexException: end pattern with unmatched parenthesis" },
        { "regex --range 2,5 a", "abc", 2, "", "yarkit regex: NSRangeException: " },
    });
}

// Inputs larger than the pieces the command converts at a time give the whole input's answer:
// long runs with no place to cut, runs cut between pieces, and a surrogate pair whose halves
// arrive in different pieces. What was written before an ill-formed sequence stays.
TEST(Tool, UTF7StreamsLargeInputs)
{
    auto repeat = [](const std::string& text, size_t times) {
        std::string all;
        for (size_t i = 0; i < times; ++i)
            all += text;
        return all;
    };
    const std::string kanji = repeat("日本日本日本", 60000), mailboxes = repeat("Inbox/送信済み\r\n", 30000);
    const std::string kanjiUTF7 = "+" + repeat("ZeVnLGXlZyxl5Wcs", 60000), kanjiIMAP = "&" + repeat("ZeVnLGXlZyxl5Wcs", 60000) + "-";
    const std::string mailboxesUTF7 = repeat("Inbox/+kAFP4W4IMH8\r\n", 30000), mailboxesIMAP = repeat("Inbox/&kAFP4W4IMH8ADQAK-", 30000);
    const Case cases[] = {
        { "utf7", kanji, 0, kanjiUTF7, "" },
        { "utf7 --imap", kanji, 0, kanjiIMAP, "" },
        { "utf7 --decode", kanjiUTF7, 0, kanji, "" },
        { "utf7 --imap --decode", kanjiIMAP, 0, kanji, "" },
        { "utf7", mailboxes, 0, mailboxesUTF7, "" },
        { "utf7 --imap", mailboxes, 0, mailboxesIMAP, "" },
        { "utf7 --decode", mailboxesUTF7, 0, mailboxes, "" },
        { "utf7 --imap --decode", mailboxesIMAP, 0, mailboxes, "" },
        { "utf7 --imap --decode", "abcdef" + repeat("&2D0-&3gA-", 30000), 0, "abcdef" + repeat("😀", 30000), "" },
        { "utf7", repeat("a", 300000) + "\xE3\x81", 2, repeat("a", 300000), "not well-formed UTF-8" },
    };
    for (const auto& c : cases) {
        Result r = run(c.arguments, c.input);
        EXPECT_EQ(r.status, c.status) << c.arguments << ": " << r.err;
        const auto [differs, _] = std::mismatch(r.out.begin(), r.out.end(), c.out.begin(), c.out.end());
        EXPECT_TRUE(r.out == c.out) << c.arguments << ": " << r.out.size() << " bytes, " << c.out.size()
                                    << " expected, first difference at " << differs - r.out.begin();
        EXPECT_NE(r.err.find(c.errContains), std::string::npos) << c.arguments << ": " << r.err;
    }
}

} // namespace
