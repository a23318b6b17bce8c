#pragma once

#include <Yarkit/core/runtime/Slot.h>

#include <cstring>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace yk {

namespace detail {

struct ImpBody;

// Calls the function with the method's own arguments, read from slots, and stores its result;
// an object result is also kept in returnedObject, so that it outlives the call.
using SlotInvoker = void (*)(const ImpBody&, Object* self, const Slot* arguments, Slot& result, Ref<Object>& returnedObject);

// The implementation of a method, created once when the method is registered and never freed.
struct ImpBody {
    Ref<MethodSignature> signature;
    const std::type_info* type; // the method's C++ type R(Args...), without the receiver
    SlotInvoker invoke;
    void (*direct)(); // R (*)(const ImpBody&, Object*, Args...), cast back by TypedImp
    alignas(std::max_align_t) unsigned char function[2 * sizeof(void*)];
};

template <typename F>
struct MethodTraits;

template <typename R, typename T, typename... A>
struct MethodTraits<R (T::*)(A...)> {
    static constexpr uint32_t arity = sizeof...(A);
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
    static constexpr uint32_t arity = sizeof...(A);
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

template <typename F, typename R, typename... A, size_t... I>
void invokeFromSlots(const ImpBody& body, Object* self, const Slot* arguments, Slot& result, Ref<Object>& returnedObject, std::index_sequence<I...>)
{
    if constexpr (std::is_void_v<R>) {
        callDirect<F, R, A...>(body, self, SlotTraits<Plain<A>>::get(arguments[I])...);
    } else {
        R value = callDirect<F, R, A...>(body, self, SlotTraits<Plain<A>>::get(arguments[I])...);
        SlotTraits<Plain<R>>::put(result, value);
        if constexpr (SlotTraits<Plain<R>>::kind == ValueKind::Object)
            returnedObject = result.object;
    }
}

template <typename F, typename Function>
struct ImpMaker;

template <typename F, typename R, typename... A>
struct ImpMaker<F, R(A...)> {
    static void invoke(const ImpBody& body, Object* self, const Slot* arguments, Slot& result, Ref<Object>& returnedObject)
    {
        invokeFromSlots<F, R, A...>(body, self, arguments, result, returnedObject, std::index_sequence_for<A...>());
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

// The number of arguments (without the receiver) of something that can implement a method, or
// of a signature R(A...); 0 for anything else, so that overloads that do not apply drop out.
template <typename F, typename = void>
struct ArityOf {
    static constexpr uint32_t value = 0;
};
template <typename F>
struct ArityOf<F, std::void_t<decltype(MethodTraits<F>::arity)>> {
    static constexpr uint32_t value = MethodTraits<F>::arity;
};
template <typename F>
struct ArityOf<F, std::enable_if_t<std::is_class_v<F>, std::void_t<decltype(+std::declval<F>())>>> : ArityOf<decltype(+std::declval<F>())> {
};
template <typename R, typename... A>
struct ArityOf<R(A...)> {
    static constexpr uint32_t value = sizeof...(A);
};
template <typename R, typename... A>
struct ArityOf<R(A...) const> : ArityOf<R(A...)> {
};

// R(A...) const, the type of a const member function without its class.
template <typename Signature>
struct AddConst;
template <typename R, typename... A>
struct AddConst<R(A...)> {
    using Type = R(A...) const;
};
template <typename Signature>
using ConstSignature = typename AddConst<Signature>::Type;

} // namespace detail

template <typename Signature>
class TypedImp;

} // namespace yk

// An implementation as a plain pointer, for functions with C linkage; yk::Imp wraps it.
typedef const yk::detail::ImpBody* IMP;

namespace yk {

// The implementation of a method: what methodForSelector returns. It is called through
// argument slots (by an Invocation, or by send when the caller's types are not exactly the
// method's) or, on hot paths, as a typed function checked once (function<>, tryFunction<>).
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

    // The implementation as a typed function, R(A...) without the receiver, when the method's
    // C++ type is exactly that; an empty TypedImp otherwise.
    template <typename Signature>
    TypedImp<Signature> tryFunction() const;
    // The same, but raises NSInvalidArgumentException when the type is not exactly Signature.
    template <typename Signature>
    TypedImp<Signature> function() const;

    friend bool operator==(Imp a, Imp b) { return a._body == b._body; }

private:
    const detail::ImpBody* _body { nullptr };
};

namespace detail {
[[noreturn]] void raiseImpTypeMismatch(const std::type_info& requested, const std::type_info& actual);
}

// A method's implementation as a typed function; the receiver is passed first. Made by
// Imp::tryFunction or Imp::function, which check the type; empty when the check failed.
template <typename R, typename... A>
class TypedImp<R(A...)> {
public:
    TypedImp() = default;

    explicit operator bool() const { return _body != nullptr; }
    R operator()(Object* self, A... args) const { return _call(*_body, self, std::forward<A>(args)...); }

private:
    friend class Imp;
    explicit TypedImp(const detail::ImpBody* body)
        : _body(body)
        , _call(reinterpret_cast<R (*)(const detail::ImpBody&, Object*, A...)>(body->direct))
    {
    }

    const detail::ImpBody* _body { nullptr };
    R (*_call)(const detail::ImpBody&, Object*, A...) { nullptr };
};

template <typename Signature>
TypedImp<Signature> Imp::tryFunction() const
{
    if (!_body || *_body->type != typeid(Signature))
        return {};
    return TypedImp<Signature>(_body);
}

template <typename Signature>
TypedImp<Signature> Imp::function() const
{
    auto typed = tryFunction<Signature>();
    if (!typed)
        detail::raiseImpTypeMismatch(typeid(Signature), _body ? *_body->type : typeid(void));
    return typed;
}

} // namespace yk
