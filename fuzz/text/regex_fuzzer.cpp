// Regular-expression search with a fuzzed syntax, options, range, pattern and subject: no crash,
// no leak, every match inside the receiver, and no exception but the ones the search raises
// (YKRegexException, and NSRangeException for a range outside the subject). Run with short
// inputs and a timeout: scripts/fuzz regex_fuzzer SECONDS -max_len=160 -timeout=10.
//
// Layout: syntax (1 byte, as a signed value), options (1), range location (1) and length (1),
// pattern length in units (1), then the pattern's and the subject's UTF-16 units.

#include <Yarkit/StringRegex.h>
#include <Yarkit/core/system/UserDefaults.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/Value.h>

#include "TextFuzzSupport.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void requireInside(yk::Range match, const yk::String* subject)
{
    textfuzz::require(match.location <= subject->length() && match.length <= subject->length() - match.location,
        "a match lies inside the receiver");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Defaults of the fuzz process only: the syntax goes into the argument domain, which is
    // never written, and the configuration folder is a fresh temporary one.
    char folder[] = "/tmp/yk-regex-fuzz-XXXXXX";
    if (mkdtemp(folder))
        setenv("XDG_CONFIG_HOME", folder, 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 5 || size > 4096)
        return 0;
    const auto syntax = static_cast<int8_t>(data[0]);
    const yk::StringCompareOptions options = data[1];
    const yk::Range range { data[2], data[3] };
    std::u16string units((size - 5) / 2, u'\0');
    std::memcpy(units.data(), data + 5, units.size() * 2);
    const size_t patternLength = std::min<size_t>(data[4], units.size());
    auto pattern = yk::make<yk::String>(units.substr(0, patternLength));
    auto subject = yk::make<yk::String>(units.substr(patternLength));
    const bool rangeFits = range.location <= subject->length() && range.length <= subject->length() - range.location;

    yk::UserDefaults::standardUserDefaults()->setArgumentObject(yk::Number::numberWithLongLong(syntax).get(), "YKRegexPatternSyntax");
    try {
        yk::Range match = yk::rangeOfPatternString(subject.get(), pattern.get(), options, range);
        if (match.location != yk::NotFound)
            requireInside(match, subject.get());
        auto matches = yk::rangeValuesOfPatternString(subject.get(), pattern.get(), options, range);
        for (uint32_t i = 0; i < matches->count(); ++i)
            requireInside(static_cast<yk::Value*>(matches->objectAtIndex(i).get())->rangeValue(), subject.get());
        const yk::Range first = matches->count() ? static_cast<yk::Value*>(matches->objectAtIndex(0).get())->rangeValue() : yk::Range { yk::NotFound, 0 };
        textfuzz::require(first == match, "the loop starts with the single search's match");
        textfuzz::require(rangeFits, "a bad range raises");
    } catch (const yk::Exception& e) {
        const std::string name = e.name()->utf8();
        textfuzz::require(name == yk::YKRegexException || (name == "NSRangeException" && !rangeFits), "only the search's own exceptions");
    }
    return 0;
}
