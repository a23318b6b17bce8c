#include "streams/InPlaceSource.h"

#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include "core/system/CPUFeatures.h"

namespace yk::detail {

InPlaceSource InPlaceSource::find(YStream* stream)
{
    InPlaceSource source;
    if (!stream)
        return source;
    Class* cls = stream->classObject();
    if (cls == YPushbackInputStream::staticClass()) {
        source._pushback = static_cast<YPushbackInputStream*>(stream);
        stream = source._pushback->stream();
        if (!stream)
            return {};
        cls = stream->classObject();
    }
    source._source = stream;
    if (cls == YBufferedInputStream::staticClass()) {
        auto* buffered = static_cast<YBufferedInputStream*>(stream);
        if (buffered->_bufferSize > 1 && buffered->_buffer)
            source._buffered = buffered;
    } else if (cls == YDataInputStream::staticClass())
        source._data = static_cast<YDataInputStream*>(stream);
    return source;
}

bool InPlaceSource::refill()
{
    return _buffered && _buffered->refillBuffer();
}

namespace {

const uint8_t* findLineBreakBytewise(const uint8_t* next, const uint8_t* end)
{
    for (; next < end; ++next) {
        if (*next == '\r' || *next == '\n')
            return next;
    }
    return nullptr;
}

#ifdef __x86_64__
__attribute__((target("avx2"))) const uint8_t* findLineBreakAVX2(const uint8_t* next, const uint8_t* end)
{
    const __m256i cr = _mm256_set1_epi8('\r');
    const __m256i lf = _mm256_set1_epi8('\n');
    for (; end - next >= 32; next += 32) {
        __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(next));
        auto mask = static_cast<unsigned>(_mm256_movemask_epi8(_mm256_or_si256(_mm256_cmpeq_epi8(block, cr), _mm256_cmpeq_epi8(block, lf))));
        if (mask)
            return next + __builtin_ctz(mask);
    }
    return findLineBreakBytewise(next, end);
}
#endif

} // namespace

const uint8_t* findLineBreak(std::span<const uint8_t> bytes)
{
    const uint8_t* next = bytes.data();
    const uint8_t* end = next + bytes.size();
#ifdef __x86_64__
    static const bool avx2 = cpuFeatures().avx2;
    if (avx2)
        return findLineBreakAVX2(next, end);
#endif
#ifdef __SSE2__
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i lf = _mm_set1_epi8('\n');
    for (; end - next >= 16; next += 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(next));
        int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, cr), _mm_cmpeq_epi8(block, lf)));
        if (mask)
            return next + __builtin_ctz(static_cast<unsigned>(mask));
    }
#endif
    return findLineBreakBytewise(next, end);
}

} // namespace yk::detail
