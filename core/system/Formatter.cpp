#include <Yarkit/core/system/Formatter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/AttributedString.h>

namespace yk {

YK_DEFINE_CLASS(Formatter);

Ref<AttributedString> Formatter::attributedStringForObjectValue(const Object* value, const Dictionary* attributes) const
{
    auto text = stringForObjectValue(value);
    if (!text)
        return nullptr;
    return make<AttributedString>(std::move(text), Ref<Dictionary>(const_cast<Dictionary*>(attributes)));
}

Ref<String> Formatter::editingStringForObjectValue(const Object* value) const
{
    return stringForObjectValue(value);
}

} // namespace yk
