#pragma once

// Shared character sets that text code uses to split, trim and classify text (the additions
// "NSCharacterSet(Yarkit)"). Each is made once per process on first request and the same
// object is returned every time after; the sets are immutable, live for the whole process and
// may be used from any thread. docs/character-sets.md lists their contents.

#include <Yarkit/core/values/CharacterSet.h>

namespace yk {

// U+0000 to U+007F.
CharacterSet* YK_ASCIICharacterSet();
CharacterSet* YK_nonASCIICharacterSet();
// The scripts written without spaces between words: CJK ideographs and their radicals and
// strokes, Hangul, kana, fullwidth forms, Kanbun, Bopomofo, Lisu, Miao, Yi, and the CJK symbol
// and compatibility blocks, as 33 fixed ranges (some stop short of their Unicode blocks).
CharacterSet* yk_eastAsianCharacterSet();
CharacterSet* yk_nonEastAsianCharacterSet();
// White space and newlines united with punctuation.
CharacterSet* YK_delimiterCharacterSet();
// U+002D, U+00AD, U+058A, U+1806, U+2010 and U+2011.
CharacterSet* YK_hyphenCharacterSet();
// The core's newline set, CharacterSet::newlineCharacterSet().
CharacterSet* YK_newlineCharacterSet();
CharacterSet* YK_nonNewlineCharacterSet();
// The complements of the core's white-space sets.
CharacterSet* YK_nonWhitespaceAndNewlineCharacterSet();
CharacterSet* YK_nonWhitespaceCharacterSet();

} // namespace yk
