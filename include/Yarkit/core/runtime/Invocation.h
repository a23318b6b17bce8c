#pragma once

#include <Yarkit/core/runtime/Imp.h>

#include <vector>

namespace yk {

// A message packaged for later delivery: a method signature, a target, a selector, typed
// argument slots and, after invoke, the return value. Argument indices follow the signature:
// 0 is the target, 1 the selector, the method's own arguments start at 2. An object argument
// given as a Ref<T> is kept by the invocation; the target and arguments given as raw pointers
// are not retained unless retainArguments() was called. An object that the method returns is
// kept alive by the invocation.
class Invocation final : public Object {
    YK_OBJECT(Invocation, Object)
public:
    explicit Invocation(Ref<MethodSignature> signature);
    static Ref<Invocation> invocationWithMethodSignature(Ref<MethodSignature> signature);

    // An invocation of the target's method for the selector, its first arguments set in order
    // (the others stay zero until set):
    //     auto invocation = Invocation::invocationWithTarget(delegate, "job:didEnd:", job, true);
    // Raises NSInvalidArgumentException when the target does not respond to the selector, when
    // more arguments are given than the method takes, or when an argument does not convert to
    // its slot (see setArgument).
    template <typename... Arguments>
    static Ref<Invocation> invocationWithTarget(Object* target, Selector selector, Arguments&&... arguments)
    {
        auto invocation = invocationForMessage(target, selector, sizeof...(Arguments));
        uint32_t index = 2;
        (invocation->setArgument(std::forward<Arguments>(arguments), index++), ...);
        return invocation;
    }

    MethodSignature* methodSignature() const { return _signature.get(); }

    Object* target() const { return _target; }
    void setTarget(Object* target);
    Selector selector() const { return _selector; }
    void setSelector(Selector selector) { _selector = selector; }

    // Typed slots. An argument converts to the slot's kind where C++ converts without
    // narrowing (an int to an int64 slot, a float to a double one); nullptr fills an object
    // slot. Raise NSInvalidArgumentException when the index is out of range or the value does
    // not convert to the kind the signature declares there.
    template <typename T>
    void setArgument(const T& value, uint32_t index)
    {
        using Type = std::decay_t<T>;
        const ValueKind kind = argumentKind(index, detail::acceptedKinds<Type>(), detail::argumentKindOf<Type>());
        detail::Slot slot {};
        detail::putArgument<Type>(slot, kind, value);
        storeArgument(slot, index, detail::isRef<Type>); // a Ref argument is always kept
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
    static Ref<Invocation> invocationForMessage(Object* target, Selector selector, uint32_t argumentCount);
    // The kind of the slot at index, when it is one of accepted; raises otherwise.
    ValueKind argumentKind(uint32_t index, detail::KindSet accepted, ValueKind given) const;
    void storeArgument(const detail::Slot& slot, uint32_t index, bool keep);
    const detail::Slot& loadArgument(ValueKind kind, uint32_t index) const;
    const detail::Slot& loadReturnValue(ValueKind kind) const;
    void checkArgumentIndex(uint32_t index) const;

    Ref<MethodSignature> _signature;
    Object* _target { nullptr };
    Selector _selector;
    std::vector<detail::Slot> _arguments; // index 0 and 1 unused: target and selector have fields
    // Per slot, the object argument the invocation keeps (index 0: the target), or null.
    std::vector<Ref<Object>> _keptObjects;
    detail::Slot _returnValue {};
    Ref<Object> _returnedObject;
    bool _retainsArguments { false };
};

} // namespace yk
