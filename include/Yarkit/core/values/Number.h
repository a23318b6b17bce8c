#pragma once

#include <Yarkit/core/values/ComparisonResult.h>
#include <Yarkit/core/runtime/Object.h>

#include <cstdint>

namespace yk {

class String;

// An immutable boxed number that remembers the kind it was made from. Numbers compare by value
// across kinds (1, 1.0 and true are equal, and hash alike); integers and floating values
// compare exactly. The accessors convert as C converts; floating values out of an integer's
// range saturate. Safe to share between threads.
class Number : public Object {
    YK_OBJECT(Number, Object)
public:
    enum class Kind : uint8_t { Bool, Short, UnsignedShort, Int, UnsignedInt, LongLong, UnsignedLongLong, Float, Double };

    // The int 0.
    Number() = default;

    [[nodiscard]] static Ref<Number> numberWithBool(bool value);
    [[nodiscard]] static Ref<Number> numberWithShort(int16_t value);
    [[nodiscard]] static Ref<Number> numberWithUnsignedShort(uint16_t value);
    [[nodiscard]] static Ref<Number> numberWithInt(int32_t value);
    [[nodiscard]] static Ref<Number> numberWithUnsignedInt(uint32_t value);
    [[nodiscard]] static Ref<Number> numberWithLongLong(int64_t value);
    [[nodiscard]] static Ref<Number> numberWithUnsignedLongLong(uint64_t value);
    [[nodiscard]] static Ref<Number> numberWithInteger(int64_t value) { return numberWithLongLong(value); }
    [[nodiscard]] static Ref<Number> numberWithUnsignedLong(uint64_t value) { return numberWithUnsignedLongLong(value); }
    [[nodiscard]] static Ref<Number> numberWithFloat(float value);
    [[nodiscard]] static Ref<Number> numberWithDouble(double value);

    Kind kind() const { return _kind; }
    bool isFloatingPoint() const { return _kind == Kind::Float || _kind == Kind::Double; }

    // Non-zero.
    bool boolValue() const;
    int16_t shortValue() const;
    uint16_t unsignedShortValue() const;
    int32_t intValue() const;
    uint32_t unsignedIntValue() const;
    int64_t longLongValue() const;
    uint64_t unsignedLongLongValue() const;
    int64_t integerValue() const { return longLongValue(); }
    uint64_t unsignedLongValue() const { return unsignedLongLongValue(); }
    float floatValue() const;
    double doubleValue() const;
    // The description: integers in decimal, floating values in the shortest form that reads
    // back the same ("0.1", "1e+100"), booleans as "1" or "0".
    Ref<String> stringValue() const;

    // Null orders before any number: the result is OrderedDescending.
    ComparisonResult compare(const Number* other) const;
    bool isEqualToNumber(const Number* other) const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    Ref<String> description() const override;

private:
    template <typename T>
    T convertedTo() const;

    Kind _kind { Kind::Int };
    // Bool, Short, UnsignedShort, Int and LongLong use _signed; UnsignedInt and
    // UnsignedLongLong _unsigned; Float and Double _double (a float widens exactly).
    union {
        int64_t _signed { 0 };
        uint64_t _unsigned;
        double _double;
    };
};

} // namespace yk
