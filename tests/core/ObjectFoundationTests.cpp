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

#include <atomic>
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
    static void doNothing(Derived*) { }
};
YK_DEFINE_CLASS(Derived, [](yk::MethodListBuilder& c) {
    c.method("speak", &Derived::derivedSpeak);
    c.method("takeTwo:and:", [](Derived*, yk::Object*, yk::Object*) { return int64_t { 99 }; });
    c.method("nothing", &Derived::doNothing);
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

TEST(YIRefObject, CountsReferencesBeyondTheFirst)
{
    auto* object = yk::make<yk::YIRefObject>().leakRef();
    EXPECT_EQ(object->retainCount(), 1u);
    object->retain();
    EXPECT_EQ(object->retainCount(), 2u);
    object->release();
    EXPECT_EQ(object->retainCount(), 1u);
    object->release(); // deallocates; ASan reports a leak or a double free if not
}

TEST(YIRefObject, ConcurrentRetainAndReleaseBalance)
{
    std::vector<yk::Ref<yk::YIRefObject>> objects;
    for (int i = 0; i < 64; ++i)
        objects.push_back(yk::make<yk::YIRefObject>());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&objects] {
            for (int round = 0; round < 2000; ++round) {
                for (auto& object : objects) {
                    object->retain();
                    object->release();
                }
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (auto& object : objects)
        EXPECT_EQ(object->retainCount(), 1u);
}

TEST(MethodReplacement, ReplacementIsSeenByDynamicDispatch)
{
    auto object = yk::make<Base>();
    const yk::Imp previous = YKReplaceInstanceMethod(Base::staticClass(), "whisper", "shout");
    ASSERT_TRUE(previous);
    EXPECT_EQ(sendInt(object.get(), "whisper"), 2);
    EXPECT_EQ(previous.function<int32_t()>()(object.get()), 3); // the old code is still callable
    YKReplaceInstanceMethod(Base::staticClass(), "shout", "whisper"); // now both give 2
    EXPECT_EQ(sendInt(object.get(), "shout"), 2);

    EXPECT_TRUE(YKReplaceClassMethod(Base::staticClass(), "make", "build"));
    int32_t made = 0;
    EXPECT_TRUE(yk::tryToPerformSelector(Base::staticClass(), "make", &made));
    EXPECT_EQ(made, 20);
}

TEST(MethodReplacement, UnknownSelectorsAreLoggedAndChangeNothing)
{
    struct Case {
        bool classSide;
        yk::Class* cls;
        const char* selector;
        const char* other;
        const char* logged;
    };
    const Case cases[] = {
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

TEST(MethodReplacement, FindsTheClassThatImplementsAMethod)
{
    struct Case {
        yk::Class* cls;
        const char* selector;
        yk::Class* expected;
    };
    const Case cases[] = {
        { Derived::staticClass(), "speak", Derived::staticClass() },
        { Derived::staticClass(), "whisper", Base::staticClass() },
        { Derived::staticClass(), "tryToPerformSelector:returnValue:", yk::Object::staticClass() },
        { Derived::staticClass(), "missing", nullptr },
    };
    for (const auto& c : cases)
        EXPECT_EQ(YKGetClassImplementingInstanceMethod(c.cls, c.selector), c.expected) << c.selector;
    EXPECT_EQ(YKGetClassImplementingClassMethod(Derived::staticClass(), "make"), Base::staticClass());
    EXPECT_EQ(YKGetClassImplementingClassMethod(Derived::staticClass(), "YK_isSubclassOfClass:"), yk::Object::staticClass());
}

TEST(ObjectAdditions, TryToPerformSelector)
{
    auto object = yk::make<Derived>();
    int64_t buffer = -1;
    EXPECT_FALSE(yk::tryToPerformSelector(object.get(), "missing", &buffer));
    EXPECT_EQ(buffer, -1);
    EXPECT_TRUE(yk::tryToPerformSelector(object.get(), "nothing", &buffer));
    EXPECT_EQ(buffer, -1); // nothing returned, buffer untouched
    EXPECT_TRUE(yk::tryToPerformSelector(object.get(), "takeTwo:and:", object.get(), nullptr, &buffer));
    EXPECT_EQ(buffer, 99);
    EXPECT_TRUE(yk::tryToPerformSelector(object.get(), "speak", nullptr));
    EXPECT_TRUE(object->respondsToSelector("tryToPerformSelector:withObject:withObject:returnValue:"));
}

TEST(ObjectAbstractMethods, RaiseWithTheirMessages)
{
    auto object = yk::make<Base>();
    struct Case {
        void (*raiser)(const yk::Object*, yk::Selector);
        const yk::Object* receiver;
        yk::Selector selector;
        const char* reason;
    };
    const Case cases[] = {
        { yk::notImplemented, object.get(), "speak", "method speak not implemented in Base (instance)" },
        { yk::shouldNotImplement, Base::staticClass(), "make", "Base (class) should not implement make" },
        { yk::subclassResponsibility, object.get(), "target", "subclass Base (instance) should override target" },
        { yk::subclassResponsibility, object.get(), yk::Selector(), "subclass Base (instance) should override (null)" },
    };
    for (const auto& c : cases)
        yk::test::expectRaise([&] { c.raiser(c.receiver, c.selector); }, yk::NSGenericException, c.reason);
    EXPECT_THROW(yk::tryToPerformSelector(object.get(), "subclassResponsibility:", nullptr, nullptr), yk::Exception);
}
