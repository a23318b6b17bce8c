#pragma once

// yk::send: the one typed way to send a message by selector.

#include <Yarkit/core/runtime/Class.h>

#include <atomic>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace yk {

// The selector of a send. A string literal (or another constant array of static storage) is
// used as it is, its address standing for its text, so that a call site does not intern it on
// every call; anything else is interned as a Selector.
class SendSelector {
public:
    template <size_t N>
    consteval SendSelector(const char (&literal)[N])
        : _key(literal)
        , _interned(false)
    {
    }
    template <size_t N>
    SendSelector(char (&)[N]) = delete; // its text may change while its address stays
    SendSelector(Selector selector)
        : _key(selector.isNull() ? nullptr : selector.name())
        , _interned(true)
    {
    }
    template <typename P>
        requires std::same_as<P, const char*> || std::same_as<P, char*>
    SendSelector(P name)
        : SendSelector(Selector(name))
    {
    }
    SendSelector(std::string_view name)
        : SendSelector(Selector(name))
    {
    }
    SendSelector(const std::string& name)
        : SendSelector(Selector(name))
    {
    }

    // Stands for the selector's text as long as the process runs: two keys with the same
    // address have the same text.
    const char* key() const { return _key; }
    Selector selector() const { return _interned ? Selector::fromInternedName(_key) : Selector(_key); }

private:
    const char* _key;
    bool _interned;
};

namespace detail {

// What a send learnt about one class and selector: the method found and whether its C++ type is
// exactly the caller's (then it is called directly, otherwise through argument slots). Bindings
// are immutable and live for the whole process.
struct SendBinding {
    const Class* cls;
    const char* selector; // SendSelector::key()
    uint64_t generation; // of the method tables, when the method was looked up
    const Method* method;
    const ImpBody* body; // the method's implementation when it was looked up
    bool typed;
};

// The argument and return types of a send, as the checks and messages need them.
struct SendShape {
    const std::type_info& type; // R(P...)
    const KindSet* accepted; // per argument: the slot kinds it converts to
    const ValueKind* given; // per argument: its own kind
    uint32_t count;
    KindSet returnAccepted;
    ValueKind returnGiven;
};

// Looks the method up and checks it against the shape. Raises NSInvalidArgumentException when
// the target does not respond to the selector ("unrecognized selector sent to instance"), when
// the counts of arguments differ, or when an argument or the result does not convert.
const SendBinding* bindSend(Object* target, SendSelector selector, const SendShape& shape);

// An object argument given as a Ref is passed as a plain pointer: methods take T*.
template <typename T>
struct SendArgument {
    using Passed = T;
    static const T& pass(const T& value) { return value; }
};
template <typename T>
struct SendArgument<Ref<T>> {
    using Passed = T*;
    static T* pass(const Ref<T>& value) { return value.get(); }
};

template <typename R>
struct SendReturn {
    static constexpr KindSet accepted = kindBit(SlotTraits<R>::kind);
    static constexpr ValueKind kind = SlotTraits<R>::kind;
    static R take(const Slot& result, Ref<Object>&&) { return SlotTraits<R>::get(result); }
};
template <>
struct SendReturn<void> {
    static constexpr KindSet accepted = static_cast<KindSet>(~0u); // a result is dropped
    static constexpr ValueKind kind = ValueKind::Void;
    static void take(const Slot&, Ref<Object>&&) { }
};
template <typename T>
struct SendReturn<Ref<T>> {
    static constexpr KindSet accepted = kindBit(ValueKind::Object);
    static constexpr ValueKind kind = ValueKind::Object;
    static Ref<T> take(const Slot&, Ref<Object>&& returned) { return Ref<T>(castObjectArgument<T>(returned.get())); }
};

// One instantiation per return and argument types. Its cache remembers the last bindings for a
// few classes and selectors (by the address of their text), so a call site that sends one message
// to one class, or to a few classes in turn (a port's delegates), looks the method up once; the
// method tables' generation and the method's current implementation tell when the binding is
// stale.
template <typename R, typename... A>
struct SendSite {
    using Typed = R(typename SendArgument<A>::Passed...);
    static constexpr uint32_t cacheBits = 3;
    static inline std::atomic<const SendBinding*> cache[1u << cacheBits] {};

