#include <Yarkit/core/runtime/Send.h>

#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>

#include "core/runtime/RuntimeErrors.h"

#include <memory>
#include <set>
#include <tuple>

namespace yk::detail {
namespace {

auto key(const SendBinding& binding)
{
    return std::tie(binding.cls, binding.selector, binding.generation, binding.method, binding.body, binding.typed);
}

struct BindingOrder {
    bool operator()(const SendBinding& a, const SendBinding& b) const { return key(a) < key(b); }
};

// Every binding made, so that call sites that alternate between selectors or classes reuse
// them instead of making new ones.
class SendBindings {
public:
    const SendBinding* intern(const SendBinding& binding)
    {
        Locker guard(_lock);
        return &*_bindings.insert(binding).first;
    }

private:
    Mutex _lock;
    std::set<SendBinding, BindingOrder> _bindings YK_GUARDED_BY(_lock);
};

SendBindings& sendBindings()
{
    static auto* bindings = std::make_unique<SendBindings>().release(); // lives for the whole process
    return *bindings;
}

} // namespace

const SendBinding* bindSend(Object* target, SendSelector key, const SendShape& shape)
{
    const Selector selector = key.selector();
    // Read before the lookup: a change made meanwhile leaves the binding stale, not wrong.
    const uint64_t generation = Class::methodTablesGeneration();
    const Class* cls = target->classObject();
    const Method* method = cls->lookupMethod(selector);
    if (!method)
        raiseUnrecognizedSelector(target, selector);
    const Imp imp = method->implementation();
    const MethodSignature& signature = *imp.signature();
    checkArgumentCount(target, selector, signature, shape.count);
    for (uint32_t index = 0; index < shape.count; ++index) {
        const ValueKind kind = signature.argumentKindAtIndex(index + 2);
        if (!(shape.accepted[index] & kindBit(kind)))
            raiseInvalidArgument(methodName(target, selector.name()) + ": " + argumentMismatch(index + 2, shape.given[index], kind));
    }
    const ValueKind returned = signature.methodReturnKind();
    if (!(shape.returnAccepted & kindBit(returned))) {
        raiseInvalidArgument(methodName(target, selector.name()) + ": the method returns " + nameOfValueKind(returned) + ", not "
            + nameOfValueKind(shape.returnGiven));
    }
    const bool typed = *imp.body()->type == shape.type;
    return sendBindings().intern({ cls, key.key(), generation, method, imp.body(), typed });
}

} // namespace yk::detail
