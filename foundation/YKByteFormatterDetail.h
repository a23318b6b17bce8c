#pragma once

#include <Yarkit/core/runtime/Ref.h>

#include <cstdint>

namespace yk {
class String;
}

namespace yk::detail {

// stringForBytes as its table is written: the row's key looked up in the "Formatter" table on
// every call, then formatted with yk::format. The reference that the cached path is held to.
Ref<String> stringForBytesPortable(uint64_t count);

} // namespace yk::detail
