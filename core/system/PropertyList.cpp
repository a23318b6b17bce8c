#include "core/system/PropertyList.h"

#include <cmath>
#include <limits>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>

namespace yk::detail {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::string_view dataTag = "$data";
constexpr std::string_view dateTag = "$date";
constexpr std::string_view numberTag = "$number";

Ref<Object> copyAtDepth(const Object* value, unsigned depth)
{
    if (!value || depth > maximumPropertyListDepth)
        return nullptr;
    if (value->isKindOfClass(String::staticClass()))
        return static_cast<const String*>(value)->copy();
    if (value->isKindOfClass(Number::staticClass()) || value->isKindOfClass(Date::staticClass()))
        return const_cast<Object*>(value);
    if (value->isKindOfClass(Data::staticClass()))
        return static_cast<const Data*>(value)->copy();
    if (value->isKindOfClass(Array::staticClass())) {
        std::vector<Ref<Object>> elements;
        for (const auto& element : *static_cast<const Array*>(value)) {
            auto copied = copyAtDepth(element.get(), depth + 1);
            if (!copied)
                return nullptr;
            elements.push_back(std::move(copied));
        }
        return make<Array>(std::move(elements));
    }
    if (value->isKindOfClass(Dictionary::staticClass())) {
        auto result = make<MutableDictionary>();
        for (const auto& [key, element] : *static_cast<const Dictionary*>(value)) {
            if (!key->isKindOfClass(String::staticClass()))
                return nullptr;
            auto copied = copyAtDepth(element.get(), depth + 1);
            if (!copied)
                return nullptr;
            result->setObject(std::move(copied), static_cast<const String*>(key.get())->copy());
        }
        return result->copy();
    }
    return nullptr;
}

// Dictionary keys that start with "$" get one more, so that no dictionary reads back as a
// tagged value.
std::string escapeKey(std::string key)
{
    if (key.starts_with('$'))
        key.insert(key.begin(), '$');
    return key;
}

std::string unescapeKey(const std::string& key)
{
    if (key.starts_with("$$"))
        return key.substr(1);
    return key;
}

std::optional<Json> jsonFromNumber(const Number* number)
{
    switch (number->kind()) {
    case Number::Kind::Bool:
        return Json(number->boolValue());
    case Number::Kind::Float:
    case Number::Kind::Double: {
        double value = number->doubleValue();
        if (std::isnan(value))
            return Json::object({ { numberTag, "nan" } });
        if (std::isinf(value))
            return Json::object({ { numberTag, value > 0 ? "inf" : "-inf" } });
        return Json(value);
    }
    case Number::Kind::UnsignedLongLong:
        return Json(number->unsignedLongLongValue());
    default:
        return Json(number->longLongValue());
    }
}

std::optional<Json> jsonAtDepth(const Object* value, unsigned depth)
{
    if (!value || depth > maximumPropertyListDepth)
        return std::nullopt;
    if (value->isKindOfClass(String::staticClass()))
        return Json(static_cast<const String*>(value)->utf8());
    if (value->isKindOfClass(Number::staticClass()))
        return jsonFromNumber(static_cast<const Number*>(value));
    if (value->isKindOfClass(Data::staticClass()))
        return Json::object({ { dataTag, encodeBase64(static_cast<const Data*>(value)->span()) } });
    if (value->isKindOfClass(Date::staticClass()))
        return Json::object({ { dateTag, static_cast<const Date*>(value)->timeIntervalSinceReferenceDate() } });
    if (value->isKindOfClass(Array::staticClass())) {
        Json result = Json::array();
        for (const auto& element : *static_cast<const Array*>(value)) {
            auto json = jsonAtDepth(element.get(), depth + 1);
            if (!json)
                return std::nullopt;
            result.push_back(std::move(*json));
        }
        return result;
    }
    if (value->isKindOfClass(Dictionary::staticClass())) {
        Json result = Json::object();
        for (const auto& [key, element] : *static_cast<const Dictionary*>(value)) {
            if (!key->isKindOfClass(String::staticClass()))
                return std::nullopt;
            auto json = jsonAtDepth(element.get(), depth + 1);
            if (!json)
                return std::nullopt;
            result[escapeKey(static_cast<const String*>(key.get())->utf8())] = std::move(*json);
        }
        return result;
    }
    return std::nullopt;
}

Ref<Object> taggedValue(const std::string& tag, const Json& payload)
{
    if (tag == dataTag) {
        if (!payload.is_string())
            return nullptr;
        auto bytes = decodeBase64(payload.get_ref<const std::string&>());
        if (!bytes)
            return nullptr;
        return make<Data>(std::move(*bytes));
    }
    if (tag == dateTag) {
        if (!payload.is_number())
            return nullptr;
        return Date::dateWithTimeIntervalSinceReferenceDate(payload.get<double>());
    }
    if (!payload.is_string())
        return nullptr;
    const auto& text = payload.get_ref<const std::string&>();
    if (text == "nan")
        return Number::numberWithDouble(std::numeric_limits<double>::quiet_NaN());
    if (text == "inf")
        return Number::numberWithDouble(std::numeric_limits<double>::infinity());
    if (text == "-inf")
        return Number::numberWithDouble(-std::numeric_limits<double>::infinity());
    return nullptr;
}

bool isTagged(const Json& json)
{
    if (!json.is_object() || json.size() != 1)
        return false;
    const auto& key = json.begin().key();
    return key == dataTag || key == dateTag || key == numberTag;
}

Ref<Object> valueAtDepth(const Json& json, unsigned depth)
{
    if (depth > maximumPropertyListDepth)
        return nullptr;
    switch (json.type()) {
    case Json::value_t::string:
        return String::withUTF8(json.get_ref<const std::string&>());
    case Json::value_t::boolean:
        return Number::numberWithBool(json.get<bool>());
    case Json::value_t::number_integer:
        return Number::numberWithLongLong(json.get<int64_t>());
    case Json::value_t::number_unsigned: {
        auto value = json.get<uint64_t>();
        if (value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
            return Number::numberWithLongLong(static_cast<int64_t>(value));
        return Number::numberWithUnsignedLongLong(value);
    }
    case Json::value_t::number_float:
        return Number::numberWithDouble(json.get<double>());
    case Json::value_t::array: {
        std::vector<Ref<Object>> elements;
        for (const auto& element : json) {
            auto value = valueAtDepth(element, depth + 1);
            if (!value)
                return nullptr;
            elements.push_back(std::move(value));
        }
        return make<Array>(std::move(elements));
    }
    case Json::value_t::object: {
        if (isTagged(json))
            return taggedValue(json.begin().key(), json.begin().value());
        auto result = make<MutableDictionary>();
        for (const auto& [key, element] : json.items()) {
            auto value = valueAtDepth(element, depth + 1);
            if (!value)
                return nullptr;
            result->setObject(std::move(value), String::withUTF8(unescapeKey(key)));
        }
        return result->copy();
    }
    default:
        return nullptr;
    }
}

constexpr char base64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int base64Digit(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

} // namespace

Ref<Object> propertyListCopy(const Object* value)
{
    return copyAtDepth(value, 0);
}

std::optional<Json> jsonFromPropertyList(const Object* value)
{
    return jsonAtDepth(value, 0);
}

Ref<Object> propertyListFromJSON(const Json& json)
{
    return valueAtDepth(json, 0);
}

Ref<Dictionary> dictionaryFromJSONObject(const Json& object, const std::function<void(const std::string& key)>& skipped)
{
    auto result = make<MutableDictionary>();
    for (const auto& [key, element] : object.items()) {
        auto value = valueAtDepth(element, 1);
        if (!value) {
            skipped(key);
            continue;
        }
        result->setObject(std::move(value), String::withUTF8(unescapeKey(key)));
    }
    return result->copy();
}

std::string encodeBase64(std::span<const uint8_t> bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        uint32_t group = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
        for (int shift = 18; shift >= 0; shift -= 6)
            text += base64Alphabet[(group >> shift) & 63];
    }
    size_t rest = bytes.size() - i;
    if (rest) {
        uint32_t group = bytes[i] << 16 | (rest == 2 ? bytes[i + 1] << 8 : 0);
        text += base64Alphabet[(group >> 18) & 63];
        text += base64Alphabet[(group >> 12) & 63];
        text += rest == 2 ? base64Alphabet[(group >> 6) & 63] : '=';
        text += '=';
    }
    return text;
}

std::optional<std::vector<uint8_t>> decodeBase64(std::string_view text)
{
    if (text.size() % 4)
        return std::nullopt;
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (size_t i = 0; i < text.size(); i += 4) {
        bool last = i + 4 == text.size();
        size_t padding = 0;
        if (last)
            padding = text[i + 3] == '=' ? (text[i + 2] == '=' ? 2 : 1) : 0;
        uint32_t group = 0;
        for (size_t j = 0; j < 4; ++j) {
            int digit = j >= 4 - padding ? 0 : base64Digit(text[i + j]);
            if (digit < 0)
                return std::nullopt;
            group = group << 6 | static_cast<uint32_t>(digit);
        }
        bytes.push_back(static_cast<uint8_t>(group >> 16));
        if (padding < 2)
            bytes.push_back(static_cast<uint8_t>(group >> 8));
        if (padding < 1)
            bytes.push_back(static_cast<uint8_t>(group));
        // Bits below the last byte must be zero, so each byte string has one spelling.
        if ((padding == 1 && (group & 0xFF)) || (padding == 2 && (group & 0xFFFF)))
            return std::nullopt;
    }
    return bytes;
}

} // namespace yk::detail
