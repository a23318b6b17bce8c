#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/runtime/SmallVector.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include "CoreTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace {

using yk::test::expectRaise;
using yk::test::str;

// A receiver with one method per argument kind; each records what it got.
class Recorder : public yk::Object {
    YK_OBJECT(Recorder, yk::Object)
public:
    int32_t lastInt32 { 0 };

    yk::Object* takeObject(yk::Object* value) { return value; }
    int32_t takeInt32(int32_t value) { return lastInt32 = value; }
    int64_t takeInt64(int64_t value) { return value; }
    float takeFloat(float value) { return value; }
    double takeDouble(double value) { return value; }
    yk::Selector takeSelector(yk::Selector value) { return value; }
    void* takePointer(void* value) { return value; }
    yk::Range takeRange(yk::Range value) { return value; }
    int32_t takeString(const yk::String* value) { return value ? static_cast<int32_t>(value->length()) : -1; }
    uint32_t add(uint32_t a, uint32_t b) const { return a + b; }
    bool decide(Recorder* other, bool flag, uint32_t count) { return other == this && flag && count == 7; }
    yk::Ref<yk::String> greeting() const { return yk::String::withUTF8("hello"); }
    int32_t version() { return 1; }
    void renamed() { lastInt32 = 1; }
    void original() { lastInt32 = 2; }

    static int32_t classAnswer(yk::Class*) { return 42; }
};

YK_DEFINE_CLASS(Recorder, [](yk::MethodListBuilder& c) {
    c.method("takeObject:", &Recorder::takeObject);
    c.method("takeInt32:", &Recorder::takeInt32);
    c.method("takeInt64:", &Recorder::takeInt64);
    c.method("takeFloat:", &Recorder::takeFloat);
    c.method("takeDouble:", &Recorder::takeDouble);
    c.method("takeSelector:", &Recorder::takeSelector);
    c.method("takePointer:", &Recorder::takePointer);
    c.method("takeRange:", &Recorder::takeRange);
    c.method("takeString:", &Recorder::takeString);
    c.method("add:to:", &Recorder::add);
    c.method("recorder:decide:count:", &Recorder::decide);
    c.method("greeting", &Recorder::greeting);
    c.method("version", &Recorder::version);
    c.method("original", &Recorder::original);
    c.classMethod("answer", &Recorder::classAnswer);
});

class SubRecorder : public Recorder {
    YK_OBJECT(SubRecorder, Recorder)
};
YK_DEFINE_CLASS(SubRecorder);

YK_DEFINE_CATEGORY(Recorder, "Extras", [](yk::MethodListBuilder& c) {
    c.method("extra", [](Recorder* self) { self->lastInt32 = 7; });
    c.method("original", &Recorder::renamed); // a category overrides the class's own method
});

template <typename T>
T roundTrip(Recorder& recorder, const char* selector, T value)
{
    auto invocation = yk::Invocation::invocationWithTarget(&recorder, selector, value);
    invocation->invoke();
    return invocation->template returnValue<T>();
}

} // namespace

namespace app {

// Overloads of one C++ name, registered under two selectors without a cast (it compiles).
class Mailbox : public yk::Object {
    YK_OBJECT(Mailbox, yk::Object)
public:
    void store(int32_t) { }
    void store(yk::String*) { }
};

class Folder : public yk::Object {
    YK_OBJECT(Folder, yk::Object)
};

} // namespace app

YK_DEFINE_CLASS(app::Mailbox, [](yk::MethodListBuilder& c) {
    c.method<void(int32_t)>("storeCount:", &app::Mailbox::store);
    c.method<void(yk::String*)>("storeName:", &app::Mailbox::store);
});
YK_DEFINE_CLASS_NAMED(app::Folder, "AppFolder");

TEST(Invocation, CarriesEveryOtherArgumentKind)
{
    // Objects, integers and doubles are carried by the other invocation and send tests.
    auto recorder = yk::make<Recorder>();
    int local = 0;
    EXPECT_EQ(roundTrip(*recorder, "takeFloat:", 1.5f), 1.5f);
    EXPECT_EQ(roundTrip(*recorder, "takeSelector:", yk::Selector("a:b:")), yk::Selector("a:b:"));
    EXPECT_EQ(roundTrip<void*>(*recorder, "takePointer:", &local), &local);
    EXPECT_EQ(roundTrip(*recorder, "takeRange:", yk::Range { 3, 4 }), (yk::Range { 3, 4 }));
}

