// Reference counting and dynamic calls, each beside the C++ construct it replaces.

#include <Yarkit/YIRefObject.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Invocation.h>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

class Counter : public yk::Object {
    YK_OBJECT(Counter, yk::Object)
public:
    virtual int32_t addVirtual(int32_t value) { return _total += value; }
    int32_t add(int32_t value) { return _total += value; }

private:
    int32_t _total { 0 };
};

YK_DEFINE_CLASS(Counter, [](yk::MethodListBuilder& c) { c.method("add:", &Counter::add); });

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

void DirectVirtualCall(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    Counter* target = counter.get();
    benchmark::DoNotOptimize(target);
    for (auto _ : state)
        benchmark::DoNotOptimize(target->addVirtual(1));
}
BENCHMARK(DirectVirtualCall);

void MethodForSelectorCall(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    const auto add = counter->methodForSelector("add:").function<int32_t(int32_t)>();
    for (auto _ : state)
        benchmark::DoNotOptimize(add(counter.get(), 1));
}
BENCHMARK(MethodForSelectorCall);

void InvocationCall(benchmark::State& state)
{
    auto counter = yk::make<Counter>();
    auto invocation = yk::Invocation::invocationWithMethodSignature(counter->methodSignatureForSelector("add:"));
    invocation->setSelector("add:");
    invocation->setArgument(int32_t { 1 }, 2);
    for (auto _ : state) {
        invocation->invokeWithTarget(counter.get());
        benchmark::DoNotOptimize(invocation->returnValue<int32_t>());
    }
}
BENCHMARK(InvocationCall);

} // namespace

BENCHMARK_MAIN();
