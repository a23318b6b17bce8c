#include <Yarkit/MethodReplacement.h>
#include <Yarkit/ObjectAbstractMethods.h>
#include <Yarkit/ObjectAdditions.h>
#include <Yarkit/YIRefObject.h>
#include <Yarkit/YObject.h>
#include <Yarkit/YPostLoadProcessor.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/system/NotificationCenter.h>
#include <Yarkit/core/values/String.h>

#include "CoreTestSupport.h"
#include "LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

std::vector<std::string>& hookCalls()
{
    static std::vector<std::string> calls;
    return calls;
}

class Hooked : public yk::YObject {
    YK_OBJECT(Hooked, yk::YObject)
public:
    static void postLoad(yk::Class*) { hookCalls().push_back("class"); }
    static void categoryPostLoad(yk::Class*) { hookCalls().push_back("category"); }
    static void raisingPostLoad(yk::Class*) { yk::raise(yk::NSGenericException, "boom"); }
    static void laterPostLoad(yk::Class*) { hookCalls().push_back("later"); }
};
YK_DEFINE_CLASS(Hooked, [](yk::MethodListBuilder& c) { c.classMethod("postLoad", &Hooked::postLoad); });
YK_DEFINE_CATEGORY(Hooked, "Raising", [](yk::MethodListBuilder& c) { c.classMethod("postLoad", &Hooked::raisingPostLoad); });
YK_DEFINE_CATEGORY(Hooked, "Extra", [](yk::MethodListBuilder& c) { c.classMethod("postLoad", &Hooked::categoryPostLoad); });

class Base : public yk::Object {
    YK_OBJECT(Base, yk::Object)
public:
    int32_t speak() { return 1; }
    int32_t shout() { return 2; }
    int32_t whisper() { return 3; }
    static int32_t make(yk::Class*) { return 10; }
    static int32_t build(yk::Class*) { return 20; }
};
YK_DEFINE_CLASS(Base, [](yk::MethodListBuilder& c) {
    c.method("speak", &Base::speak);
    c.method("shout", &Base::shout);
    c.method("whisper", &Base::whisper);
    c.classMethod("make", &Base::make);
    c.classMethod("build", &Base::build);
});

class Derived : public Base {
    YK_OBJECT(Derived, Base)
public:
    int32_t derivedSpeak() { return 4; }
};
YK_DEFINE_CLASS(Derived, [](yk::MethodListBuilder& c) {
    c.method("speak", &Derived::derivedSpeak);
    c.method("nothing", [](Derived*) {});
});

int32_t sendInt(yk::Object* receiver, const char* selector)
{
    int32_t result = 0;
    EXPECT_TRUE(yk::tryToPerformSelector(receiver, selector, &result)) << selector;
    return result;
}

} // namespace

TEST(YPostLoadProcessor, RunsEveryHookOnceAndLogsOneThatRaises)
{
    LogCapture capture;
    hookCalls().clear();
    yk::YPostLoadProcessor::process();
    EXPECT_EQ(hookCalls(), (std::vector<std::string> { "class", "category" }));
    EXPECT_EQ(capture.text(), "Exception raised during invoking +[Hooked postLoad].  Ignored.  Exception: boom\n");

    // A bundle load processes again, running only the hooks that were never called.
    Hooked::staticClass()->addCategory("Later", [](yk::MethodListBuilder& c) { c.classMethod("postLoad", &Hooked::laterPostLoad); });
    yk::NotificationCenter::defaultCenter()->postNotificationName(yk::NSBundleDidLoadNotification, nullptr);
    EXPECT_EQ(hookCalls(), (std::vector<std::string> { "class", "category", "later" }));
}

TEST(YIRefObject, ConcurrentRetainAndReleaseBalance)
{
    std::vector<yk::Ref<yk::YIRefObject>> objects;
    for (int i = 0; i < 64; ++i)
        objects.push_back(yk::make<yk::YIRefObject>());
    const auto churn = [&objects] {
        for (int round = 0; round < 2000; ++round) {
            for (auto& object : objects) {
                object->retain();
                object->release();
            }
        }
    };
    {
        std::jthread first(churn), second(churn);
        churn();
    }
    // Balanced: each object is back to the one reference its Ref holds.
    for (auto& object : objects)
        EXPECT_EQ(object->retainCount(), 1u);
}