TEST(Invocation, KeepsRefArgumentsAndRetainsRawOnesOnlyWhenAsked)
{
    auto recorder = yk::make<Recorder>();
    // The string exists only as the argument: the invocation keeps it (ASan sees a use after
    // free otherwise).
    auto invocation = yk::Invocation::invocationWithTarget(recorder.get(), "takeString:", str("temporary"));
    invocation->invoke();
    EXPECT_EQ(invocation->returnValue<int32_t>(), 9);

    auto raw = str("raw");
    invocation->setArgument(raw.get(), 2);
    EXPECT_EQ(raw->retainCount(), 1u);
    EXPECT_EQ(recorder->retainCount(), 1u);
    invocation->retainArguments();
    EXPECT_EQ(raw->retainCount(), 2u);
    EXPECT_EQ(recorder->retainCount(), 2u);

    auto greeting = yk::Invocation::invocationWithTarget(recorder.get(), "greeting");
    greeting->invoke(); // the returned string's only reference is the invocation's
    EXPECT_EQ(static_cast<yk::String*>(greeting->returnValue<yk::Object*>())->utf8(), "hello");
}

// Send and an invocation's setArgument apply one conversion rule.
TEST(Send, ConvertsArgumentsByKindAndRejectsNarrowing)
{
    auto recorder = yk::make<Recorder>();
    auto sub = yk::make<SubRecorder>();
    auto invocation = yk::Invocation::invocationWithMethodSignature(recorder->methodSignatureForSelector("takeInt32:"));
    struct Row {
        const char* what;
        std::function<int64_t(Recorder*)> send;
        int64_t expected;
        const char* reason; // null: the send succeeds with expected
    };
    const Row rows[] = {
        { "exact types", [](Recorder* r) { return yk::send<bool>(r, "recorder:decide:count:", r, true, 7u); }, 1, nullptr },
        { "Ref and int", [&](Recorder* r) { return yk::send<bool>(r, "recorder:decide:count:", recorder, true, 7); }, 1, nullptr },
        { "subclass for its class", [&](Recorder*) { return yk::send<bool>(sub, "recorder:decide:count:", sub, true, 7); }, 1, nullptr },
        { "Ref target", [&](Recorder*) { return yk::send<uint32_t>(recorder, "add:to:", 2, 3u); }, 5, nullptr },
        { "int to int64", [](Recorder* r) { return yk::send<int64_t>(r, "takeInt64:", -3); }, -3, nullptr },
        { "uint32_t to int64", [](Recorder* r) { return yk::send<int64_t>(r, "takeInt64:", 0xFFFFFFFFu); }, 0xFFFFFFFF, nullptr },
        { "uint32_t to int32 keeps the bits", [](Recorder* r) { return yk::send<int32_t>(r, "takeInt32:", 0xFFFFFFFFu); }, -1, nullptr },
        { "char to int32", [](Recorder* r) { return yk::send<int32_t>(r, "takeInt32:", 'A'); }, 65, nullptr },
        { "float to double", [](Recorder* r) { return static_cast<int64_t>(4 * yk::send<double>(r, "takeDouble:", 1.25f)); }, 5, nullptr },
        { "nullptr to object", [](Recorder* r) { return yk::send<int32_t>(r, "takeString:", nullptr); }, -1, nullptr },
        { "const object", [](Recorder* r) { return yk::send<int32_t>(r, "takeString:", static_cast<const yk::String*>(str("ab").get())); }, 2, nullptr },
        { "result dropped", [](Recorder* r) { return (yk::send(r, "takeInt32:", 9), r->lastInt32); }, 9, nullptr },
        { "object result", [](Recorder* r) { return static_cast<int64_t>(yk::send<yk::Ref<yk::String>>(r, "greeting")->length()); }, 5, nullptr },
        { "null target", [](Recorder*) { return yk::send<int64_t>(static_cast<yk::Object*>(nullptr), "takeInt64:", 1); }, 0, nullptr },
        { "double to int32", [](Recorder* r) { return yk::send<int32_t>(r, "takeInt32:", 2.0); }, 0, "-[Recorder takeInt32:]: argument 2: double does not convert to int32" },
        { "int64 to int32", [](Recorder* r) { return yk::send<int32_t>(r, "takeInt32:", int64_t { 1 }); }, 0, "-[Recorder takeInt32:]: argument 2: int64 does not convert to int32" },
        { "int to double", [](Recorder* r) { return static_cast<int64_t>(yk::send<double>(r, "takeDouble:", 1)); }, 0, "-[Recorder takeDouble:]: argument 2: int32 does not convert to double" },
        { "object to int", [](Recorder* r) { return yk::send<int32_t>(r, "takeInt32:", r); }, 0, "-[Recorder takeInt32:]: argument 2: object does not convert to int32" },
        { "object of another class", [](Recorder* r) { return yk::send<bool>(r, "recorder:decide:count:", str("x"), true, 7u); }, 0, "argument of class String where (anonymous namespace)::Recorder is expected" },
        { "too few arguments", [](Recorder* r) { return yk::send<uint32_t>(r, "add:to:", 1u); }, 0, "-[Recorder add:to:]: the method takes 2 arguments, 1 given" },
        { "result of another kind", [](Recorder* r) { return yk::send<int32_t>(r, "greeting"); }, 0, "-[Recorder greeting]: the method returns object, not int32" },
        { "unknown selector", [](Recorder* r) { return (yk::send(r, "noSuchMethod"), 0); }, 0, "-[Recorder noSuchMethod]: unrecognized selector sent to instance" },
        { "class method through a subclass", [](Recorder*) { return yk::send<int32_t>(SubRecorder::staticClass(), "answer"); }, 42, nullptr },
        { "unknown class method", [](Recorder*) { return (yk::send(Recorder::staticClass(), "noSuchMethod"), 0); }, 0, "+[Recorder noSuchMethod]: unrecognized selector sent to class" },
        { "setArgument double to int32", [&](Recorder*) { return (invocation->setArgument(1.0, 2), 0); }, 0, "-[Invocation setArgument:atIndex:]: argument 2: double does not convert to int32" },
        { "setArgument past the end", [&](Recorder*) { return (invocation->setArgument(int32_t { 1 }, 3), 0); }, 0, "-[Invocation setArgument:atIndex:]: index (3) out of bounds [2, 3)" },
        { "setArgument to the selector", [&](Recorder*) { return (invocation->setArgument(int32_t { 1 }, 1), 0); }, 0, "-[Invocation setArgument:atIndex:]: index (1) out of bounds [2, 3)" },
        { "invocation with too many", [](Recorder* r) { return (yk::Invocation::invocationWithTarget(r, "takeInt32:", 1, 2), 0); }, 0, "-[Recorder takeInt32:]: the method takes 1 arguments, 2 given" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        if (row.reason)
            expectRaise([&] { row.send(recorder.get()); }, yk::NSInvalidArgumentException, row.reason);
        else
            EXPECT_EQ(row.send(recorder.get()), row.expected);
    }
}

TEST(Send, SeesMethodsAddedOrReplacedAfterItsFirstCall)
{
    // One call site for both classes, so its cache must tell them and their generations apart.
    const auto version = [](yk::Object* target) { return yk::send<int32_t>(target, "version"); };
    auto recorder = yk::make<Recorder>();
    auto sub = yk::make<SubRecorder>();
    EXPECT_EQ(version(recorder.get()), 1);
    EXPECT_EQ(version(sub.get()), 1);

    SubRecorder::staticClass()->addCategory("Newer", [](yk::MethodListBuilder& c) { c.method("version", [](SubRecorder*) { return int32_t { 2 }; }); });
    EXPECT_EQ(version(recorder.get()), 1);
    EXPECT_EQ(version(sub.get()), 2);

    // Swapping an implementation changes no method table.
    yk::Method* method = Recorder::staticClass()->lookupMethod("version");
    const yk::Imp previous = method->setImplementation(yk::Imp::fromFunction([](Recorder*) { return int32_t { 3 }; }));
    EXPECT_EQ(version(recorder.get()), 3);
    method->setImplementation(previous);
    EXPECT_EQ(version(recorder.get()), 1);
}

TEST(Runtime, CategoriesAddAndOverrideMethodsThatPerformSelectorReaches)
{
    auto recorder = yk::make<Recorder>();
    recorder->performSelector("extra");
    EXPECT_EQ(recorder->lastInt32, 7);
    recorder->performSelector("original");
    EXPECT_EQ(recorder->lastInt32, 1);
    EXPECT_EQ(Recorder::staticClass()->methodLists()[1]->categoryName, "Extras");
    // performSelector passes as many objects as the method takes.
    EXPECT_EQ(recorder->performSelector("takeObject:", recorder.get(), recorder.get()), recorder);
    EXPECT_EQ(recorder->performSelector("takeObject:"), nullptr); // the missing argument is null
    EXPECT_EQ(recorder->performSelector("version"), nullptr); // not an object
}

TEST(Runtime, TypedImpChecksTheMethodType)
{
    auto recorder = yk::make<Recorder>();
    const yk::Imp imp = recorder->methodForSelector("add:to:");
    EXPECT_EQ(imp.function<uint32_t(uint32_t, uint32_t)>()(recorder.get(), 2, 3), 5u);
    expectRaise([&] { imp.function<int32_t(int32_t, int32_t)>(); }, yk::NSInvalidArgumentException,
        "implementation of type unsigned int (unsigned int, unsigned int) used as int (int, int)");
}

TEST(Runtime, ClassesRegisterUnderTheirOwnOrAChosenNameAndAMismatchedSelectorAddsNothing)
{
    EXPECT_EQ(yk::Class::named("Mailbox"), app::Mailbox::staticClass());
    EXPECT_EQ(yk::Class::named("app::Mailbox"), nullptr);
    EXPECT_EQ(yk::Class::named("AppFolder"), app::Folder::staticClass());
    EXPECT_TRUE(app::Mailbox::staticClass()->instancesRespondToSelector("storeName:"));

    const size_t lists = Recorder::staticClass()->methodLists().size();
    expectRaise(
        [] {
            Recorder::staticClass()->addCategory("Mistaken", [](yk::MethodListBuilder& c) {
                c.method(std::string_view("fine"), &Recorder::version);
                c.method(std::string_view("takeTwo:and:"), &Recorder::takeInt32);
            });
        },
        yk::NSInvalidArgumentException, "method takeTwo:and: of class Recorder: the selector has 2 colons, the function takes 1 arguments");
    EXPECT_EQ(Recorder::staticClass()->methodLists().size(), lists);

    // While the program loads, the reason is reported and the process goes on.
    testing::internal::CaptureStderr();
    yk::detail::ClassRegistration twice([] { return yk::Class::registerClass("Recorder", nullptr, nullptr, nullptr); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "*** A class was not registered: class Recorder is registered twice\n");
}

namespace {

std::atomic<int> slowInitializations { 0 };

// Its initialize takes a while, so a second thread arrives while it runs.
class SlowToInitialize : public yk::Object {
    YK_OBJECT(SlowToInitialize, yk::Object)
public:
    static void initialize(yk::Class* self)
    {
        self->ensureInitialized(); // re-entry from the initialising thread goes on at once
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ++slowInitializations;
    }
};
YK_DEFINE_CLASS(SlowToInitialize, [](yk::MethodListBuilder& c) { c.classMethod("initialize", &SlowToInitialize::initialize); });

} // namespace

TEST(Runtime, InitializeRunsOnceAndOtherThreadsWaitForIt)
{
    std::atomic<int> seenAfterReturn { 0 };
    const auto initialize = [&] {
        SlowToInitialize::staticClass()->ensureInitialized();
        seenAfterReturn += slowInitializations.load();
    };
    std::thread first(initialize), second(initialize);
    initialize();
    first.join();
    second.join();
    EXPECT_EQ(slowInitializations.load(), 1);
    EXPECT_EQ(seenAfterReturn.load(), 3);
}

TEST(Selector, TextAtAnAddressUsedBeforeIsReadAgain)
{
    char buffer[] = "alpha:";
    const yk::Selector first(buffer);
    std::copy_n("omega:", sizeof buffer, buffer); // same address, same length, other text
    const yk::Selector second(buffer);
    EXPECT_STREQ(first.name(), "alpha:");
    EXPECT_STREQ(second.name(), "omega:");
    EXPECT_EQ(second, yk::Selector("omega:"));
    EXPECT_NE(first, second);
}

TEST(SmallVector, KeepsOrderAndReferencesAcrossTheMoveToTheHeap)
{
    for (const size_t count : { 0u, 3u, 4u, 5u, 12u }) {
        SCOPED_TRACE(count);
        std::vector<yk::Ref<Recorder>> made;
        yk::SmallVector<yk::Ref<Recorder>, 4> list;
        for (size_t i = 0; i < count; ++i) {
            made.push_back(yk::make<Recorder>());
            list.push_back(made.back());
        }
        yk::SmallVector<yk::Ref<Recorder>, 4> moved(std::move(list));
        EXPECT_TRUE(list.empty());
        ASSERT_EQ(moved.size(), count);
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(moved[i].get(), made[i].get());
            EXPECT_EQ(made[i]->retainCount(), 2u);
        }
        moved.clear();
        for (const auto& recorder : made)
            EXPECT_EQ(recorder->retainCount(), 1u);
    }
}
