#include "core/CommandOutput.h"
#include "core/CoreTestSupport.h"
#include "core/LogCapture.h"
#include "core/TemporaryFolder.h"

#include <Yarkit/ExceptionAdditions.h>
#include <Yarkit/StringNumberAdditions.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/threads/RunLoop.h>
#include <Yarkit/core/values/ExceptionHandler.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>
#include <thread>

namespace {

using yk::Ref;
using yk::String;
using yk::test::str;

class SaveFailure : public yk::Exception {
    YK_OBJECT(SaveFailure, yk::Exception)
public:
    using Exception::Exception;
    Ref<yk::Exception> copy() const override { return yk::make<SaveFailure>(*this); }

protected:
    [[noreturn]] void throwCopy() const override { throw *this; }
};
YK_DEFINE_CLASS(SaveFailure);

// Counts the performs its thread's run loop delivers.
class TracePerformCounter : public yk::Object {
    YK_OBJECT(TracePerformCounter, yk::Object)
public:
    void count(yk::Object*) { ++performed; }
    int performed { 0 };
};
YK_DEFINE_CLASS(TracePerformCounter, [](yk::MethodListBuilder& c) { c.method("count:", &TracePerformCounter::count); });

TEST(ExceptionAdditions, ChainsSurviveTheirHandlers)
{
    Ref<yk::Exception> outer;
    try {
        yk::raise("DiskException", "disk full");
    } catch (const yk::Exception& inner) {
        try {
            yk::raiseWithPreviousException(str("SaveException").get(), &inner, "save failed after %d tries", 3);
        } catch (const yk::Exception& raised) {
            outer = raised.copy();
        }
    }
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->classObject(), yk::Exception::staticClass());
    EXPECT_EQ(outer->reason()->utf8(), "save failed after 3 tries");
    EXPECT_EQ(yk::previousReason(outer.get())->utf8(), "disk full");
    EXPECT_TRUE(yk::isName(yk::previousException(outer.get()).get(), "DiskException"));
    EXPECT_FALSE(yk::previousReason(yk::previousException(outer.get()).get()));

    // A null name returns without raising; a null format is the empty reason.
    yk::raiseWithPreviousException(nullptr, outer.get(), "ignored");
    try {
        yk::raiseWithPreviousException(str(yk::YUserAbortException).get(), nullptr, nullptr);
        ADD_FAILURE() << "no exception";
    } catch (const yk::Exception& raised) {
        EXPECT_TRUE(yk::isName(&raised, str("YUserAbortException").get()));
        EXPECT_EQ(raised.reason()->utf8(), "");
        EXPECT_FALSE(raised.userInfo());
    }
}

TEST(ExceptionAdditions, FactoryKeepsTheReceiversClassAndTheCallersDictionary)
{
    auto earlier = yk::Exception::exceptionWithName("Earlier", "first");
    auto stale = yk::Exception::exceptionWithName("Stale", "old");
    auto info = yk::Dictionary::dictionaryWithEntries({ { str("PreviousException"), stale }, { str("Mailbox"), str("INBOX") } });

    auto chained = yk::exceptionWithName<SaveFailure>(str("Save"), str("failed"), info.get(), earlier.get());
    EXPECT_EQ(chained->classObject(), SaveFailure::staticClass());
    EXPECT_EQ(yk::previousReason(chained.get())->utf8(), "first");
    EXPECT_EQ(chained->userInfo()->count(), 2u);
    EXPECT_EQ(info->objectForKey(std::string_view("PreviousException")), stale);

    auto unchained = yk::exceptionWithName(str("Plain"), str("r"), info.get(), nullptr);
    EXPECT_EQ(unchained->classObject(), yk::Exception::staticClass());
    EXPECT_EQ(unchained->userInfo(), info);
    EXPECT_FALSE(yk::exceptionWithName(str("Plain"), str("r"), nullptr, earlier.get())->userInfo()->objectForKey(std::string_view("Mailbox")));
}

std::vector<uint64_t> numbers(const yk::Array* array)
{
    std::vector<uint64_t> values;
    for (uint32_t i = 0; array && i < array->count(); ++i)
        values.push_back(static_cast<yk::Number*>(array->objectAtIndex(i).get())->unsignedLongLongValue());
    return values;
}

