#pragma once

// Runs y_strtoll or glibc's strtoll on a text with errno cleared first, for the fuzz target
// that compares the two.

#include <Yarkit/MemoryFunctions.h>

#include <cerrno>
#include <cstdlib>
#include <string>

struct StrtollOutcome {
    long long value;
    const char* end;
    int error;
};

inline StrtollOutcome runStrtoll(long long (*parse)(const char*, char**, int), const std::string& text, int base)
{
    char* end = nullptr;
    errno = 0;
    const long long value = parse(text.c_str(), &end, base);
    return { value, end, errno };
}
