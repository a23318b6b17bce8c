#pragma once

#include <Yarkit/core/runtime/MethodSignature.h>
#include <Yarkit/core/runtime/Range.h>

#include <cstring>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace yk {

class Invocation;

namespace detail {

// One argument or return value of a dynamic call.
union Slot {
    Slot()
        : int64(0)
    {
    }

    Object* object;
    bool boolean;
    int32_t int32;
    int64_t int64;
    float float32;
    double float64;
    const char* selector; // the interned name, see Selector
    void* pointer;
    Range range;
};

// How a C++ type travels through an invocation slot.
template <typename T, typename = void>
struct SlotTraits;

[[noreturn]] void raiseArgumentClassMismatch(const Object* object, const std::type_info& expected);

template <typename T>
T* castObjectArgument(Object* object)
{
    if constexpr (std::is_same_v<std::remove_const_t<T>, Object>) {
        return object;
    } else {
        if (!object)
            return nullptr;
        if (auto* cast = dynamic_cast<T*>(object))
            return cast;
        raiseArgumentClassMismatch(object, typeid(T));
    }
}

template <typename T>
struct SlotTraits<T*, std::enable_if_t<std::is_base_of_v<Object, std::remove_const_t<T>>>> {
    static constexpr ValueKind kind = ValueKind::Object;
    static T* get(const Slot& slot) { return castObjectArgument<T>(slot.object); }
    static void put(Slot& slot, T* value) { slot.object = const_cast<Object*>(static_cast<const Object*>(value)); }
};
template <typename T>
struct SlotTraits<Ref<T>> {
    static constexpr ValueKind kind = ValueKind::Object;
    static Ref<T> get(const Slot& slot) { return Ref<T>(castObjectArgument<T>(slot.object)); }
    static void put(Slot& slot, const Ref<T>& value) { slot.object = value.get(); }
};
template <>
struct SlotTraits<bool> {
    static constexpr ValueKind kind = ValueKind::Bool;
    static bool get(const Slot& slot) { return slot.boolean; }
    static void put(Slot& slot, bool value) { slot.boolean = value; }
};
template <typename T>
struct SlotTraits<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) == 4>> {
    static constexpr ValueKind kind = ValueKind::Int32;
    static T get(const Slot& slot) { return static_cast<T>(slot.int32); }
    static void put(Slot& slot, T value) { slot.int32 = static_cast<int32_t>(value); }
};
template <typename T>
struct SlotTraits<T, std::enable_if_t<std::is_integral_v<T> && sizeof(T) == 8>> {
    static constexpr ValueKind kind = ValueKind::Int64;
    static T get(const Slot& slot) { return static_cast<T>(slot.int64); }
    static void put(Slot& slot, T value) { slot.int64 = static_cast<int64_t>(value); }
};
template <>
struct SlotTraits<float> {
    static constexpr ValueKind kind = ValueKind::Float;
    static float get(const Slot& slot) { return slot.float32; }
    static void put(Slot& slot, float value) { slot.float32 = value; }
};
template <>
struct SlotTraits<double> {
    static constexpr ValueKind kind = ValueKind::Double;
    static double get(const Slot& slot) { return slot.float64; }
    static void put(Slot& slot, double value) { slot.float64 = value; }
};
template <>
struct SlotTraits<Selector> {
    static constexpr ValueKind kind = ValueKind::Selector;
    static Selector get(const Slot& slot) { return Selector::fromInternedName(slot.selector); }
    static void put(Slot& slot, Selector value) { slot.selector = value.isNull() ? nullptr : value.name(); }
};
template <typename T>
struct SlotTraits<T*, std::enable_if_t<!std::is_base_of_v<Object, std::remove_const_t<T>>>> {
    static constexpr ValueKind kind = ValueKind::Pointer;
    static T* get(const Slot& slot) { return static_cast<T*>(slot.pointer); }
    static void put(Slot& slot, T* value) { slot.pointer = const_cast<void*>(static_cast<const void*>(value)); }
};
template <>
struct SlotTraits<Range> {
    static constexpr ValueKind kind = ValueKind::Range;
    static Range get(const Slot& slot) { return slot.range; }
    static void put(Slot& slot, Range value) { slot.range = value; }
};