std::vector<std::string> texts(const yk::Array* array)
{
    std::vector<std::string> values;
    for (uint32_t i = 0; array && i < array->count(); ++i)
        values.push_back(static_cast<String*>(array->objectAtIndex(i).get())->utf8());
    return values;
}

// The raising frame whose name the symbolic trace must show.
[[gnu::noinline]] Ref<yk::Exception> raiseFromSymbolisedFrame()
{
    try {
        yk::raise("TraceException", "for the trace");
    } catch (const yk::Exception& e) {
        return e.copy();
    }
}

TEST(ExceptionAdditions, AddressMethodsPreferOppositeSources)
{
    auto traceInfo = yk::Dictionary::dictionaryWithEntries({ { str("NSStackTraceKey"), str("0x10  0x7fffabcd12345678  017  ") } });
    auto recorded = yk::Exception::exceptionWithName("Unraised", "r", traceInfo);
    EXPECT_EQ(numbers(yk::YK_callStackReturnAddresses(recorded.get()).get()), (std::vector<uint64_t> { 0x10, 0x7fffabcd12345678, 15, 0 }));
    EXPECT_EQ(texts(yk::_callStackReturnHexAddresses(recorded.get()).get()), (std::vector<std::string> { "0x10", "0x7fffabcd12345678", "017", "" }));

    Ref<yk::Exception> raised;
    try {
        yk::Exception::exceptionWithName("Raised", "r", traceInfo)->raise();
    } catch (const yk::Exception& e) {
        raised = e.copy();
    }
    // The recorded addresses win for the numbers, the string for the hexadecimal texts.
    EXPECT_EQ(numbers(yk::YK_callStackReturnAddresses(raised.get()).get()).front(), raised->backtrace().front());
    EXPECT_EQ(texts(yk::_callStackReturnHexAddresses(raised.get()).get()).front(), "0x10");

    auto plain = raiseFromSymbolisedFrame(); // no trace string: the full 64-bit addresses
    char expected[32];
    std::snprintf(expected, sizeof(expected), "0x%llx", static_cast<unsigned long long>(plain->backtrace().front()));
    EXPECT_EQ(texts(yk::_callStackReturnHexAddresses(plain.get()).get()).front(), expected);

    auto bare = yk::Exception::exceptionWithName("Bare", "never raised");
    EXPECT_FALSE(yk::YK_callStackReturnAddresses(bare.get()));
    EXPECT_FALSE(yk::_callStackReturnHexAddresses(bare.get()));
    EXPECT_FALSE(yk::YK_stackTrace(bare.get()));
}

TEST(ExceptionAdditions, LongLongValueWithBase)
{
    const struct { const char* text; int base; int64_t value; } rows[] = {
        { "0x1F", 0, 31 }, { "017", 0, 15 }, { "  -42z", 0, -42 }, { "ff", 16, 255 }, { "", 0, 0 }, { "0xffffffffffffffffff", 0, INT64_MAX },
    };
    for (const auto& row : rows)
        EXPECT_EQ(yk::YK_longLongValueWithBase(str(row.text).get(), row.base), row.value) << row.text;
}

size_t openDescriptors()
{
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

// Points the shared defaults at a temporary folder, so "atos-path" can be set and dropped.
class StackTraceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", _folder.path().c_str(), 1);
        yk::UserDefaults::resetStandardUserDefaults();
    }
    void TearDown() override
    {
        unsetenv("XDG_CONFIG_HOME");
        yk::UserDefaults::resetStandardUserDefaults();
    }
    static void setToolPath(const char* path)
    {
        yk::UserDefaults::standardUserDefaults()->setObject(path ? str(path).get() : nullptr, std::string_view("atos-path"));
    }

    yk::test::TemporaryFolder _folder;
};

TEST_F(StackTraceTest, TheShippedToolNamesTheRaisingFunction)
{
    auto exception = raiseFromSymbolisedFrame();
    auto trace = yk::YK_stackTrace(exception.get())->utf8();
    EXPECT_NE(trace.find("raiseFromSymbolisedFrame"), std::string::npos) << trace;
    EXPECT_NE(trace.find("ExceptionAdditionsTests.cpp:"), std::string::npos) << trace;
    char first[32];
    std::snprintf(first, sizeof(first), "0x%llx", static_cast<unsigned long long>(exception->backtrace().front()));
    EXPECT_EQ(trace.rfind(first, 0), 0u) << "frames are printed with the addresses as given:\n" << trace;
}

