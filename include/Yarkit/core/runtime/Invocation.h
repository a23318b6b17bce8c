#pragma once

#include <Yarkit/core/runtime/Imp.h>

#include <vector>

namespace yk {

// A message packaged for later delivery: a method signature, a target, a selector, typed
// argument slots and, after invoke, the return value. Argument indices follow the signature:
// 0 is the target, 1 the selector, the method's own arguments start at 2. The target and object
// arguments are not retained unless retainArguments() was called; an object that the method
// returns is kept alive by the invocation.
class Invocation final : public Object {
    YK_OBJECT(Invocation, Object)
public:
    explicit Invocation(Ref<MethodSignature> signature);
    static Ref<Invocation> invocationWithMethodSignature(Ref<MethodSignature> signature);

    MethodSignature* methodSignature() const { return _signature.get(); }

    Object* target() const { return _target; }
    void setTarget(Object* target);
    Selector selector() const { return _selector; }
    void setSelector(Selector selector) { _selector = selector; }

    // Typed slots. Raise NSInvalidArgumentException when the index is out of range or the
    // value's kind is not the one the signature declares there.
    template <typename T>
    void setArgument(T value, uint32_t index)
    {
        detail::Slot slot {};
        detail::SlotTraits<detail::Plain<T>>::put(slot, value);
        storeArgument(slot, detail::SlotTraits<detail::Plain<T>>::kind, index);
    }
    template <typename T>
    T argument(uint32_t index) const
    {
        return detail::SlotTraits<detail::Plain<T>>::get(loadArgument(detail::SlotTraits<detail::Plain<T>>::kind, index));
    }
    // Untyped slots: copies sizeOfValueKind(kind of the slot) bytes from or to the buffer.
    void setArgumentBytes(const void* buffer, uint32_t index);
    void getArgumentBytes(void* buffer, uint32_t index) const;

    // From now on the target and every object argument, present and future, are retained.
    void retainArguments();
    bool argumentsRetained() const { return _retainsArguments; }

    // Sends the message. A null target does nothing. Raises NSInvalidArgumentException when the
    // target does not respond to the selector; whatever the method raises passes through.
    void invoke();
    void invokeWithTarget(Object* target);

    // Copies methodReturnLength() bytes of the return value into the buffer.
    void getReturnValue(void* buffer) const;
    template <typename T>
    T returnValue() const
    {
        return detail::SlotTraits<detail::Plain<T>>::get(loadReturnValue(detail::SlotTraits<detail::Plain<T>>::kind));
    }

private:
    friend const detail::Slot& detail::invocationArgumentSlot(const Invocation&, uint32_t);
    friend void detail::setInvocationReturnValue(Invocation&, const detail::Slot&, Ref<Object>);

    void storeArgument(const detail::Slot& slot, ValueKind kind, uint32_t index);
    const detail::Slot& loadArgument(ValueKind kind, uint32_t index) const;
    const detail::Slot& loadReturnValue(ValueKind kind) const;
    void checkArgumentIndex(uint32_t index) const;
    void keepAlive(Object* object);

    Ref<MethodSignature> _signature;
    Object* _target { nullptr };
    Selector _selector;
    std::vector<detail::Slot> _arguments; // index 0 and 1 unused: target and selector have fields
    detail::Slot _returnValue {};
    Ref<Object> _returnedObject;
    bool _retainsArguments { false };
    std::vector<Ref<Object>> _retainedObjects;
};

} // namespace yk
