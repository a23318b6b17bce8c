#pragma once

// A direct, unoptimised transcription of the codec's described algorithms: the oracle the
// tests and the fuzzers hold the library's codec to.

#include <cstdint>
#include <string>
#include <vector>

namespace yk::test {

inline const char* referenceAlphabet()
{
    return "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

inline std::string referenceEncode(const std::vector<uint8_t>& in, int lineLength, bool pad)
{
    const char* alphabet = referenceAlphabet();
    std::string out;
    size_t i = 0;
    int column = 0;
    for (; in.size() - i >= 3; i += 3) {
        uint8_t b0 = in[i], b1 = in[i + 1], b2 = in[i + 2];
        out += alphabet[b0 >> 2];
        out += alphabet[((b0 & 3) << 4) | (b1 >> 4)];
        out += alphabet[((b1 & 15) << 2) | (b2 >> 6)];
        out += alphabet[b2 & 63];
        column += 4;
        if (column == lineLength) {
            out += "\r\n";
            column = 0;
        }
    }
    if (in.size() - i == 1) {
        out += alphabet[in[i] >> 2];
        out += alphabet[(in[i] & 3) << 4];
        if (pad)
            out += "==";
    } else if (in.size() - i == 2) {
        out += alphabet[in[i] >> 2];
        out += alphabet[((in[i] & 3) << 4) | (in[i + 1] >> 4)];
        out += alphabet[(in[i + 1] & 15) << 2];
        if (pad)
            out += "=";
    }
    return out;
}

// The decoded bytes, or nothing with `valid` false for the result -1.
struct ReferenceDecoding {
    bool valid { true };
    std::vector<uint8_t> bytes;
};

inline ReferenceDecoding referenceDecode(const std::string& in, bool pad)
{
    auto value = [](unsigned char c) -> int {
        if (c >= 128)
            return 255;
        for (int v = 0; v < 64; ++v) {
            if (referenceAlphabet()[v] == c)
                return v;
        }
        return 255;
    };
    auto isBreak = [](unsigned char c) { return c == '\r' || c == '\n'; };

    ReferenceDecoding result;
    auto& out = result.bytes;
    int d[4] = {};
    int pending = 0;
    bool padSeen = false;
    for (size_t i = 0; i < in.size(); ++i) {
        auto c = static_cast<unsigned char>(in[i]);
        if (value(c) < 255) {
            d[pending++] = value(c);
        } else if (pad && c == '=') {
            d[pending++] = 127;
            padSeen = true;
        } else if (isBreak(c) || (c == '!' && i + 1 < in.size() && isBreak(in[i + 1]))) {
            if (c == '!')
                ++i;
            while (i + 1 < in.size() && isBreak(in[i + 1]))
                ++i;
            if (i + 1 < in.size() && (in[i + 1] == ' ' || in[i + 1] == '\t'))
                ++i;
            continue;
        } else {
            if (out.empty() || pending > 0)
                return { false, {} };
            continue;
        }
        if (pending < 4)
            continue;
        out.push_back(static_cast<uint8_t>((d[0] << 2) | ((d[1] >> 4) & 3)));
        if (d[2] != 127) {
            out.push_back(static_cast<uint8_t>((d[1] << 4) | (d[2] >> 2)));
            if (d[3] != 127)
                out.push_back(static_cast<uint8_t>((d[2] << 6) | d[3]));
        }
        if (padSeen)
            return result;
        pending = 0;
    }
    if (!pad && pending >= 2)
        out.push_back(static_cast<uint8_t>((d[0] << 2) | ((d[1] >> 4) & 3)));
    if (!pad && pending == 3)
        out.push_back(static_cast<uint8_t>((d[1] << 4) | (d[2] >> 2)));
    return result;
}

} // namespace yk::test
