// Reference counting and dynamic calls, each beside the C++ construct it replaces.

#include <Yarkit/YIRefObject.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>
#include <Yarkit/core/runtime/Send.h>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

// A delegate method of three arguments: an object, a bool and a uint32_t.
class Counter : public yk::Object {
    YK_OBJECT(Counter, yk::Object)
public:
    virtual bool counterShouldAddVirtual(Counter* counter, bool twice, uint32_t value) { return add(counter, twice, value); }
    bool counterShouldAdd(Counter* counter, bool twice, uint32_t value) { return add(counter, twice, value); }

private:
    bool add(Counter* counter, bool twice, uint32_t value)
    {
        _total += twice ? 2 * value : value;
        return counter == this;
    }

    uint32_t _total { 0 };
};

YK_DEFINE_CLASS(Counter, [](yk::MethodListBuilder& c) { c.method("counter:shouldAdd:twice:", &Counter::counterShouldAdd); });

// The usual sender of a delegate message: a subclass passing itself.
class SubCounter final : public Counter {
    YK_OBJECT(SubCounter, Counter)
};
YK_DEFINE_CLASS(SubCounter);

struct Plain {
    int32_t total { 0 };
};

void ObjectRetainRelease(benchmark::State& state)
{
    auto object = yk::make<Counter>();
    for (auto _ : state) {
        yk::Ref<Counter> copy(object);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(ObjectRetainRelease);

void SharedPtrCopy(benchmark::State& state)
{
    auto object = std::make_shared<Plain>();
    for (auto _ : state) {
        std::shared_ptr<Plain> copy(object);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(SharedPtrCopy);

void YIRefObjectRetainRelease(benchmark::State& state)
{
    auto object = yk::make<yk::YIRefObject>();
    for (auto _ : state) {
        yk::Ref<yk::YIRefObject> copy(object);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(YIRefObjectRetainRelease);

// Contended: both threads count references on the same object.
void ObjectRetainReleaseContended(benchmark::State& state)
{
    static auto* shared = yk::make<Counter>().leakRef();
    for (auto _ : state) {
        yk::Ref<Counter> copy(shared);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(ObjectRetainReleaseContended)->Threads(2);

void YIRefObjectRetainReleaseContended(benchmark::State& state)
{
    static auto* shared = yk::make<yk::YIRefObject>().leakRef();
    for (auto _ : state) {
        yk::Ref<yk::YIRefObject> copy(shared);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(YIRefObjectRetainReleaseContended)->Threads(2);

// The three ways of calling the delegate method, beside a C++ virtual call.
void DirectVirtualCall(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    Counter* target = counter.get();
    // Through a member pointer the compiler cannot see, so that the call stays virtual: the
    // caller of a delegate does not know its class.
    auto method = &Counter::counterShouldAddVirtual;
    benchmark::DoNotOptimize(target);
    benchmark::DoNotOptimize(method);
    for (auto _ : state)
        benchmark::DoNotOptimize((target->*method)(target, true, 3u));
}
BENCHMARK(DirectVirtualCall);

// The caller's types are the method's: a direct call through the cached implementation.
void Send(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    yk::Object* target = counter.get();
    benchmark::DoNotOptimize(target);
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::send<bool>(target, "counter:shouldAdd:twice:", counter.get(), true, 3u));
}
BENCHMARK(Send);

// The same kinds spelled otherwise (a subclass's Ref, an int): a call through argument slots.
void SendConvertingArguments(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    auto sender = yk::make<SubCounter>();
    yk::Object* target = counter.get();
    benchmark::DoNotOptimize(target);
    for (auto _ : state)
        benchmark::DoNotOptimize(yk::send<bool>(target, "counter:shouldAdd:twice:", sender, true, 3));
}
BENCHMARK(SendConvertingArguments);

void InvocationEachTime(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    yk::Object* target = counter.get();
    benchmark::DoNotOptimize(target);
    for (auto _ : state) {
        auto invocation = yk::Invocation::invocationWithTarget(target, "counter:shouldAdd:twice:", counter.get(), true, 3u);
        invocation->invoke();
        benchmark::DoNotOptimize(invocation->returnValue<bool>());
    }
}
BENCHMARK(InvocationEachTime);

} // namespace

BENCHMARK_MAIN();
