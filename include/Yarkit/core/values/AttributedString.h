#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// Text with one set of attributes over its whole length: as much of the platform's attributed
// string as formatters need. Immutable.
class AttributedString final : public Object {
    YK_OBJECT(AttributedString, Object)
public:
    // initWithString:attributes: a null string is the empty string; null attributes are none.
    AttributedString(Ref<String> string, Ref<Dictionary> attributes);

    const Ref<String>& string() const { return _string; }
    // The attributes of every character; may be null.
    const Ref<Dictionary>& attributes() const { return _attributes; }
    uint32_t length() const { return _string->length(); }

    bool isEqual(const Object* other) const override;
    Ref<String> description() const override { return _string; }

private:
    const Ref<String> _string;
    const Ref<Dictionary> _attributes;
};

} // namespace yk
