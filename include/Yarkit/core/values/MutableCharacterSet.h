#pragma once

#include <Yarkit/core/values/CharacterSet.h>

namespace yk {

// A character set that can be changed in place, for building a set step by step; copy() gives
// the immutable set to share. Not safe to change while another thread reads it.
class MutableCharacterSet : public CharacterSet {
    YK_OBJECT(MutableCharacterSet, CharacterSet)
public:
    // The empty set.
    MutableCharacterSet();
    explicit MutableCharacterSet(std::unique_ptr<icu::UnicodeSet> set);

    // -addCharactersInRange: code points cut at U+10FFFF.
    void addCharactersInRange(Range range);
    // -removeCharactersInRange:
    void removeCharactersInRange(Range range);
    // -addCharactersInString: raises NSInvalidArgumentException for null.
    void addCharactersInString(const String* string);
    // -formUnionWithCharacterSet: raises NSInvalidArgumentException for null.
    void formUnionWithCharacterSet(const CharacterSet* other);
    // -formIntersectionWithCharacterSet: raises NSInvalidArgumentException for null.
    void formIntersectionWithCharacterSet(const CharacterSet* other);
    // -invert
    void invert();
};

} // namespace yk
