#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>

namespace yk {

// An immutable boxed Range or pointer (the pointer is not retained, only remembered). Values
// are equal when they box the same kind and the same contents.
class Value : public Object {
    YK_OBJECT(Value, Object)
public:
    Value() = default;

    [[nodiscard]] static Ref<Value> valueWithRange(Range range);
    [[nodiscard]] static Ref<Value> valueWithPointer(const void* pointer);

    bool isRange() const { return _isRange; }
    // {0, 0} for a pointer value.
    Range rangeValue() const { return _isRange ? _range : Range {}; }
    // Null for a range value.
    void* pointerValue() const { return _isRange ? nullptr : const_cast<void*>(_pointer); }

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "NSRange: {location, length}" or the pointer in hexadecimal.
    Ref<String> description() const override;

private:
    bool _isRange { false };
    Range _range {};
    const void* _pointer { nullptr };
};

} // namespace yk
