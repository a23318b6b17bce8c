#pragma once

#include <Yarkit/core/values/String.h>

namespace yk {

// A string that can be edited in place. Not safe to edit while another thread reads it. Its
// hash changes with its text: dictionaries and sets store an immutable copy of a mutable key.
class MutableString : public String {
    YK_OBJECT(MutableString, String)
public:
    MutableString() = default;
    explicit MutableString(std::u16string units)
        : String(std::move(units))
    {
    }

    // +stringWithCapacity: (the capacity is a hint).
    [[nodiscard]] static Ref<MutableString> stringWithCapacity(uint32_t capacity);
    [[nodiscard]] static Ref<MutableString> stringWithString(const String* string);

    // Each raises NSInvalidArgumentException for a null string and NSRangeException for an
    // index or range outside the text.
    void appendString(const String* string);
    void appendUTF8(std::string_view utf8);
    // -appendFormat: through yk::format.
    void appendFormat(const char* format, ...);
    void insertString(const String* string, uint32_t index);
    void deleteCharactersInRange(Range range);
    void replaceCharactersInRange(Range range, const String* string);
    void setString(const String* string);
};

} // namespace yk
