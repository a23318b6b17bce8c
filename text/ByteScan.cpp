#include "text/ByteScan.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define YK_HAVE_X86_SCANNERS 1
#endif

namespace yk::detail {
namespace {

constexpr uint64_t highBits = 0x8080808080808080ull;
constexpr uint64_t lowBits = 0x0101010101010101ull;
constexpr uint8_t escape = 0x1B;

uint64_t load64(const uint8_t* bytes)
{
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

size_t findHighByteTail(const uint8_t* bytes, size_t from, size_t length)
{
    while (from < length && bytes[from] < 0x80)
        ++from;
    return from;
}

size_t findHighByteOrEscapeTail(const uint8_t* bytes, size_t from, size_t length)
{
    while (from < length && bytes[from] < 0x80 && bytes[from] != escape)
        ++from;
    return from;
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

#ifdef YK_HAVE_X86_SCANNERS

size_t sse2FindHighByte(const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + from));
        if (int mask = _mm_movemask_epi8(block))
            return from + __builtin_ctz(static_cast<unsigned>(mask));
        from += 16;
    }
    return findHighByteTail(bytes, from, length);
}

size_t sse2FindHighByteOrEscape(const uint8_t* bytes, size_t from, size_t length)
{
    const __m128i escapes = _mm_set1_epi8(escape);
    while (length - from >= 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + from));
        __m128i hits = _mm_or_si128(block, _mm_cmpeq_epi8(block, escapes));
        if (int mask = _mm_movemask_epi8(hits))
            return from + __builtin_ctz(static_cast<unsigned>(mask));
        from += 16;
    }
    return findHighByteOrEscapeTail(bytes, from, length);
}

__attribute__((target("avx2"))) size_t avx2FindHighByte(
    const uint8_t* bytes, size_t from, size_t length)
{
    while (length - from >= 64) {
        __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from + 32));
        if (!_mm256_movemask_epi8(_mm256_or_si256(first, second))) {
            from += 64;
            continue;
        }
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(first)))
            return from + __builtin_ctz(mask);
        return from + 32 + __builtin_ctz(static_cast<unsigned>(_mm256_movemask_epi8(second)));
    }
    while (length - from >= 32) {
        __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(block)))
            return from + __builtin_ctz(mask);
        from += 32;
    }
    return findHighByteTail(bytes, from, length);
}

__attribute__((target("avx2"))) size_t avx2FindHighByteOrEscape(
    const uint8_t* bytes, size_t from, size_t length)
{
    const __m256i escapes = _mm256_set1_epi8(escape);
    while (length - from >= 32) {
        __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + from));
        __m256i hits = _mm256_or_si256(block, _mm256_cmpeq_epi8(block, escapes));
        if (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(hits)))
            return from + __builtin_ctz(mask);
        from += 32;
    }
    return findHighByteOrEscapeTail(bytes, from, length);
}

constexpr ByteScanner sse2Scanner { "sse2", sse2FindHighByte, sse2FindHighByteOrEscape };
constexpr ByteScanner avx2Scanner { "avx2", avx2FindHighByte, avx2FindHighByteOrEscape };

bool cpuHasSSE2()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse2");
}

bool cpuHasAVX2()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

#endif

constexpr ByteScanner portableScanner { "portable", portableFindHighByte,
    portableFindHighByteOrEscape };

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
#ifdef YK_HAVE_X86_SCANNERS
    if (cpuHasSSE2())
        scanners.push_back(&sse2Scanner);
    if (cpuHasAVX2())
        scanners.push_back(&avx2Scanner);
#endif
    return scanners;
}

const ByteScanner& activeByteScanner()
{
    static const ByteScanner& scanner = chooseByteScanner();
    return scanner;
}

} // namespace yk::detail
