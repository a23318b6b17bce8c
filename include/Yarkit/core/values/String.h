#pragma once

#include <Yarkit/core/values/ComparisonResult.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>
#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace yk {

class Array;
class CharacterSet;
class Data;
class MutableString;

// Options of comparison and search, combined with |.
using StringCompareOptions = uint32_t;
enum : StringCompareOptions {
    // Letters compare by their full case folding.
    CaseInsensitiveSearch = 1,
    // Code units compare as they are; without it, canonically equivalent text is equal.
    LiteralSearch = 2,
    // Searches from the end; the last match is found.
    BackwardsSearch = 4,
    // The match must start at the start of the range (at its end when searching backwards).
    AnchoredSearch = 8,
    // Runs of decimal digits compare by their numeric value ("a9" < "a10").
    NumericSearch = 64,
};

// An immutable string of UTF-16 code units, so lengths and indices are those of the text.
// Immutable strings are safe to share between threads.
//
// Methods that take a const String* do not retain it. Where the platform raises for a nil
// argument, they raise NSInvalidArgumentException "*** -[<class> <selector>]: nil string (or
// other) argument"; ranges and indices outside the string raise NSRangeException
// "*** -[<class> <selector>]: Range or index out of bounds".
class String : public Object {
    YK_OBJECT(String, Object)
public:
    String() = default;
    explicit String(std::u16string units)
        : _units(std::move(units))
    {
    }

    // UTF-8 text; ill-formed sequences become U+FFFD.
    [[nodiscard]] static Ref<String> withUTF8(std::string_view utf8);
    // +stringWithUTF8String: strict: null when the text is not well-formed UTF-8. Raises for a
    // null pointer.
    [[nodiscard]] static Ref<String> stringWithUTF8String(const char* utf8);
    // +stringWithCharacters:length:
    [[nodiscard]] static Ref<String> stringWithCharacters(const char16_t* characters, uint32_t length);
    // -initWithBytes:length:encoding: strict: null when the bytes are not valid in the
    // encoding (an illegal, unmapped or truncated sequence) or ICU has no converter for it.
    [[nodiscard]] static Ref<String> stringWithBytes(const void* bytes, size_t length, CFStringEncoding encoding);
    // -initWithData:encoding:, as stringWithBytes.
    [[nodiscard]] static Ref<String> stringWithData(const Data* data, CFStringEncoding encoding);
    // +stringWithFormat: through yk::format.
    [[nodiscard]] static Ref<String> stringWithFormat(const char* format, ...);
    // +pathWithComponents: joins with "/", collapsing repeated slashes; a first component "/"
    // makes the path absolute and an empty last component adds a trailing slash.
    [[nodiscard]] static Ref<String> pathWithComponents(const Array* components);

    uint32_t length() const { return static_cast<uint32_t>(_units.size()); }
    const std::u16string& units() const { return _units; }
    std::u16string_view view() const { return _units; }
    // UTF-8; unpaired surrogates become U+FFFD.
    std::string utf8() const;

    char16_t characterAtIndex(uint32_t index) const;
    [[nodiscard]] Ref<String> substringWithRange(Range range) const;
    [[nodiscard]] Ref<String> substringFromIndex(uint32_t index) const;
    [[nodiscard]] Ref<String> substringToIndex(uint32_t index) const;

    // -dataUsingEncoding:allowLossyConversion: null when a character cannot be represented
    // (or no converter exists), unless lossy, which writes "?" for such characters.
    [[nodiscard]] Ref<Data> dataUsingEncoding(CFStringEncoding encoding, bool allowLossyConversion = false) const;
    bool canBeConvertedToEncoding(CFStringEncoding encoding) const;

    // -compare:options:range: orders the characters of range against the whole of other.
    // Without LiteralSearch both sides are put in canonical decomposition (NFD) and compared by
    // code point; with it, code units compare as they are. A null other orders after: the
    // result is OrderedDescending.
    ComparisonResult compare(const String* other, StringCompareOptions options = 0) const;
    ComparisonResult compare(const String* other, StringCompareOptions options, Range range) const;
    ComparisonResult caseInsensitiveCompare(const String* other) const { return compare(other, CaseInsensitiveSearch); }

    // -rangeOfString:options:range: the range of the first (or, backwards, last) match of other
    // in range, in this string's indices; {NotFound, 0} when there is none or other is empty.
    // Without LiteralSearch a match covers whole characters with their combining marks.
    Range rangeOfString(const String* other, StringCompareOptions options = 0) const;
    Range rangeOfString(const String* other, StringCompareOptions options, Range range) const;
    bool containsString(const String* other) const { return rangeOfString(other).location != NotFound; }

    // Literal comparisons of code units.
    bool isEqualToString(const String* other) const;
    bool isEqualToString(std::u16string_view other) const { return _units == other; }
    bool isEqualToString(std::string_view utf8) const;
    bool hasPrefix(const String* prefix) const;
    bool hasPrefix(std::string_view utf8) const;
    bool hasSuffix(const String* suffix) const;
    bool hasSuffix(std::string_view utf8) const;

