#include <Yarkit/ByteSearch.h>

#include <cstring>

#include <Yarkit/core/runtime/Range.h>

namespace {

// Indices are 32-bit; a position is always below `length`, so the narrowing is exact.
uint32_t indexOf(const void* position, const void* start)
{
    return static_cast<uint32_t>(static_cast<const unsigned char*>(position) - static_cast<const unsigned char*>(start));
}

template<typename Test>
uint32_t scan(const unsigned char* bytes, uint32_t length, bool forward, Test test)
{
    if (forward) {
        for (uint32_t i = 0; i < length; ++i) {
            if (test(bytes[i]))
                return i;
        }
        return yk::NotFound;
    }
    for (uint32_t i = length; i-- > 0;) {
        if (test(bytes[i]))
            return i;
    }
    return yk::NotFound;
}

} // namespace

extern "C" {

uint32_t YIndexOfCharacter(const void* bytes, uint32_t length, unsigned char c, int wanted, bool forward)
{
    if (!bytes || !length)
        return yk::NotFound;
    if (wanted == 1) {
        // The common search for one byte: the C library's vector scans.
        const void* found = forward ? std::memchr(bytes, c, length) : memrchr(bytes, c, length);
        return found ? indexOf(found, bytes) : yk::NotFound;
    }
    auto* data = static_cast<const unsigned char*>(bytes);
    return scan(data, length, forward, [c, wanted](unsigned char byte) { return (byte == c) == wanted; });
}

uint32_t YIndexOfCharacterUsingFunction(const void* bytes, uint32_t length, YByteClassFunction function,
    int wanted, bool forward)
{
    if (!bytes || !length || !function)
        return yk::NotFound;
    auto* data = static_cast<const unsigned char*>(bytes);
    return scan(data, length, forward, [function, wanted](unsigned char byte) { return function(byte) == wanted; });
}

bool YStartsWithBytes(const void* bytes, uint32_t length, const void* pattern, uint32_t patternLength, bool atStart)
{
    if (!bytes || !length || !pattern || !patternLength || patternLength > length)
        return false;
    auto* data = static_cast<const unsigned char*>(bytes);
    const unsigned char* compared = atStart ? data : data + (length - patternLength);
    return std::memcmp(compared, pattern, patternLength) == 0;
}

} // extern "C"
