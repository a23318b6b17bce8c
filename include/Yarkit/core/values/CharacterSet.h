#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>
#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class UnicodeSet;
U_NAMESPACE_END

namespace yk {

class MutableCharacterSet;
class String;

// An immutable set of Unicode code points, for splitting, trimming and classifying text. It
// holds a frozen icu::UnicodeSet, so membership tests are lock-free and immutable sets are safe
// to share between threads. Ranges are (first code point, count).
class CharacterSet : public Object {
    YK_OBJECT(CharacterSet, Object)
public:
    // The empty set.
    CharacterSet();
    // Takes the set over and freezes it.
    explicit CharacterSet(std::unique_ptr<icu::UnicodeSet> set);
    ~CharacterSet() override;

    // +characterSetWithRange: the code points range.location to range.location + range.length - 1,
    // cut at U+10FFFF.
    [[nodiscard]] static Ref<CharacterSet> characterSetWithRange(Range range);
    // +characterSetWithCharactersInString: the code points of the string (a surrogate pair is
    // one code point, an unpaired surrogate stands for itself). Raises NSInvalidArgumentException
    // for null.
    [[nodiscard]] static Ref<CharacterSet> characterSetWithCharactersInString(const String* string);

    // Shared sets of the platform, made once and kept for the whole process.
    // White space: the space separators (Zs) and U+0009.
    static CharacterSet* whitespaceCharacterSet();
    // White space and newlines: the separators (Z), U+0009 to U+000D and U+0085.
    static CharacterSet* whitespaceAndNewlineCharacterSet();
    // Newlines: U+000A to U+000D, U+0085, U+2028 and U+2029.
    static CharacterSet* newlineCharacterSet();
    // Punctuation: the general category P.
    static CharacterSet* punctuationCharacterSet();

    // -characterIsMember: for one UTF-16 unit (a surrogate unit is the code point of its value).
    bool characterIsMember(char16_t character) const { return isBMPMember(character); }
    // -longCharacterIsMember: for a code point.
    bool longCharacterIsMember(char32_t character) const
    {
        return character < 0x10000 ? isBMPMember(character) : isSupplementaryMember(character);
    }

    // Every code point from U+0000 to U+10FFFF that is not in this set.
    [[nodiscard]] Ref<CharacterSet> invertedSet() const;
    // An immutable set with the same members: this set itself unless it is mutable.
    [[nodiscard]] Ref<CharacterSet> copy() const;
    [[nodiscard]] Ref<MutableCharacterSet> mutableCopy() const;

    // Sets are equal when they hold the same code points, whichever class they are.
    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // The members as a pattern, "[a-z\u3000]".
    Ref<String> description() const override;

    // The ICU set behind this one, for code that calls ICU directly.
    const icu::UnicodeSet& unicodeSet() const { return *_set; }

protected:
    std::unique_ptr<icu::UnicodeSet> _set;
    // Membership of U+0000 to U+FFFF as a two-level bit table, so that a test of the BMP is two
    // loads without a call: 256 blocks of 256 code points, blocks with the same bits stored
    // once (at most 256 distinct ones). The code points above U+FFFF are asked of ICU.
    std::array<uint8_t, 256> _bmpBlockIndex {};
    std::vector<std::array<uint64_t, 4>> _bmpBlocks;

    // Rebuilds the table from _set; every change of _set calls it.
    void updateBMPTable();
    bool isBMPMember(uint32_t c) const { return (_bmpBlocks[_bmpBlockIndex[c >> 8]][(c >> 6) & 3] >> (c & 63)) & 1; }
    bool isSupplementaryMember(char32_t character) const;
    // The code points of a range cut at U+10FFFF; false when none remain.
    static bool codePointsOfRange(Range range, int32_t& first, int32_t& last);
    // The code points of a string, a surrogate pair as one.
    static void addCodePointsOfString(icu::UnicodeSet& set, const String& string);
};

} // namespace yk
