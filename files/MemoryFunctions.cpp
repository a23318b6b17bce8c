#include <Yarkit/MemoryFunctions.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include "files/SubstringSearch.h"

extern "C" {

void* y_memrchr(const void* buffer, int byte, size_t length)
{
    if (!buffer || !length)
        return nullptr;
    return const_cast<void*>(memrchr(buffer, byte, length));
}

void* y_memmem(const void* haystack, size_t haystackLength, const void* needle, size_t needleLength)
{
    if (!haystack || !haystackLength || !needle || !needleLength || needleLength > haystackLength)
        return nullptr;
    return const_cast<uint8_t*>(yk::detail::findFirst(static_cast<const uint8_t*>(haystack), haystackLength,
        static_cast<const uint8_t*>(needle), needleLength));
}

void* y_memrmem(const void* haystack, size_t haystackLength, const void* needle, size_t needleLength)
{
    if (!haystack || !haystackLength || !needle || !needleLength || needleLength > haystackLength)
        return nullptr;
    const auto* start = static_cast<const uint8_t*>(haystack);
    const auto* pattern = static_cast<const uint8_t*>(needle);
    // Candidates are the positions where the whole needle still fits.
    size_t candidates = haystackLength - needleLength + 1;
    while (candidates) {
        const void* found = memrchr(start, pattern[0], candidates);
        if (!found)
            return nullptr;
        const auto* position = static_cast<const uint8_t*>(found);
        if (std::memcmp(position, pattern, needleLength) == 0)
            return const_cast<uint8_t*>(position);
        candidates = static_cast<size_t>(position - start);
    }
    return nullptr;
}

} // extern "C"

namespace {

bool isSpace(unsigned char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isHexDigit(unsigned char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The value of an ASCII digit or letter, or 36 (never a valid digit) for anything else.
int digitValue(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return 36;
}

} // namespace

extern "C" long long y_strtoll(const char* string, char** endPointer, int base)
{
    const auto* s = reinterpret_cast<const unsigned char*>(string);
    while (isSpace(*s))
        ++s;
    bool negative = false;
    if (*s == '-' || *s == '+')
        negative = *s++ == '-';
    if ((base == 0 || base == 16) && s[0] == '0' && (s[1] == 'x' || s[1] == 'X') && isHexDigit(s[2])) {
        s += 2;
        base = 16;
    }
    if (base == 0)
        base = *s == '0' ? 8 : 10;

    bool anyDigits = false;
    bool overflow = false;
    unsigned long long value = 0;
    if (base >= 2 && base <= 36) {
        // Accumulate the magnitude; the negative range is one larger than the positive one.
        const unsigned long long limit = negative ? 1ULL << 63 : (1ULL << 63) - 1;
        const unsigned long long cutoff = limit / static_cast<unsigned>(base);
        const int cutoffDigit = static_cast<int>(limit % static_cast<unsigned>(base));
        for (int digit; (digit = digitValue(*s)) < base; ++s) {
            anyDigits = true;
            if (overflow || value > cutoff || (value == cutoff && digit > cutoffDigit)) {
                overflow = true;
                continue;
            }
            value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        }
    }

    if (endPointer)
        *endPointer = const_cast<char*>(anyDigits ? reinterpret_cast<const char*>(s) : string);
    if (!anyDigits) {
        errno = EINVAL;
        return 0;
    }
    if (overflow) {
        errno = ERANGE;
        return negative ? LLONG_MIN : LLONG_MAX;
    }
    return negative ? static_cast<long long>(0 - value) : static_cast<long long>(value);
}
