#pragma once

// The UTF-7 encoders along a path chosen by the caller. The portable path takes a unit at a
// time, as the forms are described; the vector path classifies 16 units at once and must write
// the same bytes, which the tests and fuzz targets hold it to. The exported encoders take the
// vector path where the processor has one.

#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/String.h>

namespace yk::detail {

enum class UTF7Path { Portable, Vector };

[[nodiscard]] Ref<MutableData> encodeUTF7Using(UTF7Path, const String* string);
[[nodiscard]] Ref<MutableData> encodeModifiedUTF7Using(UTF7Path, const String* string);

} // namespace yk::detail