template <typename T>
using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

template <typename R>
constexpr ValueKind returnKindOf()
{
    if constexpr (std::is_void_v<R>)
        return ValueKind::Void;
    else
        return SlotTraits<Plain<R>>::kind;
}

struct ImpBody;

// Reads the arguments from an invocation, calls the function and stores its result there.
using Invoker = void (*)(const ImpBody&, Object* self, Invocation&);

// The implementation of a method, created once when the method is registered and never freed.
struct ImpBody {
    Ref<MethodSignature> signature;
    const std::type_info* type; // the method's C++ type R(Args...), without the receiver
    Invoker invoke;
    void (*direct)(); // R (*)(const ImpBody&, Object*, Args...), cast back by TypedImp
    alignas(std::max_align_t) unsigned char function[2 * sizeof(void*)];
};

// The receiver, return and argument types of something that can implement a method.
template <typename F>
struct MethodTraits;

template <typename R, typename T, typename... A>
struct MethodTraits<R (T::*)(A...)> {
    using Receiver = T;
    using Return = R;
    using Function = R(A...);
    template <typename F, typename... P>
    static R call(F f, T* self, P&&... args) { return (self->*f)(std::forward<P>(args)...); }
};
template <typename R, typename T, typename... A>
struct MethodTraits<R (T::*)(A...) const> : MethodTraits<R (T::*)(A...)> {
    template <typename F, typename... P>
    static R call(F f, T* self, P&&... args) { return (self->*f)(std::forward<P>(args)...); }
};
template <typename R, typename T, typename... A>
struct MethodTraits<R (T::*)(A...) noexcept> : MethodTraits<R (T::*)(A...)> {
};
template <typename R, typename T, typename... A>
struct MethodTraits<R (T::*)(A...) const noexcept> : MethodTraits<R (T::*)(A...) const> {
};
template <typename R, typename T, typename... A>
struct MethodTraits<R (*)(T*, A...)> {
    using Receiver = T;
    using Return = R;
    using Function = R(A...);
    template <typename F, typename... P>
    static R call(F f, T* self, P&&... args) { return f(self, std::forward<P>(args)...); }
};
template <typename R, typename T, typename... A>
struct MethodTraits<R (*)(T*, A...) noexcept> : MethodTraits<R (*)(T*, A...)> {
};

template <typename F>
F loadFunction(const ImpBody& body)
{
    F function;
    std::memcpy(&function, body.function, sizeof(F));
    return function;
}

template <typename F, typename R, typename... A>
R callDirect(const ImpBody& body, Object* self, A... args)
{
    using Traits = MethodTraits<F>;
    auto* receiver = static_cast<typename Traits::Receiver*>(self);
    return Traits::call(loadFunction<F>(body), receiver, std::forward<A>(args)...);
}

const Slot& invocationArgumentSlot(const Invocation&, uint32_t index);
void setInvocationReturnValue(Invocation&, const Slot& value, Ref<Object> keepAlive);

template <typename F, typename R, typename... A, size_t... I>
void invokeFromSlots(const ImpBody& body, Object* self, Invocation& invocation, std::index_sequence<I...>)
{
    if constexpr (std::is_void_v<R>) {
        callDirect<F, R, A...>(body, self, SlotTraits<Plain<A>>::get(invocationArgumentSlot(invocation, I + 2))...);
    } else {
        R result = callDirect<F, R, A...>(body, self, SlotTraits<Plain<A>>::get(invocationArgumentSlot(invocation, I + 2))...);
        Slot slot {};
        SlotTraits<Plain<R>>::put(slot, result);
        Ref<Object> keepAlive;
        if constexpr (SlotTraits<Plain<R>>::kind == ValueKind::Object)
            keepAlive = slot.object;
        setInvocationReturnValue(invocation, slot, std::move(keepAlive));
    }
}

