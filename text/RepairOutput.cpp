#include "text/RepairOutput.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace yk::detail {

RepairOutput::RepairOutput(const uint8_t* input, size_t inputLength)
    : _input(input)
    , _inputLength(inputLength)
{
}

RepairOutput::~RepairOutput()
{
    std::free(_bytes);
}

void RepairOutput::append(const uint8_t* bytes, size_t count)
{
    if (!count)
        return;
    if (_length + count > _capacity) {
        // Room for the rest of the input as well, so that typical repairs grow once.
        size_t wanted = std::max(_length + count + (_inputLength - std::min(_runStart, _inputLength)),
            _capacity * 2);
        auto* grown = static_cast<uint8_t*>(std::realloc(_bytes, wanted));
        if (!grown)
            throw std::bad_alloc();
        _bytes = grown;
        _capacity = wanted;
    }
    std::memcpy(_bytes + _length, bytes, count);
    _length += count;
}

void RepairOutput::copyRun(size_t end)
{
    if (end <= _runStart)
        return;
    append(_input + _runStart, end - _runStart);
    _runStart = end;
}

void RepairOutput::replace(size_t at, size_t resume, std::string_view replacement)
{
    copyRun(at);
    append(reinterpret_cast<const uint8_t*>(replacement.data()), replacement.size());
    _runStart = resume;
    _hasRepairs = true;
}

void RepairOutput::dropLast(size_t count)
{
    _length -= std::min(count, _length);
}

bool RepairOutput::finish(unsigned char** outBytes, uint32_t* outLength)
{
    if (!_hasRepairs)
        return false;
    copyRun(_inputLength);
    if (outLength)
        *outLength = static_cast<uint32_t>(_length);
    if (outBytes) {
        *outBytes = _bytes;
        _bytes = nullptr;
    }
    return true;
}

} // namespace yk::detail
