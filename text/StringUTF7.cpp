#include <Yarkit/StringUTF7.h>

#include <Yarkit/Base64.h>
#include <Yarkit/Base64Units.h>
#include <Yarkit/core/values/Exception.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace yk {
namespace {

// Bytes reserved per unit before encoding: enough for kanji and kana in shifted runs (8 bytes
// per 3 units) with their shifts; rarer text makes the data grow once.
constexpr uint64_t reservedBytesPerUnit = 3;

// Units per base64 call: a multiple of 3, so the pieces of a run join without padding in
// between; they encode to 4096 characters.
constexpr uint32_t unitsPerChunk = 1536;
constexpr size_t charactersPerChunk = unitsPerChunk * 2 / 3 * 4;

// Letters, digits, "+" and "/".
constexpr std::array<bool, 256> base64Characters = [] {
    std::array<bool, 256> table {};
    for (int c = 0; c < 256; ++c)
        table[c] = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
    return table;
}();

// Letters, digits, the set D of UTF-7 (' ( ) , - . / : ?), space, tab, CR and LF.
constexpr std::array<bool, 128> directUTF7Characters = [] {
    std::array<bool, 128> table {};
    for (int c = 0; c < 128; ++c)
        table[c] = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    for (char c : std::string_view("'(),-./:? \t\r\n"))
        table[static_cast<uint8_t>(c)] = true;
    return table;
}();

constexpr bool isBase64Character(uint32_t c)
{
    return c < 256 && base64Characters[c];
}

constexpr bool isDirectUTF7(char16_t c)
{
    return c < 128 && directUTF7Characters[c];
}

constexpr bool isPrintableASCII(char16_t c)
{
    return c >= 0x20 && c <= 0x7E;
}

constexpr char16_t fromBigEndian(char16_t unit)
{
    if constexpr (std::endian::native == std::endian::little)
        return static_cast<char16_t>(__builtin_bswap16(unit));
    return unit;
}

// The units in [i, end) from i up to the first one outside 0x20-0x7E or equal to "&", which
// modified UTF-7 writes as they are; their low bytes go to `out`. Returns where it stopped.
uint32_t narrowPrintableRun(const char16_t* units, uint32_t i, uint32_t end, char* out)
{
    char* const start = out - i;
#if defined(__SSE2__)
    const __m128i belowSpace = _mm_set1_epi16(0x1F), delete_ = _mm_set1_epi16(0x7F), ampersand = _mm_set1_epi16('&');
    for (; i + 8 <= end; i += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
        // Signed compares: units from 0x8000 up are negative, so below the space too.
        const __m128i printable = _mm_andnot_si128(_mm_cmpeq_epi16(v, ampersand),
            _mm_and_si128(_mm_cmpgt_epi16(v, belowSpace), _mm_cmplt_epi16(v, delete_)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(start + i), _mm_packus_epi16(v, v));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(printable));
        if (mask != 0xFFFF)
            return i + static_cast<uint32_t>(std::countr_one(mask)) / 2;
    }
#endif
    for (; i < end && isPrintableASCII(units[i]) && units[i] != '&'; ++i)
        start[i] = static_cast<char>(units[i]);
    return i;
}

// Collects the encoders' output in a buffer on the stack and appends it to the data in large
// pieces, so the data is never zero-filled and its bytes are written once.
class Output {
public:
    explicit Output(MutableData& data)
        : _data(data)
    {
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Room for `count` bytes (at most the buffer's size), to be committed after writing.
    char* reserve(size_t count)
    {
        if (_used + count > sizeof _buffer)
            flush();
        return _buffer + _used;
    }
    void commit(size_t count) { _used += count; }
    void put(char c) { *reserve(1) = c, ++_used; }
    void flush()
    {
        _data.appendBytes(_buffer, static_cast<uint32_t>(_used));
        _used = 0;
    }

private:
    MutableData& _data;
    size_t _used { 0 };
    char _buffer[16384];
};

// Writes the base64 text of `count` units in the given alphabet. Raises when the codec's count
// is not ceil(16n / 6).
void encodeRun(const char16_t* units, uint32_t count, Output& output, Base64UnitAlphabet alphabet)
{
    const uint64_t expected = (uint64_t(count) * 16 + 5) / 6;
    uint64_t written = 0;
    for (uint32_t done = 0; done < count;) {
        const uint32_t chunk = std::min(count - done, unitsPerChunk);
        const int32_t chunkWritten = std::max(encodeBase64Units(output.reserve(charactersPerChunk), units + done, chunk, alphabet), 0);
        output.commit(static_cast<size_t>(chunkWritten));
        written += static_cast<uint64_t>(chunkWritten);
        done += chunk;
    }
    if (written != expected) {
        raise(NSInternalInconsistencyException, "*** BASE64-encoded length: %u (%u expected)",
            static_cast<unsigned>(written), static_cast<unsigned>(expected));
    }
}

// Copies units as bytes from `i` while they are written as they are, and returns where it
// stopped. `narrow(units, i, end, out)` copies from i up to end or the first unit that is not,
// and may write up to 8 bytes beyond what it copies.
template <typename Narrow>
uint32_t copyLiteralRun(const char16_t* units, uint32_t i, uint32_t count, Output& output, Narrow narrow)
{
    constexpr uint32_t piece = 1024;
    for (;;) {
        const uint32_t end = std::min(count, i + piece);
        char* out = output.reserve(piece + 8);
        const uint32_t stop = narrow(units, i, end, out);
        output.commit(stop - i);
        if (stop < end || stop == count)
            return stop;
        i = stop;
    }
}

// The units in [i, end) from i up to the first one that UTF-7 does not write as it is; their
// low bytes go to `out`, as narrowPrintableRun does.
uint32_t narrowDirectRun(const char16_t* units, uint32_t i, uint32_t end, char* out)
{
    char* const start = out - i;
#if defined(__SSE2__)
    for (; i + 8 <= end; i += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
        // Signed compares: units from 0x8000 up are negative, so outside every range.
        auto inRange = [v](short low, short high) {
            return _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(static_cast<short>(low - 1))),
                _mm_cmplt_epi16(v, _mm_set1_epi16(static_cast<short>(high + 1))));
        };
        auto is = [v](char c) { return _mm_cmpeq_epi16(v, _mm_set1_epi16(c)); };
        // ' ( ) and , - . / 0-9 : are two ranges; then the letters, ? and the four spaces.
        const __m128i punctuation = _mm_or_si128(inRange('\'', ')'), inRange(',', ':'));
        const __m128i letters = _mm_or_si128(inRange('A', 'Z'), inRange('a', 'z'));
        const __m128i others = _mm_or_si128(_mm_or_si128(is('?'), is(' ')), _mm_or_si128(_mm_or_si128(is('\t'), is('\r')), is('\n')));
        const __m128i direct = _mm_or_si128(_mm_or_si128(punctuation, letters), others);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(start + i), _mm_packus_epi16(v, v));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(direct));
        if (mask != 0xFFFF)
            return i + static_cast<uint32_t>(std::countr_one(mask)) / 2;
    }
