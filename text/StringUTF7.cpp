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

#include "text/UTF7Paths.h"

namespace yk {
namespace {

// Bytes reserved per unit before encoding: enough for kanji and kana in shifted runs (8 bytes
// per 3 units) with their shifts; rarer text makes the data grow once.
constexpr uint64_t reservedBytesPerUnit = 3;

// Units per piece of a long shifted run: a multiple of 3, so the pieces join without padding
// in between; a piece encodes to at most 4096 characters.
constexpr uint32_t unitsPerPiece = 1536;

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

// The direct units before which "-" closes a shifted run: base64 characters and "-".
constexpr std::array<uint8_t, 128> dashBefore = [] {
    std::array<uint8_t, 128> table {};
    for (int c = 0; c < 128; ++c)
        table[c] = base64Characters[c] || c == '-';
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

// The encoders' output: a buffer on the stack, appended to the data whenever its free room falls
// below what one step of the encoding loop may write (a block of 16 bytes, or a piece of a
// shifted run with its shift and closing characters). The data is never zero-filled, and the
// loop checks the room once per step.
class Output {
public:
    explicit Output(MutableData& data)
        : _data(data)
    {
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    char* begin() { return _buffer; }
    // Where a step may start; beyond it, flush first.
    const char* limit() const { return _buffer + sizeof _buffer - stepRoom; }
    // Appends the bytes before `end` to the data and returns where writing resumes.
    char* flush(char* end)
    {
        _data.appendBytes(_buffer, static_cast<uint32_t>(end - _buffer));
        return _buffer;
    }

private:
    static constexpr size_t stepRoom = unitsPerPiece / 3 * 8 + 16;

    MutableData& _data;
    char _buffer[16384];
};

// Writes the base64 text of a shifted run of `count` units (at least one), flushing between the
// pieces of a long run. Raises when the codec's count is not ceil(16n / 6).
char* writeShiftedRun(const char16_t* units, uint32_t count, char* out, Output& output, Base64UnitAlphabet alphabet)
{
    const uint64_t expected = (uint64_t { count } * 16 + 5) / 6;
    uint64_t written = 0;
    for (;;) {
        const uint32_t piece = std::min(count, unitsPerPiece);
        const auto pieceWritten = static_cast<uint32_t>(std::max(encodeBase64Units(out, units, piece, alphabet), 0));
        out += pieceWritten;
        written += pieceWritten;
        units += piece;
        count -= piece;
        if (!count)
            break;
        if (out > output.limit())
            out = output.flush(out);
    }
    if (written != expected) {
        raise(NSInternalInconsistencyException, "*** BASE64-encoded length: %u (%u expected)",
            static_cast<unsigned>(written), static_cast<unsigned>(expected));
    }
    return out;
}

#if defined(__SSE2__)
// Sixteen units as bytes. Units from 0x100 up become 0xFF or 0x00, which no form writes as they
// are or takes as the end of a shifted run, so the bytes classify the units exactly.
inline __m128i narrow16(const char16_t* units)
{
    return _mm_packus_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units)),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 8)));
}

// Signed compares: bytes from 0x80 up are negative, so outside every range.
inline __m128i bytesInRange(__m128i bytes, char low, char high)
{
    return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(static_cast<char>(low - 1))),
        _mm_cmplt_epi8(bytes, _mm_set1_epi8(static_cast<char>(high + 1))));
}

inline __m128i bytesEqual(__m128i bytes, char c)
{
    return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c));
}

inline unsigned maskOf(__m128i bytes)
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}
#endif

// A bit per unit of a block of 16: whether it is written as it is, and whether it ends a
// shifted run.
struct BlockMasks {
    unsigned literal;
    unsigned endsRun;
};

// UTF-7: direct units are written as they are; any other starts a shifted run, which the next
// direct unit ends, with "-" before it where it is a base64 character or "-". The last run
// stays open.
struct UTF7Form {
    static constexpr char shift = '+';
    static constexpr Base64UnitAlphabet alphabet = Base64UnitAlphabet::Standard;
    static constexpr bool escapesShift = false;

