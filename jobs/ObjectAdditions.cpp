#include <Yarkit/ObjectAdditions.h>

#include <Yarkit/core/runtime/Invocation.h>

namespace yk {

Object* becomeObjectOfClass(Object* object, Class* cls)
{
    return object && object->isKindOfClass(cls) ? object : nullptr;
}

bool tryToPerformSelector(Object* receiver, Selector selector, void* returnValue)
{
    return tryToPerformSelector(receiver, selector, nullptr, nullptr, returnValue);
}

bool tryToPerformSelector(Object* receiver, Selector selector, Object* object, void* returnValue)
{
    return tryToPerformSelector(receiver, selector, object, nullptr, returnValue);
}

bool tryToPerformSelector(Object* receiver, Selector selector, Object* object1, Object* object2, void* returnValue)
{
    if (!receiver || !receiver->respondsToSelector(selector))
        return false;
    auto invocation = Invocation::invocationWithTarget(receiver, selector);
    const MethodSignature* signature = invocation->methodSignature();
    // The objects go into the declared slots as they are, whatever kind the slot has.
    const uint32_t argumentCount = signature->numberOfArguments() - 2;
    if (argumentCount >= 1)
        invocation->setArgumentBytes(&object1, 2);
    if (argumentCount >= 2)
        invocation->setArgumentBytes(&object2, 3);
    invocation->invoke();
    if (returnValue && signature->methodReturnLength() != 0)
        invocation->getReturnValue(returnValue);
    return true;
}

YK_DEFINE_CATEGORY(Object, "Yarkit", [](MethodListBuilder& c) {
    c.method("becomeObjectOfClass:", [](Object* self, Class* cls) { return becomeObjectOfClass(self, cls); });
    c.method("tryToPerformSelector:returnValue:", [](Object* self, Selector selector, void* returnValue) {
        return tryToPerformSelector(self, selector, returnValue);
    });
    c.method("tryToPerformSelector:withObject:returnValue:", [](Object* self, Selector selector, Object* object, void* returnValue) {
        return tryToPerformSelector(self, selector, object, returnValue);
    });
    c.method("tryToPerformSelector:withObject:withObject:returnValue:",
        [](Object* self, Selector selector, Object* object1, Object* object2, void* returnValue) {
            return tryToPerformSelector(self, selector, object1, object2, returnValue);
        });
});

} // namespace yk
