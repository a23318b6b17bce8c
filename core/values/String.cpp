#include <Yarkit/core/values/String.h>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/StringConverter.h>

#include "core/runtime/RuntimeErrors.h"

#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>
#include <typeinfo>

#include <locale.h>

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace yk {

YK_DEFINE_CLASS(String);

namespace {

icu::UnicodeString aliasOf(std::u16string_view units)
{
    return icu::UnicodeString(false, units.data(), static_cast<int32_t>(units.size()));
}

std::u16string unitsOf(const icu::UnicodeString& text)
{
    return std::u16string(text.getBuffer(), static_cast<size_t>(text.length()));
}

// Freed String blocks of this thread, reused before the allocator's: a list threaded through the
// blocks themselves, at most `capacity` long. The cache is plain data in the initial TLS block
// (16 bytes), so reaching it costs no call; a releaser made on first use frees what it holds
// when the thread ends, after which blocks go back to the allocator.
struct StringBlockCache {
    static constexpr uint32_t capacity = 32;
    void* head;
    uint32_t count;
    bool registered;
    bool ended;
};
thread_local StringBlockCache stringBlocks __attribute__((tls_model("initial-exec")));

void* nextBlock(void* block)
{
    void* next;
    std::memcpy(&next, block, sizeof next);
    return next;
}

struct StringBlockReleaser {
    ~StringBlockReleaser()
    {
        while (void* block = stringBlocks.head) {
            stringBlocks.head = nextBlock(block);
            ::operator delete(block);
        }
        stringBlocks.count = 0;
        stringBlocks.ended = true;
    }
};

// Under AddressSanitizer every block goes back to the allocator, which then finds a use after
// release.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool cachesStringBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool cachesStringBlocks = false;
#else
constexpr bool cachesStringBlocks = true;
#endif
#else
constexpr bool cachesStringBlocks = true;
#endif

} // namespace

void* String::operator new(size_t size)
{
    StringBlockCache& cache = stringBlocks;
    if (!cachesStringBlocks || size != sizeof(String) || !cache.head)
        return ::operator new(size);
    void* block = cache.head;
    cache.head = nextBlock(block);
    --cache.count;
    return block;
}

void String::operator delete(void* object, size_t size) noexcept
{
    StringBlockCache& cache = stringBlocks;
    if (!cachesStringBlocks || size != sizeof(String) || cache.count == StringBlockCache::capacity || cache.ended)
        return ::operator delete(object);
    if (!cache.registered) {
        cache.registered = true;
        static thread_local StringBlockReleaser releaser;
        (void)releaser;
    }
    std::memcpy(object, &cache.head, sizeof cache.head);
    cache.head = object;
    ++cache.count;
}

// Construction

Ref<String> String::withUTF8(std::string_view utf8)
{
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    return make<String>(unitsOf(text));
}

Ref<String> String::stringWithUTF8String(const char* utf8)
{
    if (!utf8)
        detail::raiseInvalidArgument("*** +[String stringWithUTF8String:]: NULL cString");
    return stringWithBytes(utf8, std::strlen(utf8), kCFStringEncodingUTF8);
}

Ref<String> String::stringWithCharacters(const char16_t* characters, uint32_t length)
{
    if (!characters && length)
        detail::raiseInvalidArgument("*** +[String stringWithCharacters:length:]: nil string (or other) argument");
    return make<String>(std::u16string(characters, length));
}

Ref<String> String::stringWithBytes(const void* bytes, size_t length, CFStringEncoding encoding)
{
    if (!bytes && length)
        return nullptr;
    auto units = StringConverter(encoding).decode({ static_cast<const uint8_t*>(bytes), length });
    return units ? make<String>(std::move(*units)) : nullptr;
}

Ref<String> String::stringWithData(const Data* data, CFStringEncoding encoding)
{
    if (!data)
        detail::raiseInvalidArgument("*** +[String stringWithData:encoding:]: nil string (or other) argument");
    return stringWithBytes(data->bytes(), data->length(), encoding);
}

Ref<String> String::stringWithFormat(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> result = formatv(format, arguments);
    va_end(arguments);
    return result;
}

std::string String::utf8() const
{
    std::string result;
    aliasOf(_units).toUTF8String(result);
    return result;
}

// Conversion to bytes

Ref<Data> String::dataUsingEncoding(CFStringEncoding encoding, bool allowLossyConversion) const
{
    auto bytes = StringConverter(encoding).encode(_units, allowLossyConversion);
    return bytes ? Data::dataWithBytes(bytes->data(), static_cast<uint32_t>(bytes->size())) : nullptr;
}

bool String::canBeConvertedToEncoding(CFStringEncoding encoding) const
{
    return dataUsingEncoding(encoding) != nullptr;
}

// Characters and substrings

char16_t String::characterAtIndex(uint32_t index) const
{
    if (index >= _units.size())
        detail::raiseOutOfBounds(this, "characterAtIndex:");
    return _units[index];
}

Ref<String> String::substringWithRange(Range range) const
{
    if (range.location > _units.size() || range.length > _units.size() - range.location)
        detail::raiseOutOfBounds(this, "substringWithRange:");
    return make<String>(_units.substr(range.location, range.length));
}

Ref<String> String::substringFromIndex(uint32_t index) const
{
    if (index > _units.size())
        detail::raiseOutOfBounds(this, "substringFromIndex:");
    return make<String>(_units.substr(index));
}

Ref<String> String::substringToIndex(uint32_t index) const
{
    if (index > _units.size())
        detail::raiseOutOfBounds(this, "substringToIndex:");
    return make<String>(_units.substr(0, index));
}

// Literal comparisons

bool String::isEqualToString(const String* other) const
{
    return other && (other == this || other->_units == _units);
}

bool String::isEqualToString(std::string_view utf8) const
{
    // ASCII text, the usual case for names and keys, compares without converting.
    if (utf8.size() != _units.size())
        return utf8.size() > _units.size() && _units == withUTF8(utf8)->_units;
    for (size_t i = 0; i < utf8.size(); ++i) {
        auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte >= 0x80)
            return _units == withUTF8(utf8)->_units;
        if (_units[i] != byte)
            return false;
    }
    return true;
}

