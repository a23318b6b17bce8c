#pragma once

// Helpers shared by the collection classes.

#include <Yarkit/core/runtime/Object.h>

#include <string>
#include <string_view>
#include <vector>

namespace yk::detail {

// The object a collection stores for a key or set member: an immutable copy of a mutable
// string or data (whose hash would change with it), else the object itself.
Ref<Object> storedKey(Ref<Object> key);

// An element's description inside a property-list style description: strings are quoted when
// they hold anything but letters, digits and "_.$/:-", and nested lines are indented.
std::u16string elementDescription(const Object* element);

// The description of a list of elements: the opening text and a line break, one indented line
// per element (separated by commas), then the closing text.
std::u16string listDescription(const std::vector<Ref<Object>>& elements, std::u16string_view open, std::u16string_view close);

} // namespace yk::detail
