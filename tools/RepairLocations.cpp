#include "tools/RepairLocations.h"

#include <string_view>
#include <unordered_set>

namespace yk::tool {

namespace {

// Replacement texts of the repair functions, and how many input bytes each may stand for.
struct Replacement {
    std::string_view text;
    size_t minimumSwallowed;
    size_t maximumSwallowed;
};

constexpr Replacement replacements[] = {
    { "?", 1, 6 },
    { " ", 1, 1 },
    { "\x1B(B?\x1B(I", 1, 1 },
    { "\x1B(B?\x1B$@", 1, 2 },
    { "\x1B(B?\x1B$B", 1, 2 },
    { "\x1B(B", 0, 1 },
};

// A search state and the next move to try from it: move 0 copies one byte, move 1 + 8r + k
// applies replacement r swallowing 7 - k input bytes.
struct Frame {
    size_t i;
    size_t j;
    size_t nextMove;
};

constexpr size_t MoveCount = 1 + 8 * std::size(replacements);

} // namespace

std::optional<std::vector<RepairEdit>> locateRepairs(const std::vector<uint8_t>& input, const std::vector<uint8_t>& repaired)
{
    const size_t n = input.size();
    const size_t m = repaired.size();
    std::unordered_set<uint64_t> failed;
    auto key = [m](size_t i, size_t j) { return static_cast<uint64_t>(i) * (m + 1) + j; };
    size_t budget = 64 * (n + m) + 10000;

    // Depth-first search preferring copies, so clean runs are consumed first; a state that
    // failed once is never explored again.
    std::vector<Frame> path { { 0, 0, 0 } };
    while (!path.empty()) {
        if (budget-- == 0)
            return std::nullopt;
        Frame& frame = path.back();
        if (frame.i == n && frame.j == m)
            break;
        if (frame.nextMove == MoveCount || failed.contains(key(frame.i, frame.j))) {
            failed.insert(key(frame.i, frame.j));
            path.pop_back();
            continue;
        }
        size_t move = frame.nextMove++;
        if (move == 0) {
            if (frame.i < n && frame.j < m && input[frame.i] == repaired[frame.j])
                path.push_back({ frame.i + 1, frame.j + 1, 0 });
            continue;
        }
        const auto& replacement = replacements[(move - 1) / 8];
        // The repairs swallow as much as their rules allow, so longer swallows are tried first.
        size_t swallowed = 7 - (move - 1) % 8;
        if (swallowed < replacement.minimumSwallowed || swallowed > replacement.maximumSwallowed || frame.i + swallowed > n)
            continue;
        std::string_view rest(reinterpret_cast<const char*>(repaired.data()) + frame.j, m - frame.j);
        if (rest.starts_with(replacement.text))
            path.push_back({ frame.i + swallowed, frame.j + replacement.text.size(), 0 });
    }
    if (path.empty())
        return std::nullopt;

    std::vector<RepairEdit> edits;
    for (size_t k = 0; k + 1 < path.size(); ++k) {
        const Frame& from = path[k];
        const Frame& to = path[k + 1];
        if (from.nextMove - 1 == 0)
            continue;
        edits.push_back({ from.i, to.i - from.i, from.j, to.j - from.j });
    }
    return edits;
}

size_t inputOffsetOf(const std::vector<RepairEdit>& edits, size_t repairedOffset)
{
    size_t inputOffset = repairedOffset;
    for (const auto& edit : edits) {
        if (edit.outputOffset > repairedOffset)
            break;
        if (repairedOffset < edit.outputOffset + edit.outputLength)
            return edit.inputOffset;
        inputOffset = repairedOffset - (edit.outputOffset + edit.outputLength) + edit.inputOffset + edit.inputLength;
    }
    return inputOffset;
}

} // namespace yk::tool
