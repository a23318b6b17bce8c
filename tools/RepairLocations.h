#pragma once

// Where a repair changed its input. The repair functions only say whether they changed
// anything; the tool reports where, by aligning the input with the repaired copy.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace yk::tool {

// One repaired unit: `inputLength` input bytes at `inputOffset` became the `outputLength`
// bytes at `outputOffset` of the repaired copy.
struct RepairEdit {
    size_t inputOffset;
    size_t inputLength;
    size_t outputOffset;
    size_t outputLength;
};

// The edits that turn `input` into `repaired`, where the repaired copy keeps every input byte
// except runs of up to 6 bytes replaced by the repairs' replacement texts ("?", a space, and
// the ISO-2022-JP escapes around "?", or ESC ( B inserted before a line break). Nothing when
// no such alignment is found within a work limit proportional to the lengths.
std::optional<std::vector<RepairEdit>> locateRepairs(const std::vector<uint8_t>& input, const std::vector<uint8_t>& repaired);

// The input offset a byte of the repaired copy came from (a replacement's bytes map to the
// start of what they replaced). `edits` in the order locateRepairs gives them.
size_t inputOffsetOf(const std::vector<RepairEdit>& edits, size_t repairedOffset);

} // namespace yk::tool