    // Fibonacci hashing of the class and the selector together: entries of one selector sent to
    // several classes, or of several selectors sent to one class, spread over the cache.
    static uint32_t slotOf(const Class* cls, const char* key)
    {
        const uint64_t mixed = reinterpret_cast<uintptr_t>(cls) ^ (reinterpret_cast<uintptr_t>(key) * 31);
        return static_cast<uint32_t>((mixed * 0x9E3779B97F4A7C15ull) >> (64 - cacheBits));
    }

    static const SendBinding* binding(Object* target, SendSelector selector)
    {
        const Class* cls = target->classObject();
        auto& entry = cache[slotOf(cls, selector.key())];
        const SendBinding* found = entry.load(std::memory_order_acquire);
        if (found && found->cls == cls && found->selector == selector.key()
            && found->generation == Class::methodTablesGeneration() && found->method->implementation().body() == found->body)
            return found;
        static constexpr KindSet accepted[] = { acceptedKinds<A>()..., 0 };
        static constexpr ValueKind given[] = { argumentKindOf<A>()..., ValueKind::Void };
        const SendShape shape { typeid(Typed), accepted, given, sizeof...(A), SendReturn<R>::accepted, SendReturn<R>::kind };
        found = bindSend(target, selector, shape);
        entry.store(found, std::memory_order_release);
        return found;
    }

    static R callTyped(const ImpBody& body, Object* target, const A&... arguments)
    {
        using Function = R (*)(const ImpBody&, Object*, typename SendArgument<A>::Passed...);
        return reinterpret_cast<Function>(body.direct)(body, target, SendArgument<A>::pass(arguments)...);
    }

    static R callThroughSlots(const ImpBody& body, Object* target, const A&... arguments)
    {
        Slot slots[sizeof...(A) + 1];
        uint32_t index = 0;
        ((putArgument(slots[index], body.signature->argumentKindAtIndex(index + 2), arguments), ++index), ...);
        Slot result;
        Ref<Object> returned;
        body.invoke(body, target, slots, result, returned);
        return SendReturn<R>::take(result, std::move(returned));
    }
};

} // namespace detail

// Sends a message by selector and returns its result as an R:
//     bool go = yk::send<bool>(delegate, "download:shouldResume:afterBytes:", download, true, 512u);
// The method is looked up once per call site and class; when its C++ type is exactly
// R(arguments...) it is called directly, otherwise through argument slots as an Invocation
// would. Arguments match the method's by kind, not by spelling: Ref<String>, String* and const
// String* are one object kind (the object's class is checked against the parameter's), and
// numbers convert where C++ converts without narrowing (an int to an int64_t or a uint32_t, a
// float to a double; not a double to an int). R is void (any result is dropped), a value type,
// or Ref<T> for an object. The target is not retained; a null target does nothing and returns
// R(). Raises NSInvalidArgumentException when the target does not respond to the selector
// ("-[Class selector]: unrecognized selector sent to instance", as performSelector does), when
// the counts of arguments differ, or when an argument or the result does not convert; what the
// method raises passes through.
template <typename R = void, typename... Arguments>
R send(Object* target, SendSelector selector, Arguments&&... arguments)
{
    static_assert(!(std::is_pointer_v<R> && detail::isObjectType<std::remove_pointer_t<R>>),
        "send returns an object as Ref<T>, which keeps it alive");
    if (!target)
        return R();
    using Site = detail::SendSite<R, std::decay_t<Arguments>...>;
    const detail::SendBinding* binding = Site::binding(target, selector);
    if (binding->typed)
        return Site::callTyped(*binding->body, target, arguments...);
    return Site::callThroughSlots(*binding->body, target, arguments...);
}

template <typename R = void, typename T, typename... Arguments>
R send(const Ref<T>& target, SendSelector selector, Arguments&&... arguments)
{
    return send<R>(static_cast<Object*>(target.get()), selector, std::forward<Arguments>(arguments)...);
}

// Sends a message that takes no argument or one object, the object going along only when the
// selector has a colon; any result is dropped. For what is handed a selector and an optional
// object to call later: performs, timers, detached threads.
inline void sendWithOptionalObject(Object* target, Selector selector, Object* argument)
{
    if (selector.argumentCount() == 0)
        send(target, selector);
    else
        send(target, selector, argument);
}

} // namespace yk
