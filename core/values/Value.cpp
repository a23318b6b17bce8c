#include <Yarkit/core/values/Value.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/String.h>

#include <functional>

namespace yk {

YK_DEFINE_CLASS(Value);

Ref<Value> Value::valueWithRange(Range range)
{
    auto value = make<Value>();
    value->_isRange = true;
    value->_range = range;
    return value;
}

Ref<Value> Value::valueWithPointer(const void* pointer)
{
    auto value = make<Value>();
    value->_pointer = pointer;
    return value;
}

bool Value::isEqual(const Object* other) const
{
    const auto* value = dynamic_cast<const Value*>(other);
    if (!value || value->_isRange != _isRange)
        return false;
    return _isRange ? value->_range == _range : value->_pointer == _pointer;
}

size_t Value::hash() const
{
    if (_isRange)
        return std::hash<uint64_t>()((uint64_t(_range.location) << 32) | _range.length);
    return std::hash<const void*>()(_pointer);
}

Ref<String> Value::description() const
{
    if (_isRange)
        return format("NSRange: {%u, %u}", _range.location, _range.length);
    return format("%p", _pointer);
}

} // namespace yk
