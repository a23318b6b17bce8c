#include "streams/InPlaceSource.h"

#include <algorithm>
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

bool InPlaceSource::rejoinPushedBack()
{
    if (!_pushback || _pushback->stream() != _source || _pushback->_bufferSize - _pushback->_pos != 1)
        return false;
    uint8_t pushedBack = _pushback->_buffer[_pushback->_pos];
    if (_buffered) {
        if (!_buffered->_pos || _buffered->_buffer[_buffered->_pos - 1] != pushedBack)
            return false;
        --_buffered->_pos;
    } else {
        if (_data->_cursor <= _data->_offset || _data->_cursor > _data->_length || _data->_bytes[_data->_cursor - 1] != pushedBack)
            return false;
        --_data->_cursor;
    }
    ++_pushback->_pos;
    return true;
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

// Where AVX2 is missing: the scan, then one copy.
const uint8_t* copyThroughLineBreakPortable(const uint8_t* next, const uint8_t* end, uint8_t* to)
{
    const uint8_t* lineBreak = findLineBreak({ next, end });
    if (next != end)
        std::memcpy(to, next, static_cast<size_t>((lineBreak ? lineBreak + 1 : end) - next));
    return lineBreak;
}

#ifdef __x86_64__
// Copies 32 bytes and answers the mask of their CRs and LFs.
__attribute__((target("avx2"))) inline unsigned copyBlockAVX2(const uint8_t* from, uint8_t* into)
{
    __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(into), block);
    __m256i breaks = _mm256_or_si256(_mm256_cmpeq_epi8(block, _mm256_set1_epi8('\r')), _mm256_cmpeq_epi8(block, _mm256_set1_epi8('\n')));
    return static_cast<unsigned>(_mm256_movemask_epi8(breaks));
}

// The block loop ends with one block that overlaps the last one scanned (whose bytes held no
// break), so that only a range shorter than a block is left to the portable path.
__attribute__((target("avx2"))) const uint8_t* copyThroughLineBreakAVX2(const uint8_t* next, const uint8_t* end, uint8_t* to)
{
    if (end - next < 32)
        return copyThroughLineBreakPortable(next, end, to);
    const uint8_t* last = end - 32;
    for (; next < last; next += 32, to += 32) {
        if (unsigned mask = copyBlockAVX2(next, to))
            return next + __builtin_ctz(mask);
    }
    unsigned mask = copyBlockAVX2(last, to - (next - last));
    return mask ? last + __builtin_ctz(mask) : nullptr;
}

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

CopyThroughLineBreak chooseCopyThroughLineBreak()
{
#ifdef __x86_64__
    if (cpuFeatures().avx2)
        return copyThroughLineBreakAVX2;
#endif
    return copyThroughLineBreakPortable;
}

} // namespace

const CopyThroughLineBreak copyThroughLineBreak = chooseCopyThroughLineBreak();

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
