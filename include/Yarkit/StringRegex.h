#pragma once

// Regular-expression search over a string's UTF-16 units by Oniguruma (the additions
// "NSString(RegexExtensions)"), in the shape of String::rangeOfString. docs/regex.md pins the
// engine's answers at the edges of a range.
//
// The pattern syntax is the integer user default "YKRegexPatternSyntax", read at every compile:
// 0 OnigDefaultSyntax, 1 POSIX basic, 2 POSIX extended, 3 Emacs, 4 grep, 5 GNU regex, 6 Java,
// 7 Perl, 8 Ruby; any other value, taken as unsigned, OnigDefaultSyntax as it stands then (the
// engine's functions and tables are part of this library's interface, so clients may change it).
//
// Options: CaseInsensitiveSearch is the engine's ignore-case option; BackwardsSearch searches
// from the range's last unit towards its start (an empty range has no last unit, so a backward
// search over it finds nothing). Other bits are ignored.
//
// The whole string stays visible to anchors and look-behind; locations are indices in the
// whole string. The pattern is compiled for each call and freed before it returns; compiling
// and freeing are serialised by one process-wide spin lock, searches run without it, so the
// functions are safe on any thread.
//
// Raises, in this order: NSInvalidArgumentException "*** -[<class> <selector>]: nil string (or
// other) argument" for a null pattern; NSRangeException "*** -[<class> <selector>]: Range or
// index out of bounds" for a range outside the string; then an empty pattern finds nothing
// without compiling. A pattern that does not compile, or a search that fails other than by not
// matching, raises "YKRegexException" with the engine's message as the reason. A null string
// finds nothing.

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// The exception name, with its name as its text.
extern const char YKRegexException[];

// -rangeOfPatternString:options:range: the first match in range (BackwardsSearch: the match
// found first going backwards), or {NotFound, 0}.
[[nodiscard]] Range rangeOfPatternString(const String* string, const String* pattern, StringCompareOptions options, Range range);

// -rangeValuesOfPatternString:options:range: every match, as Value ranges in the order found.
// Forward, the next search starts at a match's end (one unit after an empty match); backward,
// one unit before a match's start. Over n units a pattern that matches the empty string gives
// n + 1 matches forward and n backward.
[[nodiscard]] Ref<Array> rangeValuesOfPatternString(const String* string, const String* pattern, StringCompareOptions options, Range range);

// Starts the engine with both UTF-16 encodings (onig_initialize, so callouts such as
// "(*FAIL)" are registered). The category's postLoad calls it when the library loads; every
// compile makes sure of it too. Safe to call more than once.
void initializeRegexEngine();

} // namespace yk
