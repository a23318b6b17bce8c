#include <Yarkit/YKByteFormatter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include <cmath>

namespace yk {

YK_DEFINE_CLASS(YKByteFormatter);

namespace {

struct SizeRow {
    uint64_t last; // the largest count of the row
    const char* key;
    double unit; // 0: the key is the text
};

constexpr double KB = 1024.0;
constexpr double MB = 1048576.0;
constexpr double GB = 1073741824.0;
constexpr double TB = 1099511627776.0;
constexpr double PB = 1125899906842620.0; // deliberately four less than 2^50

// The first row whose last count is not below the count applies.
constexpr SizeRow sizeRows[] = {
    { 0, YK_LOCALIZABLE("Formatter", "0 bytes"), 0 },
    { 1, YK_LOCALIZABLE("Formatter", "1 byte"), 0 },
    { 99, YK_LOCALIZABLE("Formatter", "%.0f bytes"), 1 },
    { 102399, YK_LOCALIZABLE("Formatter", "%.1f KB"), KB },
    { 1048575, YK_LOCALIZABLE("Formatter", "%.0f KB"), KB },
    { 104857599, YK_LOCALIZABLE("Formatter", "%.1f MB"), MB },
    { 1073741823, YK_LOCALIZABLE("Formatter", "%.0f MB"), MB },
    { 107374182399, YK_LOCALIZABLE("Formatter", "%.1f GB"), GB },
    { 1099511627775, YK_LOCALIZABLE("Formatter", "%.0f GB"), GB },
    { 109951162777599, YK_LOCALIZABLE("Formatter", "%.1f TB"), TB },
    { 1125899906842619, YK_LOCALIZABLE("Formatter", "%.0f TB"), TB },
    { 112589990684261999, YK_LOCALIZABLE("Formatter", "%.1f PB"), PB },
    { UINT64_MAX, YK_LOCALIZABLE("Formatter", "%.0f PB"), PB },
};

const SizeRow& rowForCount(uint64_t count)
{
    for (const auto& row : sizeRows) {
        if (count <= row.last)
            return row;
    }
    return sizeRows[std::size(sizeRows) - 1];
}

} // namespace

Ref<String> YKByteFormatter::stringForBytes(uint64_t count)
{
    static Bundle* const framework = Bundle::bundleForClass(staticClass()).get();
    static const Ref<String> empty = make<String>();
    static const Ref<String> table = String::withUTF8("Formatter");
    const SizeRow& row = rowForCount(count);
    auto text = framework->localizedStringForKey(String::withUTF8(row.key).get(), empty.get(), table.get());
    if (row.unit == 0)
        return text;
    // The translated text is a format of its own; the "%.1f" or "%.0f" in it does the rounding.
    return format(text->utf8().c_str(), static_cast<double>(count) / row.unit);
}

Ref<String> YKByteFormatter::stringForObjectValue(const Object* value) const
{
    if (auto* number = dynamic_cast<const Number*>(value))
        return stringForBytes(number->unsignedLongLongValue());
    if (auto* string = dynamic_cast<const String*>(value))
        return stringForBytes(static_cast<uint64_t>(string->longLongValue()));
    return nullptr;
}

Ref<String> YKByteFormatter::editingStringForObjectValue(const Object* value) const
{
    if (auto* number = dynamic_cast<const Number*>(value))
        return number->stringValue();
    if (auto* string = dynamic_cast<const String*>(value))
        return Ref<String>(const_cast<String*>(string));
    return nullptr;
}

bool YKByteFormatter::getObjectValue(Ref<Object>* value, const String* string, Ref<String>*) const
{
    const double number = string ? string->doubleValue() : 0.0;
    if (value)
        *value = Number::numberWithDouble(std::fabs(std::round(number)));
    return true;
}

} // namespace yk