bool String::hasPrefix(const String* prefix) const
{
    return prefix && std::u16string_view(_units).starts_with(prefix->_units);
}

bool String::hasPrefix(std::string_view utf8) const
{
    return hasPrefix(withUTF8(utf8).get());
}

bool String::hasSuffix(const String* suffix) const
{
    return suffix && std::u16string_view(_units).ends_with(suffix->_units);
}

bool String::hasSuffix(std::string_view utf8) const
{
    return hasSuffix(withUTF8(utf8).get());
}

// Derived strings

Ref<String> String::stringByAppendingString(const String* other) const
{
    if (!other)
        detail::raiseNilArgument(this, "stringByAppendingString:");
    return make<String>(_units + other->_units);
}

Ref<Array> String::componentsSeparatedByString(const String* separator) const
{
    if (!separator)
        detail::raiseNilArgument(this, "componentsSeparatedByString:");
    std::vector<Ref<Object>> pieces;
    std::u16string_view text(_units);
    const std::u16string& mark = separator->_units;
    if (mark.empty()) {
        pieces.push_back(make<String>(_units));
        return make<Array>(std::move(pieces));
    }
    size_t start = 0;
    for (size_t found; (found = text.find(mark, start)) != std::u16string_view::npos; start = found + mark.size())
        pieces.push_back(make<String>(std::u16string(text.substr(start, found - start))));
    pieces.push_back(make<String>(std::u16string(text.substr(start))));
    return make<Array>(std::move(pieces));
}

Ref<String> String::stringByReplacingOccurrencesOfString(const String* target, const String* replacement) const
{
    if (!target || !replacement)
        detail::raiseNilArgument(this, "stringByReplacingOccurrencesOfString:withString:");
    const std::u16string& mark = target->_units;
    if (mark.empty())
        return make<String>(_units);
    std::u16string result;
    size_t start = 0;
    for (size_t found; (found = _units.find(mark, start)) != std::u16string::npos; start = found + mark.size()) {
        result.append(_units, start, found - start);
        result += replacement->_units;
    }
    result.append(_units, start);
    return make<String>(std::move(result));
}

