#include <Yarkit/YAuthenticator.h>

#include "core/CoreTestSupport.h"

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/values/MutableString.h>

#include <semaphore>
#include <thread>

namespace yk::test {

// Answers with the request's own user and title; each request waits in the hook until the
// test opens the latch for it.
class LatchedAuthenticator final : public YAuthenticator {
    YK_OBJECT(LatchedAuthenticator, YAuthenticator)
public:
    std::counting_semaphore<2> entered { 0 }, opened { 0 };

protected:
    Ref<YPasswordInfo> passwordInfo() override
    {
        entered.release();
        opened.acquire();
        return YPasswordInfo::passwordInfoWithUserName(userName().get(), title().get(), savePassword());
    }
};

YK_DEFINE_CLASS(LatchedAuthenticator);

} // namespace yk::test

namespace yk {
namespace {

using test::str;

TEST(YPasswordInfo, KeepsCopiesAndNeverDescribesThePassword)
{
    auto user = MutableString::stringWithString(str("tim").get());
    auto info = YPasswordInfo::passwordInfoWithUserName(user.get(), str("tanstaaf").get(), true);
    user->appendString(str("othy").get());
    EXPECT_EQ(info->userName()->utf8(), "tim");
    EXPECT_TRUE(info->savesPassword());
    EXPECT_EQ(info->description()->utf8().find("tanstaaf"), std::string::npos);
    auto empty = YPasswordInfo::passwordInfoWithUserName(nullptr, nullptr, false);
    EXPECT_FALSE(empty->userName() || empty->password());
}

TEST(YAuthenticator, FreshAccessorsAnswerNullAndNo)
{
    auto fresh = make<YAuthenticator>();
    EXPECT_FALSE(fresh->URL() || fresh->title() || fresh->message() || fresh->savePassword());
    EXPECT_FALSE(fresh->scheme() || fresh->userName() || fresh->hostName() || fresh->port());
}

TEST(YAuthenticator, TheBaseHookRaisesAndLeavesTheLockFree)
{
    auto authenticator = make<YAuthenticator>();
    auto url = URL::URLWithString("imap://tim@mail.example:143/");
    for (int attempt = 0; attempt < 2; ++attempt)
        test::expectRaise([&] { (void)authenticator->requestPasswordInfoForURL(url.get(), str("T").get(), str("M").get(), true); },
            NSGenericException, "subclass YAuthenticator (instance) should override passwordInfo");
    test::expectRaise([&] { (void)send<Ref<YPasswordInfo>>(authenticator.get(), "passwordInfo"); },
        NSGenericException, "subclass YAuthenticator (instance) should override passwordInfo");
    // The fields stay set after the request.
    EXPECT_EQ(authenticator->hostName()->utf8(), "mail.example");
    EXPECT_EQ(authenticator->port()->intValue(), 143);
    EXPECT_EQ(authenticator->userName()->utf8(), "tim");
    EXPECT_EQ(authenticator->scheme()->utf8(), "imap");
    EXPECT_TRUE(authenticator->savePassword());
}

TEST(YAuthenticator, SettingTheSameDefaultAgainChangesNothing)
{
    auto authenticator = make<YAuthenticator>();
    YAuthenticator::setDefaultAuthenticator(authenticator.get());
    const uint32_t count = authenticator->retainCount();
    YAuthenticator::setDefaultAuthenticator(authenticator.get());
    EXPECT_EQ(authenticator->retainCount(), count);
    EXPECT_EQ(YAuthenticator::defaultAuthenticator(), authenticator);
    YAuthenticator::setDefaultAuthenticator(nullptr);
    EXPECT_FALSE(YAuthenticator::defaultAuthenticator());
    EXPECT_EQ(authenticator->retainCount(), count - 1);
}

TEST(YAuthenticator, TheSecondRequestWaitsForTheFirst)
{
    auto authenticator = make<test::LatchedAuthenticator>();
    Ref<YPasswordInfo> first, second;
    std::thread one([&] {
        first = authenticator->requestPasswordInfoForURL(URL::URLWithString("imap://one@h/").get(), str("first").get(), nullptr, false);
    });
    authenticator->entered.acquire();
    std::thread two([&] {
        second = authenticator->requestPasswordInfoForURL(URL::URLWithString("imap://two@h/").get(), str("second").get(), nullptr, true);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(authenticator->title()->utf8(), "first");
    EXPECT_EQ(authenticator->userName()->utf8(), "one");
    authenticator->opened.release(2);
    one.join();
    two.join();
    EXPECT_EQ(first->userName()->utf8(), "one");
    EXPECT_EQ(first->password()->utf8(), "first");
    EXPECT_EQ(second->userName()->utf8(), "two");
    EXPECT_TRUE(second->savesPassword());
    EXPECT_EQ(authenticator->title()->utf8(), "second");
}

} // namespace
} // namespace yk
