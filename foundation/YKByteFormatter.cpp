#include <Yarkit/YKByteFormatter.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/system/Bundle.h>
#include <Yarkit/core/threads/SpinLock.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

#include <array>
#include <bit>
#include <charconv>
#include <cfenv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include <langinfo.h>

#include "foundation/YKByteFormatterDetail.h"

// glibc counts catalogue loads and text-domain changes here (gettext's own cache key).
extern "C" int _nl_msg_cat_cntr;

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

constexpr size_t RowCount = std::size(sizeRows);

size_t rowForCount(uint64_t count)
{
    size_t row = 0;
    while (row + 1 < RowCount && count > sizeRows[row].last)
        ++row;
    return row;
}

Ref<String> localizedKey(size_t row)
{
    static Bundle* const framework = Bundle::bundleForClass(YKByteFormatter::staticClass()).get();
    static const Ref<String> empty = make<String>();
    static const Ref<String> table = String::withUTF8("Formatter");
    return framework->localizedStringForKey(String::withUTF8(sizeRows[row].key).get(), empty.get(), table.get());
}

// What gettext's answer depends on: the messages locale, LANGUAGE (ignored in the "C" locale)
// and the catalogues loaded.
struct LanguageKey {
    std::string messagesLocale;
    std::string language;
    int catalogues;

    static LanguageKey current()
    {
        const char* language = std::getenv("LANGUAGE");
        return { nl_langinfo(NL_LOCALE_NAME(LC_MESSAGES)), language ? language : "", _nl_msg_cat_cntr };
    }
    bool operator==(const LanguageKey&) const = default;
};

// A translated size format split around its one number, when it is exactly "%.0f" or "%.1f"
// and the text has no other conversion; decimals < 0 otherwise.
struct SizePattern {
    std::u16string prefix;
    std::u16string suffix;
    int decimals { -1 };

    explicit SizePattern(const String& format)
    {
        const std::u16string& units = format.units();
        const size_t percent = units.find(u'%');
        if (percent == std::u16string::npos || units.find(u'%', percent + 1) != std::u16string::npos)
            return;
        const std::u16string_view conversion = std::u16string_view(units).substr(percent, 4);
        if (conversion != u"%.0f" && conversion != u"%.1f")
            return;
        prefix = units.substr(0, percent);
        suffix = units.substr(percent + 4);
        decimals = conversion[2] - u'0';
    }
};

// The "Formatter" table's texts for one language, looked up once.
struct LocalizedSizes {
    LanguageKey language;
    std::array<Ref<String>, RowCount> texts;
    std::vector<SizePattern> patterns;

    explicit LocalizedSizes(LanguageKey key)
        : language(std::move(key))
    {
        for (size_t row = 0; row < RowCount; ++row) {
            texts[row] = localizedKey(row);
            patterns.emplace_back(*texts[row]);
        }
    }
};

// The texts of the language last asked for.
struct SizesCache {
    SpinLock lock;
    std::shared_ptr<const LocalizedSizes> sizes YK_GUARDED_BY(lock);
};

std::shared_ptr<const LocalizedSizes> localizedSizes()
{
    static SizesCache cache;
    LanguageKey key = LanguageKey::current();
    {
        Locker guard(cache.lock);
        if (cache.sizes && cache.sizes->language == key)
            return cache.sizes;
    }
    auto sizes = std::make_shared<const LocalizedSizes>(std::move(key));
    Locker guard(cache.lock);
    cache.sizes = sizes;
    return sizes;
}

// printf's "%.0f" or "%.1f" of count / 2^shift, which is exact for count < 2^53: the digits
// are counted in integers and a tie goes to the even neighbour, as printf rounds in the
// default rounding mode.
void appendQuotient(std::u16string& text, uint64_t count, int shift, int decimals)
{
    const uint64_t scaled = decimals ? count * 10 : count;
    uint64_t quotient = scaled >> shift;
    if (shift > 0) {
        const uint64_t rest = scaled & ((uint64_t { 1 } << shift) - 1);
        const uint64_t half = uint64_t { 1 } << (shift - 1);
        if (rest > half || (rest == half && quotient % 2))
            ++quotient;
    }
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof(digits), quotient / (decimals ? 10 : 1)).ptr;
    text.append(static_cast<const char*>(digits), end);
    if (decimals) {
        text += u'.';
        text += static_cast<char16_t>(u'0' + quotient % 10);
    }
}

} // namespace

namespace detail {

Ref<String> stringForBytesPortable(uint64_t count)
{
    const size_t row = rowForCount(count);
    auto text = localizedKey(row);
    if (sizeRows[row].unit == 0)
        return text;
    // The translated text is a format of its own; the "%.1f" or "%.0f" in it does the rounding.
    return format(text->utf8().c_str(), static_cast<double>(count) / sizeRows[row].unit);
}

} // namespace detail

Ref<String> YKByteFormatter::stringForBytes(uint64_t count)
{
    const size_t row = rowForCount(count);
    const auto sizes = localizedSizes();
    if (sizeRows[row].unit == 0)
        return sizes->texts[row];
    const SizePattern& pattern = sizes->patterns[row];
    // Units that are powers of two divide exactly; the petabyte does not, and another rounding
    // mode rounds otherwise: those go through the formatter.
    const uint64_t unit = static_cast<uint64_t>(sizeRows[row].unit);
    if (pattern.decimals < 0 || !std::has_single_bit(unit) || std::fegetround() != FE_TONEAREST)
        return detail::stringForBytesPortable(count);
    std::u16string text = pattern.prefix;
    appendQuotient(text, count, std::countr_zero(unit), pattern.decimals);
    text += pattern.suffix;
    return make<String>(std::move(text));
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
