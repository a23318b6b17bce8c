#include "CoreTestSupport.h"
#include "CommaDecimalLocale.h"

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

using namespace yk;
using yk::test::str;

namespace {

std::string viaSnprintf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char buffer[512];
    std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    va_end(arguments);
    return buffer;
}

} // namespace

// The C conversions are checked against the C library's own printf.
TEST(Format, CConversionsMatchPrintf)
{
#define YK_CHECK_FORMAT(fmt, ...) EXPECT_EQ(format(fmt, __VA_ARGS__)->utf8(), viaSnprintf(fmt, __VA_ARGS__)) << fmt
    YK_CHECK_FORMAT("%d|%i|%5d|%-5d|%05d|%+d|% d", 42, -7, 3, 3, -3, 5, 6);
    YK_CHECK_FORMAT("%u|%x|%X|%o|%#x|%#o", 4000000000u, 255u, 255u, 8u, 255u, 8u);
    YK_CHECK_FORMAT("%ld|%lld|%lu|%llu|%zu|%jd|%td", -1L, -9000000000LL, 5UL, 18446744073709551615ULL, size_t(7), intmax_t(-2), ptrdiff_t(3));
    YK_CHECK_FORMAT("%hd|%hu|%hhd|%hhu", 70000, 70000, 300, 300);
    YK_CHECK_FORMAT("%f|%.2f|%10.3f|%-10.1f|%e|%E|%g|%G|%a", 3.14159, 2.5, -1.0, 7.25, 12345.678, 0.00012, 1e-5, 1e20, 1.0);
    YK_CHECK_FORMAT("%Lf|%.3Lg", 1.5L, 2.25L);
    YK_CHECK_FORMAT("%s|%10s|%-10s|%.2s", "mail", "box", "left", "truncate");
    YK_CHECK_FORMAT("%c%c|%3c", 'o', 'k', 'x');
    YK_CHECK_FORMAT("%*d|%-*d|%.*f|%*.*f", 6, 1, 6, 2, 2, 3.14159, 8, 1, 2.25);
    YK_CHECK_FORMAT("100%% %s", "done");
#undef YK_CHECK_FORMAT
}

// Numbers are written in the "C" locale whatever LC_NUMERIC the application set.
TEST(Format, DecimalPointIgnoresTheNumericLocale)
{
    yk::test::CommaDecimalLocale comma;
    if (!comma.ok())
        GTEST_SKIP() << "de_DE.UTF-8 could not be compiled";
    ASSERT_EQ(viaSnprintf("%.1f", 1.0), "1,0");
    EXPECT_EQ(format("%.1f MB|%g|%e", 1.0, 0.5, 2.5)->utf8(), "1.0 MB|0.5|2.500000e+00");
}

TEST(Format, ObjectsAndUnicode)
{
    struct Case {
        Ref<String> result;
        const char* expected;
    } cases[] = {
        { format("%@", str("日本").get()), "日本" },
        { format("[%@]", static_cast<Object*>(nullptr)), "[(null)]" },
        { format("%@ + %@", Number::numberWithInt(1).get(), Number::numberWithDouble(0.5).get()), "1 + 0.5" },
        { format("%5@|%-5@|", str("日本").get(), str("ab").get()), "   日本|ab   |" },
        { format("%.1@", str("日本").get()), "日" },
        { format("%S", u"メール"), "メール" },
        { format("%C%C", int(u'日'), int(u'本')), "日本" },
        { format("%s", static_cast<const char*>(nullptr)), "(null)" },
        { format("%@", Array::arrayWithObjects({ str("a"), str("b c") }).get()), "(\n    a,\n    \"b c\"\n)" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.result->utf8(), c.expected);
    EXPECT_EQ(format(nullptr)->length(), 0u);
}

TEST(Format, NumberedArgumentsMayBeReorderedAndMalformedConversionsAreCopied)
{
    EXPECT_EQ(format("%2$@ は %1$d 通", 3, str("受信箱").get())->utf8(), "受信箱 は 3 通");
    EXPECT_EQ(format("%1$s %1$s %2$.1f", "again", 2.25)->utf8(), "again again 2.2");
    EXPECT_EQ(format("%2$*1$d|", 5, 42)->utf8(), "   42|");
    EXPECT_EQ(format("50%")->utf8(), "50%");
    EXPECT_EQ(format("%y and %d", 4)->utf8(), "%y and 4");
    // %n writes nothing: a format string must not be able to write to memory.
    int written = -1;
    EXPECT_EQ(format("ab%n", &written)->utf8(), "ab");
    EXPECT_EQ(written, -1);
}

TEST(Log, SinksReceiveTheFormattedMessageAndTheDefaultWritesOneLineToStandardError)
{
    std::vector<std::string> lines;
    LogSink previous = setLogSink([&](const String& message) { lines.push_back(message.utf8()); });
    log("*** -[%@ %@]: %d 件", str("YJob").get(), str("run").get(), 2);
    setLogSink(nullptr);
    testing::internal::CaptureStderr();
    log("hello %s", "stderr");
    std::string written = testing::internal::GetCapturedStderr();
    setLogSink(previous);
    EXPECT_EQ(lines, std::vector<std::string> { "*** -[YJob run]: 2 件" });
    EXPECT_TRUE(written.ends_with("] hello stderr\n")) << written;
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1);
}
