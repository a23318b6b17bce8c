#include <Yarkit/Base64.h>

#include <Yarkit/Base64Units.h>

#include <array>
#include <cstring>

#include "core/system/CPUFeatures.h"
#include "streams/Base64Codec.h"

namespace yk::detail {

// The codec's alphabets; only the first, the standard one, is used.
const char* const base64_alphabets[] = {
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
};

namespace {

constexpr uint8_t NotBase64 = 255;
constexpr uint8_t PadValue = 127;
constexpr char CR = '\r';
constexpr char LF = '\n';

constexpr std::array<uint8_t, 128> makeDecodingTable()
{
    std::array<uint8_t, 128> table {};
    for (auto& value : table)
        value = NotBase64;
    for (uint8_t i = 0; i < 64; ++i)
        table[static_cast<uint8_t>("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[i])] = i;
    return table;
}

// Two output characters for every 12-bit value, so a 3-byte group costs two lookups.
constexpr std::array<char, 2 * 4096> makePairTable(const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
{
    std::array<char, 2 * 4096> table {};
    for (unsigned v = 0; v < 4096; ++v) {
        table[2 * v] = alphabet[v >> 6];
        table[2 * v + 1] = alphabet[v & 63];
    }
    return table;
}

// For the group fast path: the sextet of each character moved to its place in a 24-bit
// group, with bit 24 set for anything that is not an alphabet character.
constexpr uint32_t InvalidBit = 1u << 24;

constexpr std::array<uint32_t, 256> makeShiftedTable(unsigned shift)
{
    std::array<uint32_t, 256> table {};
    auto values = makeDecodingTable();
    for (unsigned c = 0; c < 256; ++c) {
        uint8_t value = c < 128 ? values[c] : NotBase64;
        table[c] = value == NotBase64 ? InvalidBit : static_cast<uint32_t>(value) << shift;
    }
    return table;
}

constexpr auto pairTable = makePairTable();
constexpr auto groupTable0 = makeShiftedTable(18);
constexpr auto groupTable1 = makeShiftedTable(12);
constexpr auto groupTable2 = makeShiftedTable(6);
constexpr auto groupTable3 = makeShiftedTable(0);

inline char* encodeGroup(char* out, const uint8_t* in)
{
    uint32_t v = (uint32_t { in[0] } << 16) | (uint32_t { in[1] } << 8) | in[2];
    std::memcpy(out, &pairTable[2 * (v >> 12)], 2);
    std::memcpy(out + 2, &pairTable[2 * (v & 0xFFF)], 2);
    return out + 4;
}

// Encodes `groups` complete groups; the vector path may read ahead up to `inEnd`.
template<Base64Path path>
inline char* encodeGroups(char* out, const uint8_t* in, uint32_t groups, const uint8_t* inEnd)
{
    uint32_t done = 0;
    if constexpr (path == Base64Path::AVX2)
        done = encodeGroupsAVX2(out, in, groups, static_cast<size_t>(inEnd - in));
    out += 4 * done;
    for (uint32_t g = done; g < groups; ++g)
        out = encodeGroup(out, in + 3 * g);
    return out;
}

// Decodes as many complete 4-character groups of alphabet characters as follow, stopping
// before the first group that holds anything else. Returns the number of groups decoded.
template<Base64Path path>
inline uint32_t decodeGroups(uint8_t* out, const uint8_t* in, uint32_t length, uint32_t outRoom)
{
    uint32_t groups = 0;
    if constexpr (path == Base64Path::AVX2)
        groups = decodeGroupsAVX2(out, in, length, outRoom);
    // Two groups at a time with one 8-byte store while the output has room for it.
    while (length - 4 * groups >= 8 && outRoom - 3 * groups >= 8) {
        const uint8_t* p = in + 4 * groups;
        uint32_t a = groupTable0[p[0]] | groupTable1[p[1]] | groupTable2[p[2]] | groupTable3[p[3]];
        uint32_t b = groupTable0[p[4]] | groupTable1[p[5]] | groupTable2[p[6]] | groupTable3[p[7]];
        if ((a | b) & InvalidBit)
            break;
        uint8_t bytes[8] = {
            static_cast<uint8_t>(a >> 16), static_cast<uint8_t>(a >> 8), static_cast<uint8_t>(a),
            static_cast<uint8_t>(b >> 16), static_cast<uint8_t>(b >> 8), static_cast<uint8_t>(b), 0, 0 };
        std::memcpy(out + 3 * groups, bytes, 8);
        groups += 2;
    }
    while (length - 4 * groups >= 4) {
        const uint8_t* p = in + 4 * groups;
        uint32_t a = groupTable0[p[0]] | groupTable1[p[1]] | groupTable2[p[2]] | groupTable3[p[3]];
        if (a & InvalidBit)
            break;
        uint8_t* o = out + 3 * groups;
        o[0] = static_cast<uint8_t>(a >> 16);
        o[1] = static_cast<uint8_t>(a >> 8);
        o[2] = static_cast<uint8_t>(a);
        ++groups;
    }
    return groups;
}

inline bool isLineBreak(uint8_t c) { return c == CR || c == LF; }

// The one or two bytes after the last complete group, padded with "=" when `pad` is set.
char* encodeLastGroup(char* out, const uint8_t* in, uint32_t remaining, int pad)
{
    const char* alphabet = base64_alphabets[0];
    if (remaining == 1) {
        *out++ = alphabet[in[0] >> 2];
        *out++ = alphabet[(in[0] & 3) << 4];
        if (pad) {
            *out++ = '=';
            *out++ = '=';
        }
    } else if (remaining == 2) {
        *out++ = alphabet[in[0] >> 2];
        *out++ = alphabet[((in[0] & 3) << 4) | (in[1] >> 4)];
        *out++ = alphabet[(in[1] & 15) << 2];
        if (pad)
            *out++ = '=';
    }
    return out;
}

} // namespace

const std::array<uint8_t, 128> base64_val = makeDecodingTable();

namespace {

// The reference algorithm, one group at a time: after each complete group the column is
// compared with the line length, so only a positive multiple of 4 can ever match.
int32_t encodePortable(char* out, const uint8_t* in, uint32_t length, int32_t lineLength, int pad)
{
    const char* alphabet = base64_alphabets[0];
    char* start = out;
    int32_t column = 0;
    uint32_t i = 0;
    for (; length - i >= 3; i += 3) {
        uint8_t b0 = in[i], b1 = in[i + 1], b2 = in[i + 2];
        *out++ = alphabet[b0 >> 2];
        *out++ = alphabet[((b0 & 3) << 4) | (b1 >> 4)];
        *out++ = alphabet[((b1 & 15) << 2) | (b2 >> 6)];
        *out++ = alphabet[b2 & 63];
        column += 4;
        if (column == lineLength) {
            *out++ = CR;
            *out++ = LF;
            column = 0;
        }
    }
    out = encodeLastGroup(out, in + i, length - i, pad);
    return static_cast<int32_t>(out - start);
}

// The same answer with whole lines of groups from the tables or the vector path.
template<Base64Path path>
int32_t encode(char* out, const uint8_t* in, uint32_t length, int32_t lineLength, int pad)
{
    char* start = out;
    const uint8_t* end = in + length;
    uint32_t groups = length / 3;
    // The column is compared for equality after each group, so only a positive multiple of
    // 4 can ever match; any other line length gives one unbroken line.
    if (lineLength > 0 && lineLength % 4 == 0) {
        uint32_t groupsPerLine = static_cast<uint32_t>(lineLength) / 4;
        while (groups >= groupsPerLine) {
            out = encodeGroups<path>(out, in, groupsPerLine, end);
            in += 3 * groupsPerLine;
            groups -= groupsPerLine;
            *out++ = CR;
            *out++ = LF;
        }
    }
    out = encodeGroups<path>(out, in, groups, end);
    in += 3 * groups;
    out = encodeLastGroup(out, in, length % 3, pad);
    return static_cast<int32_t>(out - start);
}

// The reference algorithm is the loop below one character at a time (the portable path); the
// other paths first take whole groups of alphabet characters from the tables or the vector
// path wherever no group is half collected, which gives the same bytes.
template<Base64Path path>
int32_t decode(uint8_t* out, const char* chars, uint32_t length, int pad)
{
    const auto* in = reinterpret_cast<const uint8_t*>(chars);
    // Every 4 characters give at most 3 bytes, so this is the caller's guaranteed room.
    const uint32_t capacity = static_cast<uint32_t>((uint64_t { length } * 3) / 4);
    uint32_t count = 0;
    uint8_t d[4];
    unsigned pending = 0;
    bool padSeen = false;

    uint32_t i = 0;
    while (i < length) {
        if (path != Base64Path::Portable && pending == 0) {
            uint32_t groups = decodeGroups<path>(out + count, in + i, length - i, capacity - count);
            i += 4 * groups;
            count += 3 * groups;
            if (i == length)
                break;
        }

        uint8_t c = in[i];
        uint8_t value = c < 128 ? base64_val[c] : NotBase64;
        if (value != NotBase64) {
            d[pending++] = value;
            ++i;
        } else if (c == '=' && pad) {
            d[pending++] = PadValue;
            padSeen = true;
            ++i;
        } else if (isLineBreak(c) || (c == '!' && i + 1 < length && isLineBreak(in[i + 1]))) {
            // A line break, possibly marked by "!", and the one space or tab of a folded line.
            if (c == '!')
                ++i;
            while (i < length && isLineBreak(in[i]))
                ++i;
            if (i < length && (in[i] == ' ' || in[i] == '\t'))
                ++i;
            continue;
        } else {
            if (count == 0 || pending > 0)
                return -1;
            ++i;
            continue;
        }

        if (pending < 4)
            continue;
        out[count++] = static_cast<uint8_t>((d[0] << 2) | ((d[1] >> 4) & 3));
        if (d[2] != PadValue) {
            out[count++] = static_cast<uint8_t>((d[1] << 4) | (d[2] >> 2));
            if (d[3] != PadValue)
                out[count++] = static_cast<uint8_t>((d[2] << 6) | d[3]);
        }
        if (padSeen)
            return static_cast<int32_t>(count);
        pending = 0;
    }

    if (!pad) {
        if (pending >= 2)
            out[count++] = static_cast<uint8_t>((d[0] << 2) | ((d[1] >> 4) & 3));
        if (pending == 3)
            out[count++] = static_cast<uint8_t>((d[1] << 4) | (d[2] >> 2));
    }
    return static_cast<int32_t>(count);
}

} // namespace

std::vector<Base64Path> availableBase64Paths()
{
    if (cpuFeatures().avx2)
        return { Base64Path::Tables, Base64Path::AVX2 };
    return { Base64Path::Tables };
}

int32_t encodeBase64Using(Base64Path path, char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad)
{
    switch (path) {
    case Base64Path::Portable:
        return encodePortable(out, bytes, length, lineLength, pad);
    case Base64Path::Tables:
        return encode<Base64Path::Tables>(out, bytes, length, lineLength, pad);
    case Base64Path::AVX2:
        return encode<Base64Path::AVX2>(out, bytes, length, lineLength, pad);
    }
    return -1;
}

int32_t decodeBase64Using(Base64Path path, uint8_t* out, const char* chars, uint32_t length, int pad)
{
    switch (path) {
    case Base64Path::Portable:
        return decode<Base64Path::Portable>(out, chars, length, pad);
    case Base64Path::Tables:
        return decode<Base64Path::Tables>(out, chars, length, pad);
    case Base64Path::AVX2:
        return decode<Base64Path::AVX2>(out, chars, length, pad);
    }
    return -1;
}

int32_t encode_base64_with_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength, int pad)
{
    static const Base64Path path = availableBase64Paths().back();
    return encodeBase64Using(path, out, bytes, length, lineLength, pad);
}

int32_t decode_base64_with_pad(uint8_t* out, const char* chars, uint32_t length, int pad)
{
    static const Base64Path path = availableBase64Paths().back();
    return decodeBase64Using(path, out, chars, length, pad);
}

} // namespace yk::detail

extern "C" {

int32_t yk_encode_base64(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength)
{
    return yk::detail::encode_base64_with_pad(out, bytes, length, lineLength, 1);
}

int32_t yk_encode_base64_no_pad(char* out, const uint8_t* bytes, uint32_t length, int32_t lineLength)
{
    return yk::detail::encode_base64_with_pad(out, bytes, length, lineLength, 0);
}

int32_t yk_decode_base64(uint8_t* out, const char* chars, uint32_t length)
{
    return yk::detail::decode_base64_with_pad(out, chars, length, 1);
}

int32_t yk_decode_base64_no_pad(uint8_t* out, const char* chars, uint32_t length)
{
    return yk::detail::decode_base64_with_pad(out, chars, length, 0);
}

} // extern "C"

namespace yk::detail {
namespace {

// Sextet of every byte, InvalidBase64Sextet for a character outside the alphabet; mailbox
// names' decoder reads "," as "/" as well.
constexpr std::array<uint8_t, 256> makeSextetTable(bool commaIsSlash)
{
    constexpr auto values = makeDecodingTable();
    std::array<uint8_t, 256> table {};
    for (unsigned c = 0; c < 256; ++c)
        table[c] = c < 128 && values[c] != NotBase64 ? values[c] : InvalidBase64Sextet;
    if (commaIsSlash)
        table[','] = table['/'];
    return table;
}

constexpr auto standardSextets = makeSextetTable(false);
constexpr auto mailboxSextets = makeSextetTable(true);
// Mailbox names' alphabet has "," for "/".
constexpr auto mailboxPairTable = makePairTable("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,");

} // namespace

const char* const base64UnitPairs[2] = { pairTable.data(), mailboxPairTable.data() };
const uint8_t* const base64UnitSextets[2] = { standardSextets.data(), mailboxSextets.data() };

} // namespace yk::detail