    // Character sets. A surrogate pair inside the searched range is one code point, found as a
    // range of length 2; an unpaired surrogate is the code point of its value. A null set raises
    // NSInvalidArgumentException.
    // -rangeOfCharacterFromSet:options:range: the first (BackwardsSearch: last) character of
    // range that is in set; AnchoredSearch looks only at the range's first (last) character.
    // {NotFound, 0} when there is none.
    Range rangeOfCharacterFromSet(const CharacterSet* set, StringCompareOptions options = 0) const;
    Range rangeOfCharacterFromSet(const CharacterSet* set, StringCompareOptions options, Range range) const;
    // The string without the characters of set at either end.
    [[nodiscard]] Ref<String> stringByTrimmingCharactersInSet(const CharacterSet* set) const;

    [[nodiscard]] Ref<String> stringByAppendingString(const String* other) const;
    [[nodiscard]] Ref<Array> componentsSeparatedByString(const String* separator) const;
    [[nodiscard]] Ref<String> stringByReplacingOccurrencesOfString(const String* target, const String* replacement) const;

    // Full case mappings of the root locale ("ß" becomes "SS").
    [[nodiscard]] Ref<String> lowercaseString() const;
    [[nodiscard]] Ref<String> uppercaseString() const;

    // Paths use "/" only; a trailing slash is ignored except in "/" itself.
    // "/tmp/scratch.tiff" -> "scratch.tiff"; "/tmp/" -> "tmp"; "/" -> "/"; "" -> "".
    [[nodiscard]] Ref<String> lastPathComponent() const;
    // The text after the last "." of the last component; "" when there is none or the only
    // dot starts the component (".profile").
    [[nodiscard]] Ref<String> pathExtension() const;
    // "/tmp" + "a" -> "/tmp/a"; "" + "a" -> "a"; repeated and trailing slashes are removed.
    [[nodiscard]] Ref<String> stringByAppendingPathComponent(const String* component) const;
    // "/tmp/a" -> "/tmp"; "/tmp" -> "/"; "a" -> ""; "/" -> "/".
    [[nodiscard]] Ref<String> stringByDeletingLastPathComponent() const;
    // "/tmp/a.old" + "tiff" -> "/tmp/a.old.tiff"; "/tmp/" + "tiff" -> "/tmp.tiff". Null for
    // "" and "/", which have no last component to extend.
    [[nodiscard]] Ref<String> stringByAppendingPathExtension(const String* extension) const;
    // "/tmp/a.tiff" -> "/tmp/a"; "a.bundle/" -> "a"; ".profile" stays.
    [[nodiscard]] Ref<String> stringByDeletingPathExtension() const;
    // "/tmp/a/" -> ["/", "tmp", "a", "/"]; "a//b" -> ["a", "b"]; "" -> [].
    [[nodiscard]] Ref<Array> pathComponents() const;
    // Starts with "/" or "~".
    bool isAbsolutePath() const;
    // File-system names are bytes that need not be UTF-8. A name's well-formed UTF-8 becomes
    // its characters and every byte of an ill-formed sequence becomes the lone surrogate
    // U+DC80-U+DCFF (U+DC00 + byte), so every name a folder holds round-trips.
    // +stringWithFileSystemRepresentation:length:
    [[nodiscard]] static Ref<String> stringWithFileSystemRepresentation(const char* bytes, size_t length);
    // -getFileSystemRepresentation:maxLength: the bytes and a terminating NUL into buffer; false
    // when they do not fit, the string is empty, holds U+0000 or a surrogate that is neither
    // paired nor one of the escapes above.
    bool getFileSystemRepresentation(char* buffer, size_t maxLength) const;
    // The same bytes without a size limit; empty when the string does not convert.
    std::string fileSystemRepresentation() const;
    // Every symbolic link of an absolute path resolved (realpath); the receiver when the path
    // does not resolve or is relative.
    [[nodiscard]] Ref<String> stringByResolvingSymlinksInPath() const;
    // +isEmpty: null or of length 0.
    static bool isEmpty(const String* string) { return !string || string->_units.empty(); }

    // Numbers read from the start of the text: leading white space, an optional sign, then
    // digits (and, for the floating kinds, a fraction and an exponent); reading stops at the
    // first character that does not fit; no number gives 0. Integers saturate at their limits.
    int32_t intValue() const;
    int64_t integerValue() const { return longLongValue(); }
    int64_t longLongValue() const;
    float floatValue() const;
    double doubleValue() const;
    // intValue cut to 16 bits, and intValue's bit pattern read as unsigned.
    int16_t shortValue() const { return static_cast<int16_t>(intValue()); }
    uint32_t unsignedIntValue() const { return static_cast<uint32_t>(intValue()); }
    // True when, after white space, an optional sign and any zeros, the text starts with
    // "Y", "y", "T", "t" or a digit 1-9 ("YES", "true", "1", " +007"); false otherwise.
    bool boolValue() const;
    // The framework's boolean reading of text; the same rule as boolValue.
    bool YK_boolValue() const { return boolValue(); }

    [[nodiscard]] Ref<String> copy() const;
    [[nodiscard]] Ref<MutableString> mutableCopy() const;

    // Literal equality of code units, as isEqualToString.
    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // The string itself.
    Ref<String> description() const override;

    // Strings are made and dropped all the time (every conversion returns one), so objects of
    // exactly String's size come from a small per-thread cache of freed blocks before the
    // general allocator.
    static void* operator new(size_t size);
    static void operator delete(void* object, size_t size) noexcept;

protected:
    std::u16string _units;
};

} // namespace yk