TEST(MethodReplacement, ReplacementIsSeenByDynamicDispatchAndLookupFindsTheImplementingClass)
{
    auto object = yk::make<Base>();
    const yk::Imp previous = YKReplaceInstanceMethod(Base::staticClass(), "whisper", "shout");
    EXPECT_EQ(sendInt(object.get(), "whisper"), 2);
    EXPECT_EQ(previous.function<int32_t()>()(object.get()), 3); // the old code is still callable
    YKReplaceInstanceMethod(Base::staticClass(), "shout", "whisper"); // now both give 2
    EXPECT_EQ(sendInt(object.get(), "shout"), 2);

    EXPECT_TRUE(YKReplaceClassMethod(Base::staticClass(), "make", "build"));
    EXPECT_EQ(sendInt(Base::staticClass(), "make"), 20);

    EXPECT_EQ(YKGetClassImplementingInstanceMethod(Derived::staticClass(), "speak"), Derived::staticClass()); // overridden
    EXPECT_EQ(YKGetClassImplementingInstanceMethod(Derived::staticClass(), "whisper"), Base::staticClass()); // inherited
    EXPECT_EQ(YKGetClassImplementingInstanceMethod(Derived::staticClass(), "missing"), nullptr);
    EXPECT_EQ(YKGetClassImplementingClassMethod(Derived::staticClass(), "make"), Base::staticClass());
}

TEST(MethodReplacement, UnknownSelectorsAreLoggedAndChangeNothing)
{
    const struct {
        bool classSide;
        yk::Class* cls;
        const char *selector, *other, *logged;
    } cases[] = {
        { false, Base::staticClass(), "missing", "speak", "-[Base missing] not found" },
        { false, Base::staticClass(), "speak", "absent", "-[Base absent] not found" },
        { true, Base::staticClass(), "missing", "make", "+[Base missing] not found" },
        { false, nullptr, "speak", "speak", "-[(Nil) speak] not found" },
        { false, Base::staticClass(), nullptr, "speak", "-[Base (NULL)] not found" },
    };
    auto object = yk::make<Base>();
    for (const auto& c : cases) {
        LogCapture capture;
        const yk::Imp result = c.classSide ? YKReplaceClassMethod(c.cls, c.selector, c.other) : YKReplaceInstanceMethod(c.cls, c.selector, c.other);
        EXPECT_FALSE(result) << c.logged;
        EXPECT_EQ(capture.text(), std::string(c.logged) + "\n");
    }
    EXPECT_EQ(sendInt(object.get(), "speak"), 1);
}

TEST(ObjectAdditions, TryToPerformSelector)
{
    auto object = yk::make<Derived>();
    int64_t buffer = -1;
    EXPECT_FALSE(yk::tryToPerformSelector(object.get(), "missing", &buffer));
    EXPECT_EQ(buffer, -1);
    EXPECT_TRUE(yk::tryToPerformSelector(object.get(), "nothing", &buffer));
    EXPECT_EQ(buffer, -1); // nothing returned, buffer untouched
}

TEST(ObjectAbstractMethods, RaiseWithTheirMessages)
{
    auto object = yk::make<Base>();
    const struct {
        void (*raiser)(const yk::Object*, yk::Selector);
        const yk::Object* receiver;
        yk::Selector selector;
        const char* reason;
    } cases[] = {
        { yk::notImplemented, object.get(), "speak", "method speak not implemented in Base (instance)" },
        { yk::shouldNotImplement, Base::staticClass(), "make", "Base (class) should not implement make" },
        { yk::subclassResponsibility, object.get(), "target", "subclass Base (instance) should override target" },
        { yk::subclassResponsibility, object.get(), yk::Selector(), "subclass Base (instance) should override (null)" },
    };
    for (const auto& c : cases)
        yk::test::expectRaise([&] { c.raiser(c.receiver, c.selector); }, yk::NSGenericException, c.reason);
}