TEST_F(StackTraceTest, ToolContractMasksDescriptorsAndChildren)
{
    auto exception = raiseFromSymbolisedFrame();
    auto hex = yk::_callStackReturnHexAddresses(exception.get());
    auto joined = hex->componentsJoinedByString(str("  ").get())->utf8();
    auto spaced = hex->componentsJoinedByString(str(" ").get())->utf8();
    auto* handler = yk::ExceptionHandler::defaultExceptionHandler();
    handler->setExceptionHandlingMask(yk::NSLogOtherExceptionMask);
    handler->setExceptionHangingMask(yk::NSHangOnOtherExceptionMask);
    const size_t descriptors = openDescriptors();

    setToolPath("/bin/echo");
    EXPECT_EQ(yk::YK_stackTrace(exception.get())->utf8(), "-p " + std::to_string(getpid()) + " " + spaced + "\n");
    setToolPath("/bin/true");
    EXPECT_EQ(yk::YK_stackTrace(exception.get())->utf8(), "");
    {
        LogCapture log;
        setToolPath("/nonexistent/atos");
        EXPECT_EQ(yk::YK_stackTrace(exception.get())->utf8(), joined);
        EXPECT_EQ(log.text(), "*** -[Exception YK_stackTrace]: NSInvalidArgumentException raised during converting numeric stack traces "
                              "into symbolic form.  Ignored.  Reason: launch path not accessible\n");
    }
    EXPECT_EQ(handler->exceptionHandlingMask(), yk::NSLogOtherExceptionMask);
    EXPECT_EQ(handler->exceptionHangingMask(), yk::NSHangOnOtherExceptionMask);
    handler->setExceptionHandlingMask(0);
    handler->setExceptionHangingMask(0);
    EXPECT_EQ(openDescriptors(), descriptors);
    errno = 0;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(StackTraceTest, TwoThreadsSymboliseAtOnce)
{
    auto exception = raiseFromSymbolisedFrame();
    const std::string expected = "-p " + std::to_string(getpid()) + " "
        + yk::_callStackReturnHexAddresses(exception.get())->componentsJoinedByString(str(" ").get())->utf8() + "\n";
    setToolPath("/bin/echo");
    std::string results[2];
    // Off the main thread, a trace gives the thread's loop one pass: a pending perform runs.
    auto counter = yk::make<TracePerformCounter>();
    std::thread first([&] {
        yk::RunLoop::currentRunLoop()->performSelector("count:", counter.get(), nullptr, 0, { yk::kCFRunLoopDefaultMode });
        results[0] = yk::YK_stackTrace(exception.get())->utf8();
    });
    std::thread second([&] { results[1] = yk::YK_stackTrace(exception.get())->utf8(); });
    first.join();
    second.join();
    EXPECT_EQ(results[0], expected);
    EXPECT_EQ(results[1], expected);
    EXPECT_EQ(counter->performed, 1);
}

TEST(ExceptionAdditions, SymbolToolPrintsAddressesUnchangedWithoutElfutils)
{
    auto script = yk::Bundle::frameworkBundle()->pathForAuxiliaryExecutable(str("yarkit-atos").get())->utf8();
    EXPECT_EQ(yk::test::runCommand("PATH=/nonexistent /bin/sh '" + script + "' -p 1 0x10 0x7fffabcd12345678").output, "0x10\n0x7fffabcd12345678\n");
    // A process without those addresses: nothing resolves, so the list comes back as given.
    EXPECT_EQ(yk::test::runCommand("/bin/sh '" + script + "' -p 999999999 0x10").output, "0x10\n");
}

TEST(ExceptionHandler, LogOtherExceptionsMakesRaiseLog)
{
    LogCapture log;
    auto* handler = yk::ExceptionHandler::defaultExceptionHandler();
    handler->setExceptionHandlingMask(yk::NSLogOtherExceptionMask);
    EXPECT_THROW(yk::raise("Logged", "seen"), yk::Exception);
    handler->setExceptionHandlingMask(0);
    EXPECT_THROW(yk::raise("Quiet", "unseen"), yk::Exception);
    EXPECT_EQ(log.text(), "*** Raising Logged: seen\n");
}

} // namespace
