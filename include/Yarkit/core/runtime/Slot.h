#pragma once

// How C++ values travel through the argument and return slots of a dynamic call: the kind of
// each C++ type, and the conversions a message accepts when the caller's type is not the
// method's (an int for a uint32_t, a Ref<String> for a String*). Used by Invocation and send.

#include <Yarkit/core/runtime/MethodSignature.h>
#include <Yarkit/core/runtime/Range.h>

#include <cstddef>
#include <type_traits>
#include <typeinfo>

namespace yk::detail {

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

[[noreturn]] void raiseArgumentClassMismatch(const Object* object, const std::type_info& expected);

template <typename T>
T* castObjectArgument(Object* object)
{
    if constexpr (std::is_same_v<std::remove_const_t<T>, Object>) {
        return object;
    } else {
        if (!object)
            return nullptr;
        using Plain = std::remove_const_t<T>;
        if constexpr (requires { requires std::is_same_v<typename Plain::RuntimeClassType, Plain>; }) {
            // T declares its runtime class, and YK_OBJECT makes the runtime's hierarchy the
            // C++ one, so the runtime's kind test (a walk up the superclasses) proves the cast.
            if (object->isKindOfClass(Plain::staticClass()))
                return static_cast<T*>(object);
        } else {
            // An object of exactly the class asked for is the common case, and cheaper to prove.
            if (typeid(*object) == typeid(T))
                return static_cast<T*>(object);
            if (auto* cast = dynamic_cast<T*>(object))
                return cast;
        }
        raiseArgumentClassMismatch(object, typeid(T));
    }
}

template <typename T>
constexpr bool isObjectType = std::is_base_of_v<Object, std::remove_const_t<T>>;

// How a method's parameter or return type is read from and written to a slot. Only the types
// listed here can be registered.
template <typename T, typename = void>
struct SlotTraits;

template <typename T>
struct SlotTraits<T*, std::enable_if_t<isObjectType<T>>> {
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
struct SlotTraits<std::nullptr_t> {
    static constexpr ValueKind kind = ValueKind::Object;
    static void put(Slot& slot, std::nullptr_t) { slot.object = nullptr; }
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
struct SlotTraits<T*, std::enable_if_t<!isObjectType<T>>> {
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

template <typename T>
constexpr bool isRef = false;
template <typename T>
constexpr bool isRef<Ref<T>> = true;

template <typename R>
constexpr ValueKind returnKindOf()
{
    if constexpr (std::is_void_v<R>)
        return ValueKind::Void;
    else
        return SlotTraits<Plain<R>>::kind;
}

using KindSet = uint16_t;

constexpr KindSet kindBit(ValueKind kind)
{
    return static_cast<KindSet>(1u << static_cast<unsigned>(kind));
}

// The slot kinds an argument of type T may fill: its own kind, and wider ones where C++ converts
// without narrowing. Integers of 4 bytes or fewer fill Int32 whatever their sign, as a slot
// carries the bits; nullptr fills an object or a pointer slot.
template <typename T>
constexpr KindSet acceptedKinds()
{
    if constexpr (std::is_same_v<T, std::nullptr_t>)
        return kindBit(ValueKind::Object) | kindBit(ValueKind::Pointer);
    else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>)
        return sizeof(T) <= 4 ? kindBit(ValueKind::Int32) | kindBit(ValueKind::Int64) : kindBit(ValueKind::Int64);
    else if constexpr (std::is_same_v<T, float>)
        return kindBit(ValueKind::Float) | kindBit(ValueKind::Double);
    else
        return kindBit(SlotTraits<T>::kind);
}

// Writes an argument of type T into a slot of the given kind, one of acceptedKinds<T>().
template <typename T>
void putArgument(Slot& slot, ValueKind kind, const T& value)
{
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        if (kind == ValueKind::Int32)
            slot.int32 = static_cast<int32_t>(value);
        else
            slot.int64 = static_cast<int64_t>(value);
    } else if constexpr (std::is_same_v<T, float>) {
        if (kind == ValueKind::Float)
            slot.float32 = value;
        else
            slot.float64 = value;
    } else {
        SlotTraits<T>::put(slot, value);
    }
}

// The natural kind of an argument's type, for messages.
template <typename T>
constexpr ValueKind argumentKindOf()
{
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) < 4)
        return ValueKind::Int32;
    else
        return SlotTraits<T>::kind;
}

} // namespace yk::detail
