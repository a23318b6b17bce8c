#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace yk {

// The kinds of value a method can take or return.
enum class ValueKind : uint8_t {
    Void,
    Object,
    Bool,
    Int32,
    Int64,
    Float,
    Double,
    Selector,
    Pointer,
    Range,
};

// The size in bytes of a value of the kind, as getReturnValue copies it (0 for Void).
uint32_t sizeOfValueKind(ValueKind kind);

// The argument and return kinds of a method. Arguments 0 and 1 are the receiver (an object) and
// the selector; the method's own arguments start at index 2.
class MethodSignature final : public Object {
    YK_OBJECT(MethodSignature, Object)
public:
    // Takes the method's own argument kinds (without receiver and selector).
    MethodSignature(ValueKind returnKind, std::vector<ValueKind> methodArguments);

    uint32_t numberOfArguments() const { return static_cast<uint32_t>(_arguments.size()); }
    // Raises NSInvalidArgumentException for an index past the end.
    ValueKind argumentKindAtIndex(uint32_t index) const
    {
        if (index >= _arguments.size())
            raiseIndexOutOfBounds(index);
        return _arguments[index];
    }
    ValueKind methodReturnKind() const { return _returnKind; }
    uint32_t methodReturnLength() const { return sizeOfValueKind(_returnKind); }

    bool isEqual(const Object* other) const override;
    size_t hash() const override;

private:
    [[noreturn]] void raiseIndexOutOfBounds(uint32_t index) const;

    ValueKind _returnKind;
    std::vector<ValueKind> _arguments;
};

} // namespace yk
