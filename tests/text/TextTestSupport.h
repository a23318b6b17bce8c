#pragma once

// Shared helpers of the text tests: readable byte dumps for failure messages, the scanners to
// run every fast path with, input generators, and strict ICU conversion.

#include "text/ByteScan.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace texttest {

using Bytes = std::string;

// "41 C3 42" for failure messages.
std::string hex(const Bytes& bytes);

inline const uint8_t* bytesOf(const Bytes& bytes)
{
    return reinterpret_cast<const uint8_t*>(bytes.data());
}

// Every scanner this processor can run.
const std::vector<const yk::detail::ByteScanner*>& scanners();

// Inputs that exercise the validators: runs of valid and broken sequences of every encoding,
// escapes, line breaks, and long 7-bit stretches with the interesting byte near a vector-block
// boundary (uniform random bytes are the fuzzers' part). Deterministic for a seed.
class InputGenerator {
public:
    explicit InputGenerator(uint32_t seed)
        : _random(seed)
    {
    }
    Bytes next();

private:
    void appendToken(Bytes& bytes);
    Bytes longText();
    unsigned below(unsigned bound) { return std::uniform_int_distribution<unsigned>(0, bound - 1)(_random); }
    uint8_t byteIn(unsigned low, unsigned high) { return static_cast<uint8_t>(low + below(high - low + 1)); }

    std::mt19937 _random;
};

// Converts with ICU, stopping at the first unmappable or illegal sequence; false when there
// was one. `converter` is an ICU converter name.
bool icuDecode(const char* converter, const Bytes& bytes, std::u16string* text = nullptr);
bool icuEncode(const char* converter, const std::u16string& text, Bytes& bytes);

} // namespace texttest
