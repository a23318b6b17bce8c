#pragma once

// Property-list values for the user defaults: validation with immutable copies, and the JSON
// form of the application domain's file (docs/user-defaults.md).

#include <Yarkit/core/runtime/Ref.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace yk {
class Dictionary;
class Object;
}

namespace yk::detail {

// Nesting deeper than this is refused, so that hostile input cannot exhaust the stack.
inline constexpr unsigned maximumPropertyListDepth = 512;

// An immutable deep copy of a property-list value (String, Number, Data, Date, Array, and
// Dictionary with String keys), or null when value is null, is of another kind, holds one, or
// nests too deeply. Immutable leaves (Number, Date, immutable String and Data) are shared.
Ref<Object> propertyListCopy(const Object* value);

// The JSON form of a property-list value; nullopt when it is not one.
std::optional<nlohmann::ordered_json> jsonFromPropertyList(const Object* value);
// The value a JSON form stands for, or null when it stands for none (JSON null, a malformed
// tagged object, nesting too deep).
Ref<Object> propertyListFromJSON(const nlohmann::ordered_json& json);
// The dictionary a JSON object stands for, never read as a tagged value (the top level of a
// defaults file). Members whose values stand for nothing are left out and reported to skipped.
Ref<Dictionary> dictionaryFromJSONObject(const nlohmann::ordered_json& object,
    const std::function<void(const std::string& key)>& skipped);

// Base64 of the standard alphabet with padding and no line breaks.
std::string encodeBase64(std::span<const uint8_t> bytes);
// Strict: nullopt for characters outside the alphabet, bad padding or a bad length.
std::optional<std::vector<uint8_t>> decodeBase64(std::string_view text);

} // namespace yk::detail
