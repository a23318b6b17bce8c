#include <Yarkit/YIRefObject.h>

#include <Yarkit/core/runtime/Class.h>

#include <atomic>
#include <sched.h>

namespace yk {
namespace {

constexpr uint32_t stripeCount = 32;

// One cache line per lock, so that objects on different stripes do not contend.
struct alignas(64) Stripe {
    std::atomic<uint32_t> word { 0 };
};

Stripe stripes[stripeCount];

// Spins until the stripe is taken: while the word is set, yield the processor; then try.
class StripeLocker {
public:
    explicit StripeLocker(const void* object)
        : _stripe(stripes[YIRefObject::lockIndexForAddress(object)])
    {
        for (;;) {
            if (_stripe.word.load(std::memory_order_relaxed)) {
                sched_yield();
                continue;
            }
            if (!_stripe.word.exchange(1, std::memory_order_acquire))
                return;
        }
    }
    ~StripeLocker() { unlock(); }
    void unlock()
    {
        if (_locked)
            _stripe.word.store(0, std::memory_order_release);
        _locked = false;
    }

    StripeLocker(const StripeLocker&) = delete;
    StripeLocker& operator=(const StripeLocker&) = delete;

private:
    Stripe& _stripe;
    bool _locked { true };
};

} // namespace

YK_DEFINE_CLASS(YIRefObject, [](MethodListBuilder& c) {
    c.classMethod("initialize", &YIRefObject::initialize);
});

void YIRefObject::initialize(Class* self)
{
    if (self != YIRefObject::staticClass())
        return;
    for (auto& stripe : stripes)
        stripe.word.store(0, std::memory_order_relaxed);
}

uint32_t YIRefObject::lockIndexForAddress(const void* address)
{
    return static_cast<uint32_t>((reinterpret_cast<uintptr_t>(address) / 16) % stripeCount);
}

void YIRefObject::retain() const noexcept
{
    StripeLocker locker(this);
    ++_refCount;
}

void YIRefObject::release() const noexcept
{
    StripeLocker locker(this);
    if (_refCount > 0) {
        --_refCount;
        return;
    }
    locker.unlock();
    delete this;
}

uint32_t YIRefObject::retainCount() const noexcept
{
    StripeLocker locker(this);
    return _refCount + 1;
}

} // namespace yk