#endif
    for (; i < end && isDirectUTF7(units[i]); ++i)
        start[i] = static_cast<char>(units[i]);
    return i;
}

// Encodes the units of string with `encodeUnits(units, count, output)`.
template <typename Encoder>
Ref<MutableData> encodeWith(const String* string, Encoder encodeUnits)
{
    if (!string)
        return nullptr;
    const uint32_t count = string->length();
    auto data = MutableData::dataWithCapacity(static_cast<uint32_t>(std::min<uint64_t>(count * reservedBytesPerUnit, UINT32_MAX)));
    if (!count)
        return data;
    Output output(*data);
    encodeUnits(string->units().data(), count, output);
    output.flush();
    return data;
}

void encodeUTF7Units(const char16_t* units, uint32_t count, Output& output)
{
    for (uint32_t i = 0; i < count;) {
        if (isDirectUTF7(units[i])) {
            if (i && (isBase64Character(units[i]) || units[i] == '-'))
                output.put('-');
            i = copyLiteralRun(units, i, count, output, narrowDirectRun);
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isDirectUTF7(units[end]))
            ++end;
        output.put('+');
        encodeRun(units + i, end - i, output, Base64UnitAlphabet::Standard);
        i = end;
    }
}

void encodeModifiedUTF7Units(const char16_t* units, uint32_t count, Output& output)
{
    for (uint32_t i = 0; i < count;) {
        if (units[i] == '&') {
            char* out = output.reserve(2);
            out[0] = '&';
            out[1] = '-';
            output.commit(2);
            ++i;
            continue;
        }
        if (isPrintableASCII(units[i])) {
            i = copyLiteralRun(units, i, count, output, narrowPrintableRun);
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isPrintableASCII(units[end]))
            ++end;
        output.put('&');
        encodeRun(units + i, end - i, output, Base64UnitAlphabet::MailboxName);
        output.put('-');
        i = end;
    }
}

