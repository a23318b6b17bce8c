#pragma once

// The step accounting both monitor streams share.

#include <algorithm>
#include <cstdint>

namespace yk::detail {

// Moves `length` bytes in chunks that end on step boundaries: `transfer(done, chunk)` moves
// up to `chunk` bytes after the first `done` and returns how many (0 ends the loop);
// `notify()` runs after each chunk that reaches a boundary. `increments` is read afresh for
// every chunk, as the delegate may change it; bytes counted beyond a lowered step start the
// next step from 0, so a chunk is never empty before the end.
template <typename Transfer, typename Notify>
uint32_t transferInSteps(uint32_t length, const uint32_t& increments, uint32_t& counter, uint32_t& total,
    Transfer&& transfer, Notify&& notify)
{
    uint32_t done = 0;
    while (done < length) {
        if (counter >= increments)
            counter = 0;
        uint32_t room = increments ? increments - counter : length - done;
        uint32_t n = transfer(done, std::min(length - done, room));
        if (!n)
            break;
        counter += n;
        bool due = increments && counter >= increments;
        if (due)
            counter -= increments;
        done += n;
        total += n;
        if (due)
            notify();
    }
    return done;
}

} // namespace yk::detail