Ref<String> String::lowercaseString() const
{
    icu::UnicodeString text(_units.data(), static_cast<int32_t>(_units.size()));
    return make<String>(unitsOf(text.toLower(icu::Locale::getRoot())));
}

Ref<String> String::uppercaseString() const
{
    icu::UnicodeString text(_units.data(), static_cast<int32_t>(_units.size()));
    return make<String>(unitsOf(text.toUpper(icu::Locale::getRoot())));
}

// Numbers

namespace {

// The index of the first character after leading white space.
size_t skipWhiteSpace(std::u16string_view text)
{
    size_t i = 0;
    while (i < text.size() && u_isUWhiteSpace(text[i]))
        ++i;
    return i;
}

bool isASCIIDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// Reads an optionally signed decimal integer at the start of text, saturating at the limits.
template <typename Integer>
Integer readInteger(std::u16string_view text)
{
    size_t i = skipWhiteSpace(text);
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        negative = text[i++] == u'-';
    using Limits = std::numeric_limits<Integer>;
    // Accumulate towards the sign's limit so that the most negative value is reachable.
    Integer value = 0;
    for (; i < text.size() && isASCIIDigit(text[i]); ++i) {
        int digit = text[i] - u'0';
        if (negative) {
            if (value < (Limits::min() + digit) / 10)
                return Limits::min();
            value = value * 10 - digit;
        } else {
            if (value > (Limits::max() - digit) / 10)
                return Limits::max();
            value = value * 10 + digit;
        }
    }
    return value;
}

locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

} // namespace

int32_t String::intValue() const
{
    return readInteger<int32_t>(_units);
}

int64_t String::longLongValue() const
{
    return readInteger<int64_t>(_units);
}

double String::doubleValue() const
{
    std::u16string_view text(_units);
    size_t i = skipWhiteSpace(text);
    // Collect the longest prefix of the form [sign] digits [. digits] [e [sign] digits].
    std::string number;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        number += static_cast<char>(text[i++]);
    size_t digits = 0;
    for (; i < text.size() && isASCIIDigit(text[i]); ++i, ++digits)
        number += static_cast<char>(text[i]);
    if (i < text.size() && text[i] == u'.') {
        number += '.';
        for (++i; i < text.size() && isASCIIDigit(text[i]); ++i, ++digits)
            number += static_cast<char>(text[i]);
    }
    if (!digits)
        return 0;
    if (i < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        size_t j = i + 1;
        std::string exponent = "e";
        if (j < text.size() && (text[j] == u'+' || text[j] == u'-'))
            exponent += static_cast<char>(text[j++]);
        if (j < text.size() && isASCIIDigit(text[j])) {
            for (; j < text.size() && isASCIIDigit(text[j]); ++j)
                exponent += static_cast<char>(text[j]);
            number += exponent;
        }
    }
    // strtod_l in the C locale: "." is the decimal point whatever the process's locale.
    return strtod_l(number.c_str(), nullptr, cLocale());
}

float String::floatValue() const
{
    return static_cast<float>(doubleValue());
}

bool String::boolValue() const
{
    std::u16string_view text(_units);
    size_t i = skipWhiteSpace(text);
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    while (i < text.size() && text[i] == u'0')
        ++i;
    if (i == text.size())
        return false;
    char16_t c = text[i];
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

// Copies and object behaviour

Ref<String> String::copy() const
{
    // An immutable string is its own copy. The exact-type test answers the common case without
    // the cost of a dynamic_cast.
    if (typeid(*this) == typeid(String) || !dynamic_cast<const MutableString*>(this))
        return Ref<String>(const_cast<String*>(this));
    return make<String>(_units);
}

Ref<MutableString> String::mutableCopy() const
{
    return make<MutableString>(_units);
}

bool String::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    const auto* string = dynamic_cast<const String*>(other);
    return string && string->_units == _units;
}

size_t String::hash() const
{
    return std::hash<std::u16string>()(_units);
}

Ref<String> String::description() const
{
    return copy();
}

} // namespace yk
