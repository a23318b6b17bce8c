#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace {

// A receiver with one method per argument kind; each records what it got.
class Recorder : public yk::Object {
    YK_OBJECT(Recorder, yk::Object)
public:
    yk::Object* lastObject { nullptr };
    bool lastBool { false };
    int32_t lastInt32 { 0 };
    int64_t lastInt64 { 0 };
    float lastFloat { 0 };
    double lastDouble { 0 };
    yk::Selector lastSelector;
    void* lastPointer { nullptr };
    yk::Range lastRange;

    yk::Object* takeObject(yk::Object* value) { return lastObject = value; }
    bool takeBool(bool value) { return lastBool = value; }
    int32_t takeInt32(int32_t value) { return lastInt32 = value; }
    int64_t takeInt64(int64_t value) { return lastInt64 = value; }
    float takeFloat(float value) { return lastFloat = value; }
    double takeDouble(double value) { return lastDouble = value; }
    yk::Selector takeSelector(yk::Selector value) { return lastSelector = value; }
    void* takePointer(void* value) { return lastPointer = value; }
    yk::Range takeRange(yk::Range value) { return lastRange = value; }
    uint32_t add(uint32_t a, uint32_t b) const { return a + b; }
    yk::Ref<yk::String> greeting() const { return yk::String::withUTF8("hello"); }
    void renamed() { lastInt32 = 1; }
    void original() { lastInt32 = 2; }

    static int32_t classAnswer(yk::Class*) { return 42; }
};

YK_DEFINE_CLASS(Recorder, [](yk::MethodListBuilder& c) {
    c.method("takeObject:", &Recorder::takeObject);
    c.method("takeBool:", &Recorder::takeBool);
    c.method("takeInt32:", &Recorder::takeInt32);
    c.method("takeInt64:", &Recorder::takeInt64);
    c.method("takeFloat:", &Recorder::takeFloat);
    c.method("takeDouble:", &Recorder::takeDouble);
    c.method("takeSelector:", &Recorder::takeSelector);
    c.method("takePointer:", &Recorder::takePointer);
    c.method("takeRange:", &Recorder::takeRange);
    c.method("add:to:", &Recorder::add);
    c.method("greeting", &Recorder::greeting);
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
    auto invocation = yk::Invocation::invocationWithMethodSignature(recorder.methodSignatureForSelector(selector));
    invocation->setSelector(selector);
    invocation->setArgument(value, 2);
    invocation->invokeWithTarget(&recorder);
    T copied {};
    invocation->getReturnValue(&copied);
    EXPECT_EQ(std::memcmp(&copied, &value, sizeof(T)), 0) << selector;
    return invocation->returnValue<T>();
}

} // namespace

TEST(Invocation, CarriesEveryArgumentKind)
{
    auto recorder = yk::make<Recorder>();
    auto text = yk::String::withUTF8("x");
    int local = 0;

    EXPECT_EQ(roundTrip<yk::Object*>(*recorder, "takeObject:", text.get()), text.get());
    EXPECT_EQ(roundTrip(*recorder, "takeBool:", true), true);
    EXPECT_EQ(roundTrip(*recorder, "takeInt32:", int32_t { -5 }), -5);
    EXPECT_EQ(roundTrip(*recorder, "takeInt64:", int64_t { 1 } << 40), int64_t { 1 } << 40);
    EXPECT_EQ(roundTrip(*recorder, "takeFloat:", 1.5f), 1.5f);
    EXPECT_EQ(roundTrip(*recorder, "takeDouble:", 2.25), 2.25);
    EXPECT_EQ(roundTrip(*recorder, "takeSelector:", yk::Selector("a:b:")), yk::Selector("a:b:"));
    EXPECT_EQ(roundTrip<void*>(*recorder, "takePointer:", &local), &local);
    EXPECT_EQ(roundTrip(*recorder, "takeRange:", yk::Range { 3, 4 }), (yk::Range { 3, 4 }));

    EXPECT_EQ(recorder->lastObject, text.get());
    EXPECT_EQ(recorder->lastRange, (yk::Range { 3, 4 }));
}

TEST(Invocation, RejectsArgumentsOfTheWrongKindOrIndex)
{
    auto recorder = yk::make<Recorder>();
    auto invocation = yk::Invocation::invocationWithMethodSignature(recorder->methodSignatureForSelector("takeInt32:"));
    EXPECT_ANY_THROW(invocation->setArgument(1.0, 2));
    EXPECT_ANY_THROW(invocation->setArgument(int32_t { 1 }, 3));
    EXPECT_ANY_THROW(invocation->setArgument(int32_t { 1 }, 1));
}

