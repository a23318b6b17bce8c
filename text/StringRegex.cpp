#include <Yarkit/StringRegex.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/threads/SpinLock.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/Value.h>

#include <bit>
#include <memory>
#include <oniguruma.h>

#include "core/runtime/RuntimeErrors.h"

namespace yk {

const char YKRegexException[] = "YKRegexException";

namespace {

// Guards onig_new and onig_free only; searches never take it.
SpinLock& s_onigLock = *make<SpinLock>().leakRef();

constexpr const char* rangeOfPatternSelector = "rangeOfPatternString:options:range:";
constexpr const char* rangeValuesOfPatternSelector = "rangeValuesOfPatternString:options:range:";

OnigEncoding hostUTF16()
{
    return std::endian::native == std::endian::little ? ONIG_ENCODING_UTF16_LE : ONIG_ENCODING_UTF16_BE;
}

[[noreturn]] void raiseEngineError(int code, OnigErrorInfo* info)
{
    OnigUChar message[ONIG_MAX_ERROR_MESSAGE_LEN];
    if (info)
        onig_error_code_to_str(message, code, info);
    else
        onig_error_code_to_str(message, code);
    raise(YKRegexException, "%s", reinterpret_cast<const char*>(message));
}

OnigSyntaxType* patternSyntax()
{
    const auto value = static_cast<uint64_t>(UserDefaults::standardUserDefaults()->integerForKey("YKRegexPatternSyntax"));
    switch (value) {
    case 1: return ONIG_SYNTAX_POSIX_BASIC;
    case 2: return ONIG_SYNTAX_POSIX_EXTENDED;
    case 3: return ONIG_SYNTAX_EMACS;
    case 4: return ONIG_SYNTAX_GREP;
    case 5: return ONIG_SYNTAX_GNU_REGEX;
    case 6: return ONIG_SYNTAX_JAVA;
    case 7: return ONIG_SYNTAX_PERL;
    case 8: return ONIG_SYNTAX_RUBY;
    default: return OnigDefaultSyntax;
    }
}

const OnigUChar* bytesOf(const String* string)
{
    return reinterpret_cast<const OnigUChar*>(string->units().data());
}

struct RegexFree {
    void operator()(regex_t* regex) const
    {
        Locker locker(s_onigLock);
        onig_free(regex);
    }
};
using CompiledPattern = std::unique_ptr<regex_t, RegexFree>;

struct RegionFree {
    void operator()(OnigRegion* region) const { onig_region_free(region, 1); }
};
using Region = std::unique_ptr<OnigRegion, RegionFree>;

CompiledPattern compile(const String* pattern, StringCompareOptions options)
{
    initializeRegexEngine();
    OnigSyntaxType* syntax = patternSyntax();
    const OnigUChar* begin = bytesOf(pattern);
    regex_t* regex = nullptr;
    OnigErrorInfo info {};
    int result;
    {
        Locker locker(s_onigLock);
        result = onig_new(&regex, begin, begin + 2 * size_t(pattern->length()),
            options & CaseInsensitiveSearch ? ONIG_OPTION_IGNORECASE : ONIG_OPTION_NONE, hostUTF16(), syntax, &info);
    }
    if (result != ONIG_NORMAL)
        raiseEngineError(result, &info);
    return CompiledPattern(regex);
}

Region newRegion()
{
    Region region(onig_region_new());
    if (!region)
        throw std::bad_alloc();
    return region;
}

// One search of a compiled pattern over string, between unit indices start and limit
// (limit < start searches backwards). False on a mismatch; raises on any other failure.
bool search(regex_t* regex, const String* string, uint32_t start, uint32_t limit, OnigRegion* region, Range& match)
{
    const OnigUChar* text = bytesOf(string);
    onig_region_clear(region);
    const int result = onig_search(regex, text, text + 2 * size_t(string->length()), text + 2 * size_t(start),
        text + 2 * size_t(limit), region, ONIG_OPTION_NONE);
    if (result == ONIG_MISMATCH)
        return false;
    if (result < 0)
        raiseEngineError(result, nullptr);
    match = { static_cast<uint32_t>(region->beg[0] / 2), static_cast<uint32_t>((region->end[0] - region->beg[0]) / 2) };
    return true;
}

// The checks both functions make before compiling; false when there is nothing to search for.
bool shouldSearch(const String* string, const String* pattern, Range range, const char* selector)
{
    if (!string)
        return false;
    if (!pattern)
        detail::raiseNilArgument(string, selector);
    if (range.location > string->length() || range.length > string->length() - range.location)
        detail::raiseOutOfBounds(string, selector);
    return pattern->length() != 0;
}

void postLoad(Class*)
{
    initializeRegexEngine();
}

} // namespace

YK_DEFINE_CATEGORY(String, "RegexExtensions", [](MethodListBuilder& c) { c.classMethod("postLoad", &postLoad); });

void initializeRegexEngine()
{
    static const int initialized = [] {
        OnigEncoding encodings[] = { ONIG_ENCODING_UTF16_LE, ONIG_ENCODING_UTF16_BE };
        return onig_initialize(encodings, 2);
    }();
    (void)initialized;
}

Range rangeOfPatternString(const String* string, const String* pattern, StringCompareOptions options, Range range)
{
    const Range notFound { NotFound, 0 };
    if (!shouldSearch(string, pattern, range, rangeOfPatternSelector))
        return notFound;
    const bool backwards = options & BackwardsSearch;
    if (backwards && !range.length)
        return notFound;
    CompiledPattern regex = compile(pattern, options);
    Region region = newRegion();
    Range match;
    const bool found = backwards ? search(regex.get(), string, range.end() - 1, range.location, region.get(), match)
                                 : search(regex.get(), string, range.location, range.end(), region.get(), match);
    return found ? match : notFound;
}

Ref<Array> rangeValuesOfPatternString(const String* string, const String* pattern, StringCompareOptions options, Range range)
{
    auto matches = make<MutableArray>();
    if (!shouldSearch(string, pattern, range, rangeValuesOfPatternSelector))
        return matches;
    const bool backwards = options & BackwardsSearch;
    if (backwards && !range.length)
        return matches;
    CompiledPattern regex = compile(pattern, options);
    Region region = newRegion();
    Range match;
    if (backwards) {
        for (int64_t start = int64_t(range.end()) - 1; start >= range.location; start = int64_t(match.location) - 1) {
            if (!search(regex.get(), string, static_cast<uint32_t>(start), range.location, region.get(), match))
                break;
            matches->addObject(Value::valueWithRange(match));
        }
        return matches;
    }
    for (uint64_t start = range.location; start <= range.end(); start = uint64_t(match.end()) + (match.length ? 0 : 1)) {
        if (!search(regex.get(), string, static_cast<uint32_t>(start), range.end(), region.get(), match))
            break;
        matches->addObject(Value::valueWithRange(match));
    }
    return matches;
}

} // namespace yk
