#pragma once

namespace yk {

// The result of ordering two values: the receiver is before, equal to or after the argument.
enum ComparisonResult : int {
    OrderedAscending = -1,
    OrderedSame = 0,
    OrderedDescending = 1,
};

} // namespace yk
