// The date command's WHEN reader on arbitrary text: never crashes, and what it accepts is a
// finite number of seconds; an RFC 3339 text that glibc's strptime and timegm read the same way
// gives the same second.
#include "tools/DateArguments.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    auto moment = yk::tool::parseMoment(text);
    if (!moment)
        return 0;
    if (!std::isfinite(*moment) && text[0] != '@')
        std::abort();
    if (text.size() == 20 && text[19] == 'Z' && text[10] == 'T') {
        struct tm fields {};
        const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &fields);
        if (end && !*end && fields.tm_sec < 60 && static_cast<double>(timegm(&fields)) != *moment)
            std::abort();
    }
    return 0;
}
