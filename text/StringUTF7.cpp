#include <Yarkit/StringUTF7.h>

#include <Yarkit/Base64.h>
#include <Yarkit/core/values/Exception.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

namespace yk {
namespace {

// Bytes reserved per unit before encoding: enough for kanji and kana in shifted runs (8 bytes
// per 3 units) with their shifts; rarer text makes the data grow once.
constexpr uint64_t reservedBytesPerUnit = 3;

// Units per base64 call: 3072 bytes, a multiple of 3, so the pieces of a run join without
// padding in between; they encode to 4096 characters.
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

// Writes the base64 text of `count` units, big-endian, unpadded, with "," for "/" when asked.
// Raises when the codec's count is not ceil(16n / 6).
void encodeRun(const char16_t* units, uint32_t count, Output& output, bool commaForSlash)
{
    const uint64_t expected = (uint64_t(count) * 16 + 5) / 6;
    uint8_t bigEndian[unitsPerChunk * 2];
    uint64_t written = 0;
    for (uint32_t done = 0; done < count;) {
        const uint32_t chunk = std::min(count - done, unitsPerChunk);
        for (uint32_t i = 0; i < chunk; ++i) {
            bigEndian[2 * i] = static_cast<uint8_t>(units[done + i] >> 8);
            bigEndian[2 * i + 1] = static_cast<uint8_t>(units[done + i]);
        }
        char* out = output.reserve(charactersPerChunk);
        const int32_t chunkWritten = std::max(yk_encode_base64_no_pad(out, bigEndian, chunk * 2, -1), 0);
        if (commaForSlash)
            std::replace(out, out + chunkWritten, '/', ',');
        output.commit(static_cast<size_t>(chunkWritten));
        written += static_cast<uint64_t>(chunkWritten);
        done += chunk;
    }
    if (written != expected) {
        raise(NSInternalInconsistencyException, "*** BASE64-encoded length: %u (%u expected)",
            static_cast<unsigned>(written), static_cast<unsigned>(expected));
    }
}

// Copies units as bytes from `i` while `isLiteral` holds, and returns where it stopped.
template <typename IsLiteral>
uint32_t copyLiteralRun(const char16_t* units, uint32_t i, uint32_t count, Output& output, IsLiteral isLiteral)
{
    constexpr size_t piece = 1024;
    while (i < count && isLiteral(units[i])) {
        char* out = output.reserve(piece);
        size_t written = 0;
        for (; written < piece && i < count && isLiteral(units[i]); ++i)
            out[written++] = static_cast<char>(units[i]);
        output.commit(written);
    }
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
            i = copyLiteralRun(units, i, count, output, isDirectUTF7);
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isDirectUTF7(units[end]))
            ++end;
        output.put('+');
        encodeRun(units + i, end - i, output, false);
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
            i = copyLiteralRun(units, i, count, output, [](char16_t c) { return isPrintableASCII(c) && c != '&'; });
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isPrintableASCII(units[end]))
            ++end;
        output.put('&');
        encodeRun(units + i, end - i, output, true);
        output.put('-');
        i = end;
    }
}

// Decodes `length` base64 characters into units at `out`; the number of units, or 0 when the
// text is not a positive whole number of units. The room at `out` must hold 3 * length / 4
// bytes, which the decoder may use as scratch space.
uint32_t decodeRun(const char* characters, uint32_t length, char16_t* out)
{
    const int32_t bytes = yk_decode_base64_no_pad(reinterpret_cast<uint8_t*>(out), characters, length);
    if (bytes <= 0 || bytes % 2)
        return 0;
    const uint32_t count = static_cast<uint32_t>(bytes) / 2;
    for (uint32_t i = 0; i < count; ++i)
        out[i] = fromBigEndian(out[i]);
    return count;
}

// Widens the bytes before the next `shift` (or the end) to units at out[*written]; returns
// where it stopped.
uint32_t copyUnshifted(const char* in, uint32_t i, uint32_t length, char shift, char16_t* out, uint32_t& written)
{
    const void* found = std::memchr(in + i, shift, length - i);
    const uint32_t end = found ? static_cast<uint32_t>(static_cast<const char*>(found) - in) : length;
    for (uint32_t j = i; j < end; ++j)
        out[written++] = static_cast<uint8_t>(in[j]);
    return end;
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
        uint32_t end = i + 1;
        while (end < length && isBase64Character(static_cast<uint8_t>(in[end])))
            ++end;
        const uint32_t count = end > i + 1 ? decodeRun(in + i + 1, end - i - 1, &units[out]) : 0;
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
    std::string scratch;
    scratch.reserve(32);
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
        if (dash != in + length) {
            scratch.assign(in + i + 1, dash);
            for (char& c : scratch)
                c = c == ',' ? '/' : c;
            count = decodeRun(scratch.data(), static_cast<uint32_t>(scratch.size()), &units[out]);
        }
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
