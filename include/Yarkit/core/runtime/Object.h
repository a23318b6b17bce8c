#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Ref.h>
#include <Yarkit/core/runtime/Selector.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace yk {

// Declares the runtime class of a type derived from yk::Object; put it first in the class body
// and YK_DEFINE_CLASS in the source file. The C++ hierarchy and the runtime's must agree, so a
// Type that is not the class being declared, or a Super that is not its base, does not compile.
#define YK_OBJECT(Type, Super)                                                                       \
public:                                                                                              \
    using SuperClass = Super;                                                                        \
    using RuntimeClassType = Type;                                                                   \
    static ::yk::Class* staticClass();                                                               \
    ::yk::Class* classObject() const override                                                        \
    {                                                                                                \
        static_assert(std::is_same_v<Type, std::remove_cvref_t<decltype(*this)>>,                     \
            "YK_OBJECT(" #Type ", " #Super "): " #Type " is not the class being declared");          \
        static_assert(std::is_base_of_v<Super, Type> && !std::is_same_v<Super, Type>,                 \
            "YK_OBJECT(" #Type ", " #Super "): " #Super " is not a base class of " #Type);           \
        return Type::staticClass();                                                                  \
    }                                                                                                \
                                                                                                     \
private:

// The root of every reference-counted object: an intrusive atomic count that starts at one
// (owned by the Ref that make() returns), identity, a description, and the runtime's view of
// the object (its class, whether it responds to a selector, sending it a message by name).
// Objects are created with yk::make<T>() and destroyed when the last reference is released.
class Object {
public:
    using SuperClass = void;

    Object& operator=(const Object&) = delete;

    // Reference counting. Subclasses with counters of their own override all three.
    virtual void retain() const noexcept;
    virtual void release() const noexcept;
    virtual uint32_t retainCount() const noexcept;

    static Class* staticClass();
    virtual Class* classObject() const;
    virtual bool isClass() const { return false; }

    bool isKindOfClass(const Class* cls) const;
    bool isMemberOfClass(const Class* cls) const;

    // Identity by default; value classes compare their contents.
    virtual bool isEqual(const Object* other) const;
    virtual size_t hash() const;
    // "<ClassName: 0x...>" by default.
    virtual Ref<String> description() const;

    // The runtime's method tables: methods registered for this object's class (or, when the
    // object is a class, its class-side methods), including inherited ones and categories.
    bool respondsToSelector(Selector selector) const;
    Imp methodForSelector(Selector selector) const;
    Ref<MethodSignature> methodSignatureForSelector(Selector selector) const;

    // Sends a message with zero, one or two object arguments, through yk::send. Arguments the
    // method does not take are dropped; those it takes but were not given are null. The result
    // is the returned object, or null for methods that return something else. Raises
    // NSInvalidArgumentException when the object does not respond to the selector.
    Ref<Object> performSelector(Selector selector);
    Ref<Object> performSelector(Selector selector, Object* argument);
    Ref<Object> performSelector(Selector selector, Object* argument1, Object* argument2);

protected:
    Object() = default;
    // A copy is a new object: its count starts at one, whatever the original's. Only value
    // types that must be copied by the language (yk::Exception, thrown by value) use it.
    Object(const Object&) noexcept { }
    virtual ~Object();

private:
    mutable std::atomic<uint32_t> _retainCount { 1 };
};

} // namespace yk