    static bool isLiteral(char16_t c) { return isDirectUTF7(c); }
    static bool endsRun(char16_t c) { return isDirectUTF7(c); }
    static char* close(char* out, const char16_t* units, uint32_t next, uint32_t count)
    {
        if (next < count) {
            *out = '-';
            out += dashBefore[units[next]];
        }
        return out;
    }
#if defined(__SSE2__)
    static BlockMasks masks(__m128i bytes)
    {
        // Letters either case, ' ( ), and , - . / 0-9 :, then ? and the four spaces.
        const __m128i letters = bytesInRange(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), 'a', 'z');
        const __m128i punctuation = _mm_or_si128(bytesInRange(bytes, '\'', ')'), bytesInRange(bytes, ',', ':'));
        const __m128i spaces = _mm_or_si128(_mm_or_si128(bytesInRange(bytes, '\t', '\n'), bytesEqual(bytes, '\r')),
            _mm_or_si128(bytesEqual(bytes, ' '), bytesEqual(bytes, '?')));
        const unsigned direct = maskOf(_mm_or_si128(_mm_or_si128(letters, punctuation), spaces));
        return { direct, direct };
    }
#endif
};

// Modified UTF-7: printable units are written as they are, "&" as "&-"; a shifted run ends at
// the next printable unit and is always closed by "-".
struct ModifiedUTF7Form {
    static constexpr char shift = '&';
    static constexpr Base64UnitAlphabet alphabet = Base64UnitAlphabet::MailboxName;
    static constexpr bool escapesShift = true;

    static bool isLiteral(char16_t c) { return isPrintableASCII(c) && c != '&'; }
    static bool endsRun(char16_t c) { return isPrintableASCII(c); }
    static char* close(char* out, const char16_t*, uint32_t, uint32_t)
    {
        *out = '-';
        return out + 1;
    }
#if defined(__SSE2__)
    static BlockMasks masks(__m128i bytes)
    {
        const __m128i printable = bytesInRange(bytes, 0x20, 0x7E);
        return { maskOf(_mm_andnot_si128(bytesEqual(bytes, '&'), printable)), maskOf(printable) };
    }
#endif
};

// Where the shifted run that reaches `j` ends: the first unit from j that ends it, or `count`.
template <typename Form, bool vector>
uint32_t shiftedRunEnd(const char16_t* units, uint32_t j, uint32_t count)
{
#if defined(__SSE2__)
    for (; vector && count - j >= 16; j += 16) {
        if (const unsigned ends = Form::masks(narrow16(units + j)).endsRun)
            return j + static_cast<uint32_t>(std::countr_zero(ends));
    }
#endif
    while (j < count && !Form::endsRun(units[j]))
        ++j;
    return j;
}

// The encoding loop of both forms. Without `vector` it takes a unit at a time, as the forms
// describe it: the portable path. With it, where 16 units remain it classifies them at once,
// stores their bytes, keeps those that are written as they are, and finds the end of a shifted
// run from the same block; the bytes written are the same.
template <typename Form, bool vector>
void encodeUnits(const char16_t* units, uint32_t count, Output& output)
{
    char* out = output.begin();
    for (uint32_t i = 0; i < count;) {
        if (out > output.limit())
            out = output.flush(out);
        uint32_t end;
#if defined(__SSE2__)
        if (vector && count - i >= 16) {
            const __m128i bytes = narrow16(units + i);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
            const BlockMasks masks = Form::masks(bytes);
            if (masks.literal == 0xFFFF) {
                i += 16;
                out += 16;
                continue;
            }
            const auto literal = static_cast<uint32_t>(std::countr_one(masks.literal));
            i += literal;
            out += literal;
            const unsigned ends = masks.endsRun >> literal;
            if (Form::escapesShift && (ends & 1)) {
                *out++ = Form::shift;
                *out++ = '-';
                ++i;
                continue;
            }
            end = ends ? i + static_cast<uint32_t>(std::countr_zero(ends)) : shiftedRunEnd<Form, vector>(units, i - literal + 16, count);
        } else
#endif
        {
            if (Form::isLiteral(units[i])) {
                *out++ = static_cast<char>(units[i++]);
                continue;
            }
            if (Form::escapesShift && Form::endsRun(units[i])) {
                *out++ = Form::shift;
                *out++ = '-';
                ++i;
                continue;
            }
            end = shiftedRunEnd<Form, vector>(units, i + 1, count);
        }
        *out++ = Form::shift;
        out = writeShiftedRun(units + i, end - i, out, output, Form::alphabet);
        i = end;
        out = Form::close(out, units, i, count);
    }
    output.flush(out);
}

