#include <Yarkit/core/values/AttributedString.h>

#include <Yarkit/core/runtime/Class.h>

namespace yk {

YK_DEFINE_CLASS(AttributedString);

AttributedString::AttributedString(Ref<String> string, Ref<Dictionary> attributes)
    : _string(string ? std::move(string) : make<String>())
    , _attributes(std::move(attributes))
{
}

bool AttributedString::isEqual(const Object* other) const
{
    auto* text = dynamic_cast<const AttributedString*>(other);
    if (!text || !text->_string->isEqualToString(_string.get()))
        return false;
    if (!_attributes || !text->_attributes)
        return _attributes.get() == text->_attributes.get();
    return _attributes->isEqual(text->_attributes.get());
}

} // namespace yk