// Runs from this many characters on, in the standard alphabet, go through the codec's vector
// path, which is faster there than the unit entry.
constexpr uint32_t longRunCharacters = 64;

// Decodes `length` base64 characters into units at `out`; the number of units, or 0 when the
// text is not a positive whole number of units. The room at `out` must hold 3 * length / 4
// bytes, which the decoder may use as scratch space.
uint32_t decodeRun(const char* characters, uint32_t length, char16_t* out, Base64UnitAlphabet alphabet)
{
    const bool mailbox = alphabet == Base64UnitAlphabet::MailboxName;
    if (mailbox || length < longRunCharacters) {
        const int32_t units = decodeBase64Units(out, characters, length, alphabet);
        if (units >= 0)
            return static_cast<uint32_t>(units);
    }
    // The codec's own decoder, whose rules for stray characters decide where the run holds a
    // character outside the alphabet, on the run with "/" for every ",".
    std::string commasReplaced;
    if (mailbox) {
        commasReplaced.assign(characters, length);
        std::replace(commasReplaced.begin(), commasReplaced.end(), ',', '/');
        characters = commasReplaced.data();
    }
    const int32_t bytes = yk_decode_base64_no_pad(reinterpret_cast<uint8_t*>(out), characters, length);
    if (bytes <= 0 || bytes % 2)
        return 0;
    const uint32_t count = static_cast<uint32_t>(bytes) / 2;
    for (uint32_t i = 0; i < count; ++i)
        out[i] = fromBigEndian(out[i]);
    return count;
}

// Widens the bytes before the next `shift` (or the end) to units at out[written]; returns
// where it stopped. The buffer at `out` has room for a unit per byte of `in`, and `written`
// never passes the byte index, so the vector stores stay inside it.
uint32_t copyUnshifted(const char* in, uint32_t i, uint32_t length, char shift, char16_t* out, uint32_t& written)
{
#if defined(__SSE2__)
    const __m128i shifts = _mm_set1_epi8(shift), zero = _mm_setzero_si128();
    for (; i + 16 <= length; i += 16, written += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written + 8), _mm_unpackhi_epi8(bytes, zero));
        if (const unsigned found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, shifts)))) {
            const auto before = static_cast<uint32_t>(std::countr_zero(found));
            written += before;
            return i + before;
        }
    }
#endif
    const void* found = std::memchr(in + i, shift, length - i);
    const uint32_t end = found ? static_cast<uint32_t>(static_cast<const char*>(found) - in) : length;
    for (uint32_t j = i; j < end; ++j)
        out[written++] = static_cast<uint8_t>(in[j]);
    return end;
}

// Where the base64 characters from `i` end (a letter, digit, "+" or "/" each), sixteen bytes at
// a time where the processor can.
uint32_t base64RunEnd(const char* in, uint32_t i, uint32_t length)
{
#if defined(__SSE2__)
    for (; i + 16 <= length; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        // Signed compares: bytes from 0x80 up are negative, so outside every range.
        auto inRange = [v](char low, char high) {
            return _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(static_cast<char>(low - 1))),
                _mm_cmplt_epi8(v, _mm_set1_epi8(static_cast<char>(high + 1))));
        };
        const __m128i base64 = _mm_or_si128(_mm_or_si128(inRange('A', 'Z'), inRange('a', 'z')),
            _mm_or_si128(inRange('/', '9'), _mm_cmpeq_epi8(v, _mm_set1_epi8('+'))));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(base64));
        if (mask != 0xFFFF)
            return i + static_cast<uint32_t>(std::countr_one(mask));
    }