template <typename F, typename Function>
struct ImpMaker;

template <typename F, typename R, typename... A>
struct ImpMaker<F, R(A...)> {
    static void invoke(const ImpBody& body, Object* self, Invocation& invocation)
    {
        invokeFromSlots<F, R, A...>(body, self, invocation, std::index_sequence_for<A...>());
    }
    static ImpBody make(F function)
    {
        static_assert(sizeof(F) <= sizeof(ImpBody::function));
        ImpBody body {
            make_ref_signature(),
            &typeid(R(A...)),
            &invoke,
            reinterpret_cast<void (*)()>(&callDirect<F, R, A...>),
            {},
        };
        std::memcpy(body.function, &function, sizeof(F));
        return body;
    }
    static Ref<MethodSignature> make_ref_signature()
    {
        return ::yk::make<MethodSignature>(returnKindOf<R>(), std::vector<ValueKind> { SlotTraits<Plain<A>>::kind... });
    }
};

// Keeps an implementation's body for the life of the process.
const ImpBody* internImpBody(ImpBody body);

} // namespace detail

template <typename Signature>
class TypedImp;

} // namespace yk

// An implementation as a plain pointer, for functions with C linkage; yk::Imp wraps it.
typedef const yk::detail::ImpBody* IMP;

namespace yk {

// The implementation of a method: what methodForSelector returns. Calls go through an
// invocation (invoke) or, on hot paths, through a typed function checked once (function<>).
class Imp {
public:
    Imp() = default;
    Imp(IMP body)
        : _body(body)
    {
    }

    // Makes the implementation of a member function, or of a function whose first parameter is
    // the receiver (also a captureless lambda).
    template <typename F>
    static Imp fromFunction(F function)
    {
        if constexpr (std::is_class_v<F>) {
            return fromFunction(+function);
        } else {
            using Traits = detail::MethodTraits<F>;
            return Imp(detail::internImpBody(detail::ImpMaker<F, typename Traits::Function>::make(function)));
        }
    }

    explicit operator bool() const { return _body != nullptr; }
    const detail::ImpBody* body() const { return _body; }
    MethodSignature* signature() const { return _body ? _body->signature.get() : nullptr; }

    // Calls the implementation with the invocation's arguments on the receiver.
    void invoke(Object* self, Invocation& invocation) const { _body->invoke(*_body, self, invocation); }

    // The implementation as a typed function, R(A...) without the receiver. Raises
    // NSInvalidArgumentException when the method's type is not exactly that.
    template <typename Signature>
    TypedImp<Signature> function() const;

    friend bool operator==(Imp a, Imp b) { return a._body == b._body; }

private:
    const detail::ImpBody* _body { nullptr };
};

namespace detail {
[[noreturn]] void raiseImpTypeMismatch(const std::type_info& requested, const std::type_info& actual);
}

template <typename R, typename... A>
class TypedImp<R(A...)> {
public:
    explicit TypedImp(const detail::ImpBody* body)
        : _body(body)
        , _call(reinterpret_cast<R (*)(const detail::ImpBody&, Object*, A...)>(body->direct))
    {
    }
    R operator()(Object* self, A... args) const { return _call(*_body, self, std::forward<A>(args)...); }

private:
    const detail::ImpBody* _body;
    R (*_call)(const detail::ImpBody&, Object*, A...);
};

template <typename Signature>
TypedImp<Signature> Imp::function() const
{
    if (!_body || *_body->type != typeid(Signature))
        detail::raiseImpTypeMismatch(typeid(Signature), _body ? *_body->type : typeid(void));
    return TypedImp<Signature>(_body);
}

} // namespace yk
