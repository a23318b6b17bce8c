#pragma once

#include <Yarkit/core/system/Formatter.h>

#include <cstdint>

namespace yk {

// A formatter of byte counts as short sizes in binary units: "0 bytes", "1 byte", "99 bytes",
// "0.1 KB", "100 KB", "1.0 MB" ... "16384 PB"; one decimal below 100 units, none from 100. The
// texts come from the framework's "Formatter" table, so they follow the process's language.
// Stateless; any thread.
class YKByteFormatter : public Formatter {
    YK_OBJECT(YKByteFormatter, Formatter)
public:
    YKByteFormatter() = default;

    // +stringForBytes: the petabyte is 1125899906842620 bytes (four less than 2^50) and its
    // thresholds follow from it.
    [[nodiscard]] static Ref<String> stringForBytes(uint64_t count);

    // stringForBytes of a Number's unsignedLongLongValue (a String's longLongValue); null for
    // null or any other object.
    Ref<String> stringForObjectValue(const Object* value) const override;
    // The plain number, without a unit: a Number's stringValue, a String itself; null otherwise.
    Ref<String> editingStringForObjectValue(const Object* value) const override;
    // getObjectValue:forString:errorDescription: a Number (double) holding the absolute value of
    // the text's leading decimal number rounded to the nearest integer (0 when there is none).
    // Always true; never sets *error.
    bool getObjectValue(Ref<Object>* value, const String* string, Ref<String>* error) const override;
};

} // namespace yk
