#include <Yarkit/core/values/Number.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace yk {

YK_DEFINE_CLASS(Number);

namespace {

bool isUnsignedKind(Number::Kind kind)
{
    return kind == Number::Kind::UnsignedInt || kind == Number::Kind::UnsignedLongLong;
}

// A floating value converted to an integer type: saturating at the type's limits, NaN as 0;
// negative values convert to unsigned types through int64, as C code on the platform does.
template <typename T>
T saturated(double value)
{
    using Limits = std::numeric_limits<T>;
    if (std::isnan(value))
        return 0;
    if constexpr (std::is_unsigned_v<T>) {
        if (value < 0)
            return static_cast<T>(saturated<int64_t>(value));
        if (value >= std::ldexp(1.0, Limits::digits))
            return Limits::max();
        return static_cast<T>(value);
    } else {
        if (value < static_cast<double>(Limits::min()))
            return Limits::min();
        if (value >= std::ldexp(1.0, Limits::digits))
            return Limits::max();
        return static_cast<T>(value);
    }
}

} // namespace

template <typename T>
T Number::convertedTo() const
{
    if (isFloatingPoint()) {
        if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(_double);
        else
            return saturated<T>(_double);
    }
    if (isUnsignedKind(_kind))
        return static_cast<T>(_unsigned);
    return static_cast<T>(_signed);
}

#define YK_NUMBER_FACTORY(name, Type, kindName, field)   \
    Ref<Number> Number::name(Type value)                 \
    {                                                    \
        auto number = make<Number>();                    \
        number->_kind = Kind::kindName;                  \
        number->field = value;                           \
        return number;                                   \
    }

YK_NUMBER_FACTORY(numberWithBool, bool, Bool, _signed)
YK_NUMBER_FACTORY(numberWithShort, int16_t, Short, _signed)
YK_NUMBER_FACTORY(numberWithUnsignedShort, uint16_t, UnsignedShort, _signed)
YK_NUMBER_FACTORY(numberWithInt, int32_t, Int, _signed)
YK_NUMBER_FACTORY(numberWithUnsignedInt, uint32_t, UnsignedInt, _unsigned)
YK_NUMBER_FACTORY(numberWithLongLong, int64_t, LongLong, _signed)
YK_NUMBER_FACTORY(numberWithUnsignedLongLong, uint64_t, UnsignedLongLong, _unsigned)
YK_NUMBER_FACTORY(numberWithFloat, float, Float, _double)
YK_NUMBER_FACTORY(numberWithDouble, double, Double, _double)

#undef YK_NUMBER_FACTORY

bool Number::boolValue() const
{
    if (isFloatingPoint())
        return _double != 0;
    return isUnsignedKind(_kind) ? _unsigned != 0 : _signed != 0;
}

int16_t Number::shortValue() const
{
    return convertedTo<int16_t>();
}

uint16_t Number::unsignedShortValue() const
{
    return convertedTo<uint16_t>();
}

int32_t Number::intValue() const
{
    return convertedTo<int32_t>();
}

uint32_t Number::unsignedIntValue() const
{
    return convertedTo<uint32_t>();
}

int64_t Number::longLongValue() const
{
    return convertedTo<int64_t>();
}

uint64_t Number::unsignedLongLongValue() const
{
    return convertedTo<uint64_t>();
}

float Number::floatValue() const
{
    return convertedTo<float>();
}

double Number::doubleValue() const
{
    return convertedTo<double>();
}

Ref<String> Number::stringValue() const
{
    char text[64];
    std::to_chars_result result;
    if (_kind == Kind::Float)
        result = std::to_chars(text, text + sizeof(text), static_cast<float>(_double));
    else if (_kind == Kind::Double)
        result = std::to_chars(text, text + sizeof(text), _double);
    else if (isUnsignedKind(_kind))
        result = std::to_chars(text, text + sizeof(text), _unsigned);
    else
        result = std::to_chars(text, text + sizeof(text), _signed);
    return String::withUTF8(std::string_view(text, static_cast<size_t>(result.ptr - text)));
}

ComparisonResult Number::compare(const Number* other) const
{
    if (!other)
        return OrderedDescending;
    if (!isFloatingPoint() && !other->isFloatingPoint()) {
        // std::cmp_less compares signed and unsigned integers by value.
        auto order = [](auto a, auto b) {
            return std::cmp_less(a, b) ? OrderedAscending : std::cmp_less(b, a) ? OrderedDescending : OrderedSame;
        };
        bool unsignedA = isUnsignedKind(_kind);
        bool unsignedB = isUnsignedKind(other->_kind);
        if (unsignedA)
            return unsignedB ? order(_unsigned, other->_unsigned) : order(_unsigned, other->_signed);
        return unsignedB ? order(_signed, other->_unsigned) : order(_signed, other->_signed);
    }
    // long double holds every 64-bit integer and every double exactly. NaN orders before
    // everything and equals itself, so that equality stays reflexive.
    auto exact = [](const Number* n) -> long double {
        if (n->isFloatingPoint())
            return n->_double;
        return isUnsignedKind(n->_kind) ? static_cast<long double>(n->_unsigned) : static_cast<long double>(n->_signed);
    };
    long double a = exact(this);
    long double b = exact(other);
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b) ? OrderedSame : std::isnan(a) ? OrderedAscending : OrderedDescending;
    return a < b ? OrderedAscending : a > b ? OrderedDescending : OrderedSame;
}

bool Number::isEqualToNumber(const Number* other) const
{
    return other && compare(other) == OrderedSame;
}

bool Number::isEqual(const Object* other) const
{
    return other == this || isEqualToNumber(dynamic_cast<const Number*>(other));
}

size_t Number::hash() const
{
    // Equal numbers hash alike across kinds: an integral value hashes as its 64-bit pattern
    // whatever the kind that holds it.
    if (!isFloatingPoint())
        return std::hash<uint64_t>()(isUnsignedKind(_kind) ? _unsigned : static_cast<uint64_t>(_signed));
    if (std::isnan(_double))
        return 0;
    if (std::trunc(_double) == _double && _double >= -0x1p63 && _double < 0x1p64) {
        uint64_t bits = _double < 0x1p63 ? static_cast<uint64_t>(static_cast<int64_t>(_double)) : static_cast<uint64_t>(_double);
        return std::hash<uint64_t>()(bits);
    }
    return std::hash<double>()(_double);
}

Ref<String> Number::description() const
{
    return stringValue();
}

} // namespace yk