#endif
    while (i < length && isBase64Character(static_cast<uint8_t>(in[i])))
        ++i;
    return i;
}

// Room for one unit per byte: no byte decodes to more than one unit, and a shifted run's bytes
// (3 per 4 characters) fit in the units its characters would have taken.
std::u16string unitBufferFor(uint32_t length)
{
    std::u16string units;
    units.resize(length);
    return units;
}

Ref<String> stringTakingUnits(std::u16string units, uint32_t count)
{
    units.resize(count);
    return make<String>(std::move(units));
}

} // namespace

Ref<MutableData> encodeUTF7Data(const String* string)
{
    return encodeWith(string, encodeUTF7Units);
}

Ref<Data> UTF7Data(const String* string)
{
    return encodeUTF7Data(string);
}

std::string UTF7String(const String* string)
{
    auto data = encodeUTF7Data(string);
    return data ? std::string(data->stringView()) : std::string();
}

Ref<MutableData> encodeModifiedUTF7Data(const String* string)
{
    return encodeWith(string, encodeModifiedUTF7Units);
}

Ref<Data> modifiedUTF7Data(const String* string)
{
    return encodeModifiedUTF7Data(string);
}

std::string modifiedUTF7String(const String* string)
{
    auto data = encodeModifiedUTF7Data(string);
    return data ? std::string(data->stringView()) : std::string();
}

Ref<String> stringWithUTF7Bytes(const void* bytes, uint32_t length)
{
    const char* in = static_cast<const char*>(bytes);
    std::u16string units = unitBufferFor(length);
    uint32_t out = 0;
    for (uint32_t i = 0; i < length;) {
        i = copyUnshifted(in, i, length, '+', units.data(), out);
        if (i == length)
            break;
        const uint8_t next = i + 1 < length ? static_cast<uint8_t>(in[i + 1]) : 0;
        if (next == '-') {
            units[out++] = '+';
            i += 2;
            continue;
        }
        const uint32_t end = base64RunEnd(in, i + 1, length);
        const uint32_t count = end > i + 1 ? decodeRun(in + i + 1, end - i - 1, &units[out], Base64UnitAlphabet::Standard) : 0;
        if (!count) {
            units[out++] = '+';
            ++i;
            continue;
        }
        out += count;
        i = end < length && in[end] == '-' ? end + 1 : end;
    }
    return stringTakingUnits(std::move(units), out);
}

Ref<String> stringWithUTF7String(const char* string)
{
    return stringWithUTF7Bytes(string, string ? static_cast<uint32_t>(std::strlen(string)) : 0);
}

Ref<String> stringWithModifiedUTF7Bytes(const void* bytes, uint32_t length)
{
    const char* in = static_cast<const char*>(bytes);
    std::u16string units = unitBufferFor(length);
    // Where the next "-" at or after a position is; `length` when there is none, which stays
    // true for every later position, so a run of "&" without a closing "-" is scanned once.
    const char* dash = nullptr;
    uint32_t out = 0;
    for (uint32_t i = 0; i < length;) {
        i = copyUnshifted(in, i, length, '&', units.data(), out);
        if (i == length)
            break;
        if (i + 1 < length && in[i + 1] == '-') {
            units[out++] = '&';
            i += 2;
            continue;
        }
        if (!dash || (dash != in + length && dash <= in + i)) {
            dash = static_cast<const char*>(std::memchr(in + i + 1, '-', length - i - 1));
            if (!dash)
                dash = in + length;
        }
        uint32_t count = 0;
        if (dash != in + length)
            count = decodeRun(in + i + 1, static_cast<uint32_t>(dash - (in + i + 1)), &units[out], Base64UnitAlphabet::MailboxName);
        if (!count) {
            units[out++] = '&';
            ++i;
            continue;
        }
        out += count;
        i = static_cast<uint32_t>(dash - in) + 1;
    }
    return stringTakingUnits(std::move(units), out);
}

Ref<String> stringWithModifiedUTF7String(const char* string)
{
    return stringWithModifiedUTF7Bytes(string, string ? static_cast<uint32_t>(std::strlen(string)) : 0);
}

} // namespace yk
