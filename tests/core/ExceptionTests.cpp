#include "CoreTestSupport.h"

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableDictionary.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

using namespace yk;
using yk::test::str;

namespace {

// A subclass keeps its class through raise() and copy().
class CustomException : public Exception {
    YK_OBJECT(CustomException, Exception)
public:
    using Exception::Exception;
    Ref<Exception> copy() const override { return make<CustomException>(*this); }

protected:
    [[noreturn]] void throwCopy() const override { throw *this; }
};

YK_DEFINE_CLASS(CustomException);

} // namespace

TEST(Exception, RaiseFormatsTheReasonAndRecordsTheStack)
{
    try {
        yk::raise(NSGenericException, "subclass %s (%s) should override %s", "YJob", "YJob", "run");
    } catch (const std::exception& e) {
        // Any C++ handler for std::exception sees the reason.
        EXPECT_STREQ(e.what(), "subclass YJob (YJob) should override run");
        const auto* exception = dynamic_cast<const Exception*>(&e);
        ASSERT_TRUE(exception && exception->name()->isEqualToString(NSGenericException));
        Ref<Array> addresses = exception->callStackReturnAddresses();
        ASSERT_TRUE(addresses && addresses->count());
        EXPECT_EQ(addresses->count(), exception->backtrace().size());
    }
    auto unraised = Exception::exceptionWithName(NSRangeException, "r");
    EXPECT_TRUE(unraised->backtrace().empty());
    EXPECT_FALSE(unraised->callStackReturnAddresses());
}

TEST(Exception, ACaughtExceptionIsKeptThroughCopyWithItsClassStackAndUserInfo)
{
    auto previous = Exception::exceptionWithName(NSRangeException, "inner");
    auto userInfo = make<MutableDictionary>();
    userInfo->setObject(previous, str("PreviousException"));
    Ref<Exception> kept;
    try {
        make<CustomException>(str("Outer"), str("outer"), userInfo)->raise();
    } catch (const CustomException& e) {
        kept = e.copy();
    }
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->retainCount(), 1u);
    EXPECT_TRUE(kept->isMemberOfClass(CustomException::staticClass()));
    EXPECT_EQ(kept->description()->utf8(), "outer");
    EXPECT_FALSE(kept->backtrace().empty());
    EXPECT_EQ(kept->userInfo()->objectForKey("PreviousException").get(), previous.get());
}

TEST(Error, DomainCodeAndDescriptions)
{
    auto error = Error::posixError(ENOENT);
    EXPECT_EQ(error->localizedDescription()->utf8(), std::strerror(ENOENT));
    EXPECT_TRUE(error->isEqual(Error::errorWithDomain(NSPOSIXErrorDomain, ENOENT).get()));

    auto described = Error::errorWithDomain("YKTest", 7,
        Dictionary::dictionaryWithEntries({ { str(NSLocalizedDescriptionKey), str("説明") } }));
    EXPECT_EQ(described->localizedDescription()->utf8(), "説明");
    EXPECT_EQ(described->description()->utf8(), "Error Domain=YKTest Code=7 \"説明\"");
    EXPECT_EQ(Error::errorWithDomain("YKTest", 7)->localizedDescription()->utf8(),
        "The operation couldn\u2019t be completed. (YKTest error 7.)");
}
