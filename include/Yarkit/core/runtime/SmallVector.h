#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace yk {

// A list that keeps its first N elements inside itself and moves to the heap only beyond them:
// for the short lists a hot path builds and drops on every call (a run loop pass's ready
// descriptors and ports), where a heap allocation would cost more than the work. Only what
// those paths need: append, iterate, index. Elements are default-constructible and movable.
template <typename T, size_t N>
class SmallVector {
public:
    SmallVector() = default;
    SmallVector(const SmallVector&) = delete;
    SmallVector& operator=(const SmallVector&) = delete;
    SmallVector(SmallVector&& other) noexcept
        : _size(other._size)
        , _heap(std::move(other._heap))
    {
        if (_heap.empty())
            std::move(other._inline.begin(), other._inline.begin() + _size, _inline.begin());
        other.clear();
    }

    void push_back(T value)
    {
        if (_size < N && _heap.empty()) {
            _inline[_size++] = std::move(value);
            return;
        }
        if (_heap.empty()) {
            _heap.reserve(N * 2);
            for (auto& element : _inline)
                _heap.push_back(std::move(element));
        }
        _heap.push_back(std::move(value));
        ++_size;
    }

    void clear()
    {
        for (size_t i = 0; i < std::min(_size, N); ++i)
            _inline[i] = T();
        _heap.clear();
        _size = 0;
    }

    size_t size() const { return _size; }
    bool empty() const { return !_size; }
    T* begin() { return _heap.empty() ? _inline.data() : _heap.data(); }
    T* end() { return begin() + _size; }
    const T* begin() const { return _heap.empty() ? _inline.data() : _heap.data(); }
    const T* end() const { return begin() + _size; }
    T& operator[](size_t index) { return begin()[index]; }
    const T& operator[](size_t index) const { return begin()[index]; }

private:
    std::array<T, N> _inline {};
    size_t _size { 0 };
    std::vector<T> _heap; // all the elements once there are more than N
};

} // namespace yk
