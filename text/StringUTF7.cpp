#include <Yarkit/StringUTF7.h>

#include <Yarkit/Base64.h>
#include <Yarkit/core/values/Exception.h>

#include <bit>
#include <cstring>

namespace yk {
namespace {

// The most bytes one unit can cost: a lone shifted unit between two direct ones, "+AAA-".
constexpr uint64_t maximumBytesPerUnit = 5;

// Units per base64 call: 3072 bytes, a multiple of 3, so the pieces of a run join without
// padding in between.
constexpr uint32_t unitsPerChunk = 1536;

constexpr bool isBase64Character(uint32_t c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

// Letters, digits, the set D of UTF-7 (' ( ) , - . / : ?), space, tab, CR and LF.
constexpr bool isDirectUTF7(char16_t c)
{
    if (c >= 0x80)
        return false;
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
        return true;
    switch (c) {
    case '\'': case '(': case ')': case ',': case '-': case '.': case '/': case ':': case '?':
    case ' ': case '\t': case '\r': case '\n':
        return true;
    default:
        return false;
    }
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

// Writes the base64 text of `count` units, big-endian, unpadded, with "," for "/" when asked;
// returns the characters written. Raises when the codec's count is not ceil(16n / 6).
uint32_t encodeRun(const char16_t* units, uint32_t count, char* out, bool commaForSlash)
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
        char* chunkOut = out + written;
        const int32_t chunkWritten = yk_encode_base64_no_pad(chunkOut, bigEndian, chunk * 2, -1);
        if (commaForSlash) {
            for (int32_t i = 0; i < chunkWritten; ++i)
                chunkOut[i] = chunkOut[i] == '/' ? ',' : chunkOut[i];
        }
        written += static_cast<uint64_t>(std::max(chunkWritten, 0));
        done += chunk;
    }
    if (written != expected) {
        raise(NSInternalInconsistencyException, "*** BASE64-encoded length: %u (%u expected)",
            static_cast<unsigned>(written), static_cast<unsigned>(expected));
    }
    return static_cast<uint32_t>(written);
}

// Encodes the units of string with `encodeUnits(units, count, out)`, which returns the bytes it
// wrote, into a data with room for the worst case.
template <typename Encoder>
Ref<MutableData> encodeWith(const String* string, Encoder encodeUnits)
{
    if (!string)
        return nullptr;
    auto data = make<MutableData>();
    const uint32_t count = string->length();
    if (!count)
        return data;
    data->setLength(static_cast<uint32_t>(count * maximumBytesPerUnit));
    char* out = reinterpret_cast<char*>(data->mutableBytes());
    data->setLength(encodeUnits(string->units().data(), count, out));
    return data;
}

uint32_t encodeUTF7Units(const char16_t* units, uint32_t count, char* out)
{
    char* const begin = out;
    for (uint32_t i = 0; i < count;) {
        if (isDirectUTF7(units[i])) {
            if (out != begin && (isBase64Character(units[i]) || units[i] == '-'))
                *out++ = '-';
            for (; i < count && isDirectUTF7(units[i]); ++i)
                *out++ = static_cast<char>(units[i]);
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isDirectUTF7(units[end]))
            ++end;
        *out++ = '+';
        out += encodeRun(units + i, end - i, out, false);
        i = end;
    }
    return static_cast<uint32_t>(out - begin);
}

uint32_t encodeModifiedUTF7Units(const char16_t* units, uint32_t count, char* out)
{
    char* const begin = out;
    for (uint32_t i = 0; i < count;) {
        if (isPrintableASCII(units[i])) {
            *out++ = static_cast<char>(units[i]);
            if (units[i++] == '&')
                *out++ = '-';
            continue;
        }
        uint32_t end = i + 1;
        while (end < count && !isPrintableASCII(units[end]))
            ++end;
        *out++ = '&';
        out += encodeRun(units + i, end - i, out, true);
        *out++ = '-';
        i = end;
    }
    return static_cast<uint32_t>(out - begin);
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
        const uint8_t byte = static_cast<uint8_t>(in[i]);
        if (byte != '+') {
            units[out++] = byte;
            ++i;
            continue;
        }
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
        if (in[i] != '&') {
            units[out++] = static_cast<uint8_t>(in[i++]);
            continue;
        }
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
