#pragma once

// Reads the fuzzer's choices off the front of its input; what is left is the stream's text.

#include <cstdint>
#include <cstdlib>
#include <string>

namespace yk::fuzz {

class Choices {
public:
    Choices(const uint8_t* data, size_t size)
        : _data(data)
        , _size(size)
    {
    }
    // A value in 0 ..< bound from the next byte (0 when the input ran out).
    uint32_t next(uint32_t bound)
    {
        if (!_size)
            return 0;
        --_size;
        return *_data++ % bound;
    }
    // The rest of the input.
    std::string rest() const { return std::string(reinterpret_cast<const char*>(_data), _size); }

private:
    const uint8_t* _data;
    size_t _size;
};

inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace yk::fuzz
