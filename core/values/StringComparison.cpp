// Comparison and search of strings under the comparison options.
//
// Without LiteralSearch, text is compared in canonical decomposition (NFD), so precomposed and
// decomposed forms of a character are equal; with CaseInsensitiveSearch it is then case-folded
// (full folding) and decomposed again, which is Unicode's canonical caseless matching. Ordering
// is by code point; no collation is involved. With LiteralSearch code units compare as they
// are (after full case folding when case-insensitive).

#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

#include <vector>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

namespace yk {
namespace {

const icu::Normalizer2& nfd()
{
    UErrorCode status = U_ZERO_ERROR;
    static const icu::Normalizer2* normalizer = icu::Normalizer2::getNFDInstance(status);
    return *normalizer;
}

std::u16string unitsOf(const icu::UnicodeString& text)
{
    return std::u16string(text.getBuffer(), static_cast<size_t>(text.length()));
}

bool isASCII(std::u16string_view text)
{
    for (char16_t c : text) {
        if (c >= 0x80)
            return false;
    }
    return true;
}

// The form in which text is compared under the options.
std::u16string comparable(std::u16string_view text, StringCompareOptions options)
{
    const bool literal = options & LiteralSearch;
    const bool caseless = options & CaseInsensitiveSearch;
    if (literal && !caseless)
        return std::u16string(text);
    // ASCII is its own decomposition, and its full case folding is A-Z to a-z.
    if (isASCII(text)) {
        std::u16string result(text);
        if (caseless) {
            for (char16_t& c : result)
                c = (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
        }
        return result;
    }
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString result(text.data(), static_cast<int32_t>(text.size()));
    if (!literal)
        result = nfd().normalize(result, status);
    if (caseless) {
        result.foldCase(U_FOLD_CASE_DEFAULT);
        if (!literal)
            result = nfd().normalize(result, status);
    }
    return unitsOf(result);
}

UChar32 codePointAt(std::u16string_view text, size_t& i)
{
    UChar32 c;
    U16_NEXT(text.data(), i, text.size(), c);
    return c;
}

// The numeric value of a decimal digit, or -1.
int digitValue(UChar32 c)
{
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER ? u_charDigitValue(c) : -1;
}

// Compares the runs of decimal digits starting at i and j by value and moves past them.
int compareDigitRuns(std::u16string_view a, size_t& i, std::u16string_view b, size_t& j)
{
    auto readRun = [](std::u16string_view text, size_t& index) {
        std::vector<int> digits;
        while (index < text.size()) {
            size_t next = index;
            int value = digitValue(codePointAt(text, next));
            if (value < 0)
                break;
            if (value || !digits.empty())
                digits.push_back(value);
            index = next;
        }
        return digits;
    };
    std::vector<int> left = readRun(a, i);
    std::vector<int> right = readRun(b, j);
    if (left.size() != right.size())
        return left.size() < right.size() ? -1 : 1;
    for (size_t k = 0; k < left.size(); ++k) {
        if (left[k] != right[k])
            return left[k] < right[k] ? -1 : 1;
    }
    return 0;
}

ComparisonResult ordered(int difference)
{
    return difference < 0 ? OrderedAscending : difference > 0 ? OrderedDescending : OrderedSame;
}

// Orders two comparable forms: by code unit when literal, else by code point; digit runs by
// value with NumericSearch.
ComparisonResult compareComparable(std::u16string_view a, std::u16string_view b, StringCompareOptions options)
{
    const bool literal = options & LiteralSearch;
    const bool numeric = options & NumericSearch;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (numeric) {
            size_t ni = i;
            size_t nj = j;
            if (digitValue(codePointAt(a, ni)) >= 0 && digitValue(codePointAt(b, nj)) >= 0) {
                if (int difference = compareDigitRuns(a, i, b, j))
                    return ordered(difference);
                continue;
            }
        }
        if (literal) {
            if (a[i] != b[j])
                return ordered(int(a[i]) - int(b[j]));
            ++i;
            ++j;
            continue;
        }
        UChar32 x = codePointAt(a, i);
        UChar32 y = codePointAt(b, j);
        if (x != y)
            return ordered(x - y);
    }
    return ordered(int(i < a.size()) - int(j < b.size()));
}

// Text prepared for a search that is not purely literal: the comparable form, and for every
// position of it that starts a character (with its combining marks), the position in the
// original text. Matches must start and end on such positions.
struct SearchText {
    std::u16string text;
    std::vector<int64_t> originalAt; // size text.size() + 1; -1 inside a character
};

SearchText prepareSearchText(std::u16string_view original, uint32_t base, StringCompareOptions options)
{
    const bool literal = options & LiteralSearch;
    SearchText result;
    // Every ASCII character is a segment of its own and folds to one unit.
    if (isASCII(original)) {
        result.text = comparable(original, options);
        result.originalAt.resize(original.size() + 1);
        for (size_t i = 0; i <= original.size(); ++i)
            result.originalAt[i] = int64_t(base) + int64_t(i);
        return result;
    }
    std::vector<std::pair<size_t, int64_t>> boundaries;
    size_t start = 0;
    while (start < original.size()) {
        // A segment is one code point when literal, else a run that normalization keeps
        // together: up to the next code point with a normalization boundary before it.
        size_t end = start;
        codePointAt(original, end);
        while (!literal && end < original.size()) {
            size_t next = end;
            if (nfd().hasBoundaryBefore(codePointAt(original, next)))
                break;
            end = next;
        }
        boundaries.emplace_back(result.text.size(), int64_t(base) + int64_t(start));
        result.text += comparable(original.substr(start, end - start), options);
        start = end;
    }
    result.originalAt.assign(result.text.size() + 1, -1);
    for (auto it = boundaries.rbegin(); it != boundaries.rend(); ++it)
        result.originalAt[it->first] = it->second;
    result.originalAt[result.text.size()] = int64_t(base) + int64_t(original.size());
    return result;
}

Range notFound()
{
    return { NotFound, 0 };
}

Range literalSearch(std::u16string_view text, std::u16string_view pattern, uint32_t base, StringCompareOptions options)
{
    const bool backwards = options & BackwardsSearch;
    const bool anchored = options & AnchoredSearch;
    if (pattern.size() > text.size())
        return notFound();
    size_t found;
    if (anchored)
        found = backwards ? (text.ends_with(pattern) ? text.size() - pattern.size() : std::u16string_view::npos)
                          : (text.starts_with(pattern) ? 0 : std::u16string_view::npos);
    else
        found = backwards ? text.rfind(pattern) : text.find(pattern);
    if (found == std::u16string_view::npos)
        return notFound();
    return { base + static_cast<uint32_t>(found), static_cast<uint32_t>(pattern.size()) };
}

Range preparedSearch(const SearchText& haystack, std::u16string_view pattern, StringCompareOptions options)
{
    const bool backwards = options & BackwardsSearch;
    const bool anchored = options & AnchoredSearch;
    const std::u16string_view text(haystack.text);
    if (pattern.empty() || pattern.size() > text.size())
        return notFound();
    auto matchAt = [&](size_t position) -> Range {
        int64_t start = haystack.originalAt[position];
        int64_t end = haystack.originalAt[position + pattern.size()];
        if (start < 0 || end < 0 || text.compare(position, pattern.size(), pattern) != 0)
            return notFound();
        return { static_cast<uint32_t>(start), static_cast<uint32_t>(end - start) };
    };
    if (anchored)
        return matchAt(backwards ? text.size() - pattern.size() : 0);
    if (backwards) {
        for (size_t position = text.rfind(pattern); position != std::u16string_view::npos; position = position ? text.rfind(pattern, position - 1) : std::u16string_view::npos) {
            if (Range match = matchAt(position); match.location != NotFound)
                return match;
        }
        return notFound();
    }
    for (size_t position = text.find(pattern); position != std::u16string_view::npos; position = text.find(pattern, position + 1)) {
        if (Range match = matchAt(position); match.location != NotFound)
            return match;
    }
    return notFound();
}

} // namespace

ComparisonResult String::compare(const String* other, StringCompareOptions options) const
{
    return compare(other, options, { 0, length() });
}

ComparisonResult String::compare(const String* other, StringCompareOptions options, Range range) const
{
    if (range.location > _units.size() || range.length > _units.size() - range.location)
        detail::raiseOutOfBounds(this, "compare:options:range:");
    if (!other)
        return OrderedDescending;
    std::u16string_view text = std::u16string_view(_units).substr(range.location, range.length);
    return compareComparable(comparable(text, options), comparable(other->_units, options), options);
}

Range String::rangeOfString(const String* other, StringCompareOptions options) const
{
    return rangeOfString(other, options, { 0, length() });
}

Range String::rangeOfString(const String* other, StringCompareOptions options, Range range) const
{
    if (!other)
        detail::raiseNilArgument(this, "rangeOfString:options:range:");
    if (range.location > _units.size() || range.length > _units.size() - range.location)
        detail::raiseOutOfBounds(this, "rangeOfString:options:range:");
    if (other->_units.empty())
        return notFound();
    std::u16string_view text = std::u16string_view(_units).substr(range.location, range.length);
    if ((options & LiteralSearch) && !(options & CaseInsensitiveSearch))
        return literalSearch(text, other->_units, range.location, options);
    return preparedSearch(prepareSearchText(text, range.location, options), comparable(other->_units, options), options);
}

} // namespace yk
