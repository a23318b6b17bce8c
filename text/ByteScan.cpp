#include "text/ByteScan.h"

#include <cstring>

namespace yk::detail {
namespace {

constexpr uint8_t escape = 0x1B;

constexpr uint64_t highBits = 0x8080808080808080ull;
constexpr uint64_t lowBits = 0x0101010101010101ull;

uint64_t load64(const uint8_t* bytes)
{
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

size_t portableFindHighByte(const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 8 && !(load64(bytes + from) & highBits))
        from += 8;
    return findHighByteTail(bytes, from, length);
}

// The zero-byte test may flag bytes above a true match, never miss one; the byte loop after it
// finds the exact index.
size_t portableFindHighByteOrEscape(const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 8) {
        uint64_t word = load64(bytes + from);
        uint64_t escapes = word ^ (lowBits * escape);
        if ((word | ((escapes - lowBits) & ~escapes)) & highBits)
            break;
        from += 8;
    }
    return findHighByteOrEscapeTail(bytes, from, length);
}

size_t portableASCIIPrefix(const uint8_t* bytes, size_t length)
{
    return portableFindHighByte(bytes, 0, length);
}


constexpr ByteScanner portableScanner { "portable", portableFindHighByte,
    portableFindHighByteOrEscape, portableASCIIPrefix, portableASCIIPrefix, portableASCIIPrefix };

const ByteScanner& chooseByteScanner()
{
    auto scanners = availableByteScanners();
    return *scanners.back();
}

} // namespace

const ByteScanner& portableByteScanner()
{
    return portableScanner;
}

std::vector<const ByteScanner*> availableByteScanners()
{
    std::vector<const ByteScanner*> scanners { &portableScanner };
#if defined(__x86_64__)
    for (const ByteScanner* scanner : { sse2ByteScanner(), avx2ByteScanner() }) {
        if (scanner)
            scanners.push_back(scanner);
    }
#endif
    return scanners;
}

const ByteScanner& activeByteScanner()
{
    static const ByteScanner& scanner = chooseByteScanner();
    return scanner;
}

} // namespace yk::detail
