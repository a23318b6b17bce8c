#include "text/RepairOutput.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace yk::detail {

RepairOutput::RepairOutput(const uint8_t* input, size_t inputLength,
    std::vector<RepairEdit>* edits)
    : _input(input)
    , _inputLength(inputLength)
    , _edits(edits)
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
    if (_edits)
        _edits->push_back({ at, resume - at, std::string(replacement) });
    _runStart = resume;
    _hasRepairs = true;
}

void RepairOutput::dropLast(size_t count)
{
    count = std::min(count, _length);
    _length -= count;
    if (_edits)
        dropFromEdits(count);
}

// The edit that ends the input grows backwards over clean runs and earlier edits until it
// accounts for `count` fewer output bytes; an earlier edit it takes in keeps the start of its
// replacement.
void RepairOutput::dropFromEdits(size_t count)
{
    if (!count)
        return;
    RepairEdit tail { _inputLength, 0, {} };
    while (count) {
        size_t cleanStart = _edits->empty() ? 0 : _edits->back().offset + _edits->back().length;
        size_t clean = std::min(tail.offset - cleanStart, count);
        tail.offset -= clean;
        tail.length += clean;
        count -= clean;
        if (!count || _edits->empty())
            break;
        RepairEdit earlier = std::move(_edits->back());
        _edits->pop_back();
        size_t taken = std::min(count, earlier.replacement.size());
        earlier.replacement.resize(earlier.replacement.size() - taken);
        count -= taken;
        tail = { earlier.offset, earlier.length + tail.length, std::move(earlier.replacement) };
    }
    _edits->push_back(std::move(tail));
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

bool RepairOutput::finish(std::string& bytes)
{
    if (!_hasRepairs) {
        bytes.clear();
        return false;
    }
    copyRun(_inputLength);
    bytes.assign(reinterpret_cast<const char*>(_bytes), _length);
    return true;
}

} // namespace yk::detail