#if defined(__SSE2__)
constexpr bool hasVectorPath = true;
#else
constexpr bool hasVectorPath = false;
#endif

// Encodes the units of string in `Form` along `path`.
template <typename Form>
Ref<MutableData> encodeWith(const String* string, detail::UTF7Path path)
{
    if (!string)
        return nullptr;
    const uint32_t count = string->length();
    auto data = MutableData::dataWithCapacity(static_cast<uint32_t>(std::min<uint64_t>(count * reservedBytesPerUnit, UINT32_MAX)));
    if (!count)
        return data;
    Output output(*data);
    if (path == detail::UTF7Path::Vector && hasVectorPath)
        encodeUnits<Form, true>(string->units().data(), count, output);
    else
        encodeUnits<Form, false>(string->units().data(), count, output);
    return data;
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

// Where the base64 characters from `i` end (a letter, digit, "+" or "/" each, and "," too with
// `commas`), sixteen bytes at a time where the processor can.
template <bool commas>
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
        __m128i base64 = _mm_or_si128(_mm_or_si128(inRange('A', 'Z'), inRange('a', 'z')),
            _mm_or_si128(inRange('/', '9'), _mm_cmpeq_epi8(v, _mm_set1_epi8('+'))));
        if (commas)
            base64 = _mm_or_si128(base64, _mm_cmpeq_epi8(v, _mm_set1_epi8(',')));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(base64));
        if (mask != 0xFFFF)
            return i + static_cast<uint32_t>(std::countr_one(mask));
    }
#endif
    while (i < length && (isBase64Character(static_cast<uint8_t>(in[i])) || (commas && in[i] == ',')))
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

namespace detail {

Ref<MutableData> encodeUTF7Using(UTF7Path path, const String* string)
{
    return encodeWith<UTF7Form>(string, path);
}

Ref<MutableData> encodeModifiedUTF7Using(UTF7Path path, const String* string)
{
    return encodeWith<ModifiedUTF7Form>(string, path);
}

} // namespace detail

Ref<MutableData> encodeUTF7Data(const String* string)
{
    return encodeWith<UTF7Form>(string, detail::UTF7Path::Vector);
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
    return encodeWith<ModifiedUTF7Form>(string, detail::UTF7Path::Vector);
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
        const uint32_t end = base64RunEnd<false>(in, i + 1, length);
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
        // The run's closing "-": found at once when only alphabet characters come before it.
        const uint32_t alphabetEnd = base64RunEnd<true>(in, i + 1, length);
        const char* close = in + alphabetEnd;
        if (alphabetEnd == length || *close != '-') {
            if (!dash || (dash != in + length && dash <= in + i)) {
                dash = static_cast<const char*>(std::memchr(in + i + 1, '-', length - i - 1));
                if (!dash)
                    dash = in + length;
            }
            close = dash;
        }
        uint32_t count = 0;
        if (close != in + length)
            count = decodeRun(in + i + 1, static_cast<uint32_t>(close - (in + i + 1)), &units[out], Base64UnitAlphabet::MailboxName);
        if (!count) {
            units[out++] = '&';
            ++i;
            continue;
        }
        out += count;
        i = static_cast<uint32_t>(close - in) + 1;
    }
    return stringTakingUnits(std::move(units), out);
}

Ref<String> stringWithModifiedUTF7String(const char* string)
{
    return stringWithModifiedUTF7Bytes(string, string ? static_cast<uint32_t>(std::strlen(string)) : 0);
}

} // namespace yk