TEST(Invocation, KeepsAReturnedObjectAlive)
{
    auto recorder = yk::make<Recorder>();
    auto invocation = yk::Invocation::invocationWithMethodSignature(recorder->methodSignatureForSelector("greeting"));
    invocation->setSelector("greeting");
    invocation->invokeWithTarget(recorder.get());
    auto* greeting = static_cast<yk::String*>(invocation->returnValue<yk::Object*>());
    EXPECT_EQ(greeting->utf8(), "hello");
}

TEST(Invocation, RetainsArgumentsOnlyWhenAsked)
{
    auto recorder = yk::make<Recorder>();
    auto argument = yk::String::withUTF8("kept");
    auto invocation = yk::Invocation::invocationWithMethodSignature(recorder->methodSignatureForSelector("takeObject:"));
    invocation->setTarget(recorder.get());
    invocation->setArgument<yk::Object*>(argument.get(), 2);
    EXPECT_EQ(argument->retainCount(), 1u);
    invocation->retainArguments();
    EXPECT_EQ(argument->retainCount(), 2u);
    EXPECT_EQ(recorder->retainCount(), 2u);
}

TEST(Runtime, ClassIsTheTargetOfItsClassMethods)
{
    yk::Class* cls = Recorder::staticClass();
    EXPECT_TRUE(cls->respondsToSelector("answer"));
    EXPECT_FALSE(cls->respondsToSelector("takeBool:"));
    EXPECT_TRUE(SubRecorder::staticClass()->respondsToSelector("answer"));
    EXPECT_EQ(cls->methodForSelector("answer").function<int32_t()>()(cls), 42);

    auto invocation = yk::Invocation::invocationWithMethodSignature(cls->methodSignatureForSelector("answer"));
    invocation->setSelector("answer");
    invocation->invokeWithTarget(cls);
    EXPECT_EQ(invocation->returnValue<int32_t>(), 42);
}

TEST(Runtime, InheritanceAndKindTests)
{
    auto sub = yk::make<SubRecorder>();
    EXPECT_TRUE(sub->respondsToSelector("add:to:"));
    EXPECT_TRUE(sub->isKindOfClass(Recorder::staticClass()));
    EXPECT_TRUE(sub->isKindOfClass(yk::Object::staticClass()));
    EXPECT_FALSE(sub->isMemberOfClass(Recorder::staticClass()));
    EXPECT_TRUE(sub->isMemberOfClass(SubRecorder::staticClass()));
    EXPECT_EQ(yk::Class::named("SubRecorder"), SubRecorder::staticClass());
    EXPECT_EQ(SubRecorder::staticClass()->superclass(), Recorder::staticClass());
    auto created = SubRecorder::staticClass()->createInstance();
    ASSERT_TRUE(created);
    EXPECT_TRUE(created->isMemberOfClass(SubRecorder::staticClass()));
}

TEST(Runtime, CategoriesAddAndOverrideMethods)
{
    auto recorder = yk::make<Recorder>();
    recorder->performSelector("extra");
    EXPECT_EQ(recorder->lastInt32, 7);
    recorder->performSelector("original");
    EXPECT_EQ(recorder->lastInt32, 1);
    auto lists = Recorder::staticClass()->methodLists();
    ASSERT_EQ(lists.size(), 2u);
    EXPECT_EQ(lists[0]->categoryName, "");
    EXPECT_EQ(lists[1]->categoryName, "Extras");
}

TEST(Runtime, TypedImpChecksTheMethodType)
{
    auto recorder = yk::make<Recorder>();
    auto add = recorder->methodForSelector("add:to:").function<uint32_t(uint32_t, uint32_t)>();
    EXPECT_EQ(add(recorder.get(), 2, 3), 5u);
    EXPECT_ANY_THROW(recorder->methodForSelector("add:to:").function<int32_t(int32_t, int32_t)>());
}

TEST(Runtime, PerformSelectorRaisesForAnUnknownSelector)
{
    auto recorder = yk::make<Recorder>();
    EXPECT_ANY_THROW(recorder->performSelector("noSuchMethod"));
    EXPECT_EQ(recorder->performSelector("takeObject:", recorder.get()), recorder);
}

TEST(Runtime, SelectorsAreInterned)
{
    const std::string dynamic = std::string("jobDid") + "End:";
    EXPECT_EQ(yk::Selector(dynamic), yk::Selector("jobDidEnd:"));
    EXPECT_EQ(yk::Selector(dynamic).name(), yk::Selector("jobDidEnd:").name());
    EXPECT_EQ(yk::Selector("jobCenter:shouldExecuteJob:withRunningJobs:").argumentCount(), 3u);
    EXPECT_STREQ(yk::Selector().name(), "(null)");
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
    std::vector<std::thread> threads;
    std::atomic<int> seenAfterReturn { 0 };
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            SlowToInitialize::staticClass()->ensureInitialized();
            seenAfterReturn += slowInitializations.load();
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(slowInitializations.load(), 1);
    EXPECT_EQ(seenAfterReturn.load(), 3);
}
