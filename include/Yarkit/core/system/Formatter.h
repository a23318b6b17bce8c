#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/String.h>

namespace yk {

class AttributedString;
class Dictionary;

// The abstract formatter: turns objects into text for display and editing, and text back into
// objects. Subclasses override stringForObjectValue and getObjectValue; the other methods have
// defaults built on them.
class Formatter : public Object {
    YK_OBJECT(Formatter, Object)
public:
    // The display text of value, or null when value cannot be shown.
    virtual Ref<String> stringForObjectValue(const Object* value) const = 0;
    // attributedStringForObjectValue:withDefaultAttributes: stringForObjectValue with the
    // attributes; null where it is null.
    virtual Ref<AttributedString> attributedStringForObjectValue(const Object* value, const Dictionary* attributes) const;
    // The text to edit: stringForObjectValue by default.
    virtual Ref<String> editingStringForObjectValue(const Object* value) const;
    // getObjectValue:forString:errorDescription: stores the object that string reads as in
    // *value and answers whether it could; on failure an error text may go to *error. Either
    // pointer may be null.
    virtual bool getObjectValue(Ref<Object>* value, const String* string, Ref<String>* error) const = 0;

protected:
    Formatter() = default;
};

} // namespace yk
