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

// The compiled pattern and the region of one call, freed when it ends, however it ends.
class PatternSearch {
public:
    PatternSearch(const String* string, const String* pattern, StringCompareOptions options)
        : _string(string)
        , _regex(compile(pattern, options))
        , _region(newRegion())
    {
    }

    // One search between unit indices start and limit (limit < start searches backwards),
    // reusing the region. False on a mismatch; raises on any other failure.
    bool find(uint32_t start, uint32_t limit, Range& match)
    {
        const OnigUChar* text = bytesOf(_string);
        onig_region_clear(_region.get());
        const int result = onig_search(_regex.get(), text, text + 2 * size_t(_string->length()), text + 2 * size_t(start),
            text + 2 * size_t(limit), _region.get(), ONIG_OPTION_NONE);
        if (result == ONIG_MISMATCH)
            return false;
        if (result < 0)
            raiseEngineError(result, nullptr);
        match = { static_cast<uint32_t>(_region->beg[0] / 2), static_cast<uint32_t>((_region->end[0] - _region->beg[0]) / 2) };
        return true;
    }

private:
    const String* _string;
    CompiledPattern _regex;
    Region _region;
};

// The checks both functions make before compiling; false when there is nothing to search for:
// no receiver, an empty pattern, or an empty range searched backwards (it has no last unit).
bool shouldSearch(const String* string, const String* pattern, StringCompareOptions options, Range range, const char* selector)
{
    if (!string)
        return false;
    if (!pattern)
        detail::raiseNilArgument(string, selector);
    if (range.location > string->length() || range.length > string->length() - range.location)
        detail::raiseOutOfBounds(string, selector);
    return pattern->length() && (range.length || !(options & BackwardsSearch));
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
    Range match { NotFound, 0 };
    if (!shouldSearch(string, pattern, options, range, rangeOfPatternSelector))
        return match;
    PatternSearch search(string, pattern, options);
    const bool found = options & BackwardsSearch ? search.find(range.end() - 1, range.location, match)
                                                 : search.find(range.location, range.end(), match);
    return found ? match : Range { NotFound, 0 };
}

Ref<Array> rangeValuesOfPatternString(const String* string, const String* pattern, StringCompareOptions options, Range range)
{
    auto matches = make<MutableArray>();
    if (!shouldSearch(string, pattern, options, range, rangeValuesOfPatternSelector))
        return matches;
    PatternSearch search(string, pattern, options);
    Range match;
    if (options & BackwardsSearch) {
        for (int64_t start = int64_t(range.end()) - 1; start >= range.location; start = int64_t(match.location) - 1) {
            if (!search.find(static_cast<uint32_t>(start), range.location, match))
                break;
            matches->addObject(Value::valueWithRange(match));
        }
        return matches;
    }
    for (uint64_t start = range.location; start <= range.end(); start = uint64_t(match.end()) + (match.length ? 0 : 1)) {
        if (!search.find(static_cast<uint32_t>(start), range.end(), match))
            break;
        matches->addObject(Value::valueWithRange(match));
    }
    return matches;
}

} // namespace yk
