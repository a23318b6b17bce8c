#include <Yarkit/core/system/Unarchiver.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <limits>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Coding.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/Format.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Null.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/runtime/Range.h>
#include <Yarkit/core/values/String.h>

#include "core/system/ArchiveFormat.h"

namespace yk {

const char NSInvalidUnarchiveOperationException[] = "NSInvalidUnarchiveOperationException";
const char YKArchiveErrorDomain[] = "YKArchiveErrorDomain";

using namespace detail::archive;

namespace {

// Keys of the user info of the exceptions the unarchiver raises.
constexpr char errorCodeKey[] = "YKArchiveErrorCode";
constexpr char errorOffsetKey[] = "YKArchiveErrorOffset";

int64_t unzigzag(uint64_t value)
{
    return static_cast<int64_t>(value >> 1) ^ -static_cast<int64_t>(value & 1);
}

bool isFieldTag(uint8_t tag)
{
    return tag >= TagFieldBool && tag <= TagFieldBytes;
}

bool isKeyKind(const Object* key)
{
    return key->isKindOfClass(String::staticClass()) || key->isKindOfClass(Number::staticClass())
        || key->isKindOfClass(Data::staticClass()) || key->isKindOfClass(Date::staticClass())
        || key->isKindOfClass(Null::staticClass());
}

} // namespace

Unarchiver::Unarchiver(std::span<const uint8_t> bytes)
    : _bytes(bytes)
{
}

Ref<Object> Unarchiver::unarchiveObjectWithData(const Data* data)
{
    if (!data)
        return nullptr;
    Unarchiver unarchiver(data->span());
    return unarchiver.decodeRoot();
}

Ref<Object> Unarchiver::unarchiveObjectWithData(const Data* data, Ref<Error>* error)
{
    if (error)
        *error = nullptr;
    try {
        return unarchiveObjectWithData(data);
    } catch (const Exception& exception) {
        if (!exception.name()->isEqualToString(std::string_view(NSInvalidUnarchiveOperationException)))
            throw;
        if (error) {
            // The exception's user info holds the code and offset, unless initWithCoder raised it.
            auto userInfo = exception.userInfo() ? exception.userInfo()->mutableCopy() : make<MutableDictionary>();
            auto code = userInfo->objectForKey(std::string_view(errorCodeKey));
            userInfo->removeObjectForKey(String::withUTF8(errorCodeKey).get());
            if (exception.reason())
                userInfo->setObject(exception.reason(), String::withUTF8(NSLocalizedDescriptionKey));
            int64_t value = code && code->isKindOfClass(Number::staticClass()) ? static_cast<Number*>(code.get())->longLongValue()
                                                                                : static_cast<int64_t>(ArchiveErrorCode::Malformed);
            *error = Error::errorWithDomain(YKArchiveErrorDomain, value, userInfo->copy());
        }
        return nullptr;
    }
}

void Unarchiver::fail(ArchiveErrorCode code, const std::string& what, size_t offset) const
{
    auto userInfo = Dictionary::dictionaryWithEntries({
        { String::withUTF8(errorCodeKey), Number::numberWithLongLong(static_cast<int64_t>(code)) },
        { String::withUTF8(errorOffsetKey), Number::numberWithUnsignedLongLong(offset) },
    });
    auto reason = format("*** -[Unarchiver unarchiveObjectWithData:]: %s at offset %zu", what.c_str(), offset);
    Exception::exceptionWithName(String::withUTF8(NSInvalidUnarchiveOperationException), reason, userInfo)->raise();
    __builtin_unreachable();
}

uint8_t Unarchiver::readByte()
{
    if (_offset >= _bytes.size())
        fail(ArchiveErrorCode::Truncated, "the archive ends inside a value", _offset);
    return _bytes[_offset++];
}

uint8_t Unarchiver::peekByte()
{
    if (_offset >= _bytes.size())
        fail(ArchiveErrorCode::Truncated, "the archive ends inside an object", _offset);
    return _bytes[_offset];
}

uint64_t Unarchiver::readVarint()
{
    size_t start = _offset;
    uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
        uint8_t byte = readByte();
        if (shift == 63 && byte > 1)
            fail(ArchiveErrorCode::Malformed, "a variable-length integer exceeds 64 bits", start);
        value |= static_cast<uint64_t>(byte & 0x7F) << shift;
        if (!(byte & 0x80))
            return value;
        if (shift == 63)
            fail(ArchiveErrorCode::Malformed, "a variable-length integer exceeds 64 bits", start);
    }
}

uint64_t Unarchiver::readLength(size_t minimumBytesPerItem)
{
    size_t start = _offset;
    uint64_t length = readVarint();
    size_t remaining = _bytes.size() - _offset;
    if (length > remaining / minimumBytesPerItem)
        fail(ArchiveErrorCode::Truncated, "a length of " + std::to_string(length) + " exceeds the " + std::to_string(remaining) + " bytes left", start);
    return length;
}

double Unarchiver::readDouble()
{
    auto bytes = readBytes(8);
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i)
        bits |= static_cast<uint64_t>(bytes[i]) << (8 * i);
    return std::bit_cast<double>(bits);
}

std::span<const uint8_t> Unarchiver::readBytes(size_t count)
{
    if (count > _bytes.size() - _offset)
        fail(ArchiveErrorCode::Truncated, "the archive ends inside a value", _offset);
    auto bytes = _bytes.subspan(_offset, count);
    _offset += count;
    return bytes;
}

uint64_t Unarchiver::reserveSlot()
{
    _objects.emplace_back(nullptr);
    return _objects.size() - 1;
}

Ref<Object> Unarchiver::decodeRoot()
{
    if (_bytes.size() < sizeof(magic) + 1) {
        bool isPrefix = std::equal(_bytes.begin(), _bytes.end(), std::begin(magic), std::begin(magic) + std::min(_bytes.size(), sizeof(magic)));
        fail(isPrefix ? ArchiveErrorCode::Truncated : ArchiveErrorCode::NotAnArchive, "the archive header is incomplete", 0);
    }
    if (!std::equal(std::begin(magic), std::end(magic), _bytes.begin()))
        fail(ArchiveErrorCode::NotAnArchive, "the bytes do not start with \"YKAR\"", 0);
    if (_bytes[4] != version)
        fail(ArchiveErrorCode::NotAnArchive, "version " + std::to_string(_bytes[4]) + " is not supported", 4);
    _offset = sizeof(magic) + 1;
    auto root = decodeValue();
    if (_offset != _bytes.size())
        fail(ArchiveErrorCode::TrailingBytes, "bytes follow the root object", _offset);
    return root;
}

Ref<Object> Unarchiver::decodeValue()
{
    size_t tagOffset = _offset;
    uint8_t tag = readByte();
    if (tag == TagEndOfObject || isFieldTag(tag)) {
        if (_codingDepth)
            fail(ArchiveErrorCode::TypeMismatch, "an object was asked for where the archive holds a plain value or the end of an object", tagOffset);
        fail(ArchiveErrorCode::Malformed, "a field appears outside an object", tagOffset);
    }
    return decodeValueWithTag(tag, tagOffset);
}

Ref<Object> Unarchiver::decodeValueWithTag(uint8_t tag, size_t tagOffset)
{
    if (tag == TagNil)
        return nullptr;
    if (tag == TagReference) {
        uint64_t index = readVarint();
        if (index >= _objects.size())
            fail(ArchiveErrorCode::Malformed, "a reference names an object that has not been read", tagOffset);
        if (!_objects[index])
            fail(ArchiveErrorCode::Cycle, "a reference names an object that contains it", tagOffset);
        return _objects[index];
    }
    if (tag > TagObject)
        fail(ArchiveErrorCode::Malformed, "unknown tag", tagOffset);
    if (_depth >= maximumDepth)
        fail(ArchiveErrorCode::TooDeep, "values are nested too deeply", tagOffset);

    const uint64_t slot = reserveSlot();
    ++_depth;
    Ref<Object> result;
    switch (tag) {
    case TagNull:
        result = Null::null();
        break;
    case TagNumber:
        result = decodeNumber(tagOffset);
        break;
    case TagString:
    case TagMutableString: {
        auto bytes = readBytes(readLength(1));
        auto units = utf16FromUTF8(bytes);
        if (!units)
            fail(ArchiveErrorCode::Malformed, "a string is not well-formed UTF-8", tagOffset);
        if (tag == TagMutableString)
            result = make<MutableString>(std::move(*units));
        else
            result = make<String>(std::move(*units));
        break;
    }
    case TagData:
    case TagMutableData: {
        auto bytes = readBytes(readLength(1));
        std::vector<uint8_t> copy(bytes.begin(), bytes.end());
        if (tag == TagMutableData)
            result = make<MutableData>(std::move(copy));
        else
            result = make<Data>(std::move(copy));
        break;
    }
    case TagDate:
        result = Date::dateWithTimeIntervalSinceReferenceDate(readDouble());
        break;
    case TagArray:
    case TagMutableArray: {
        uint64_t count = readLength(1);
        std::vector<Ref<Object>> elements;
        elements.reserve(count);
        for (uint64_t i = 0; i < count; ++i) {
            size_t elementOffset = _offset;
            auto element = decodeValue();
            if (!element)
                fail(ArchiveErrorCode::Malformed, "an array holds nil", elementOffset);
            elements.push_back(std::move(element));
        }
        if (tag == TagMutableArray)
            result = make<MutableArray>(std::move(elements));
        else
            result = make<Array>(std::move(elements));
        break;
    }
    case TagDictionary:
    case TagMutableDictionary: {
        uint64_t count = readLength(2);
        auto dictionary = make<MutableDictionary>();
        for (uint64_t i = 0; i < count; ++i) {
            size_t keyOffset = _offset;
            auto key = decodeValue();
            if (!key || !isKeyKind(key.get()))
                fail(ArchiveErrorCode::Malformed, "a dictionary key is nil or not a string, number, data, date or null", keyOffset);
            size_t valueOffset = _offset;
            auto value = decodeValue();
            if (!value)
                fail(ArchiveErrorCode::Malformed, "a dictionary value is nil", valueOffset);
            dictionary->setObject(std::move(value), std::move(key));
            if (dictionary->count() != i + 1)
                fail(ArchiveErrorCode::Malformed, "a dictionary holds a key twice", keyOffset);
        }
        if (tag == TagMutableDictionary)
            result = dictionary;
        else
            result = dictionary->copy();
        break;
    }
    case TagObject:
        result = decodeCodingObject(tagOffset);
        break;
    }
    --_depth;
    _objects[slot] = result;
    return result;
}

Ref<Number> Unarchiver::decodeNumber(size_t tagOffset)
{
    using Kind = Number::Kind;
    auto checkRange = [&](bool fits) {
        if (!fits)
            fail(ArchiveErrorCode::Malformed, "a number is out of the range of its kind", tagOffset);
    };
    switch (static_cast<Kind>(readByte())) {
    case Kind::Bool: {
        uint8_t value = readByte();
        if (value > 1)
            fail(ArchiveErrorCode::Malformed, "a boolean is neither 0 nor 1", _offset - 1);
        return Number::numberWithBool(value);
    }
    case Kind::Short: {
        int64_t value = unzigzag(readVarint());
        checkRange(value == static_cast<int16_t>(value));
        return Number::numberWithShort(static_cast<int16_t>(value));
    }
    case Kind::Int: {
        int64_t value = unzigzag(readVarint());
        checkRange(value == static_cast<int32_t>(value));
        return Number::numberWithInt(static_cast<int32_t>(value));
    }
    case Kind::LongLong:
        return Number::numberWithLongLong(unzigzag(readVarint()));
    case Kind::UnsignedShort: {
        uint64_t value = readVarint();
        checkRange(value <= std::numeric_limits<uint16_t>::max());
        return Number::numberWithUnsignedShort(static_cast<uint16_t>(value));
    }
    case Kind::UnsignedInt: {
        uint64_t value = readVarint();
        checkRange(value <= std::numeric_limits<uint32_t>::max());
        return Number::numberWithUnsignedInt(static_cast<uint32_t>(value));
    }
    case Kind::UnsignedLongLong:
        return Number::numberWithUnsignedLongLong(readVarint());
    case Kind::Float: {
        // Converting a double beyond the float range is undefined, so refuse it first.
        double value = readDouble();
        checkRange(!std::isfinite(value) || std::fabs(value) <= std::numeric_limits<float>::max());
        return Number::numberWithFloat(static_cast<float>(value));
    }
    case Kind::Double:
        return Number::numberWithDouble(readDouble());
    }
    fail(ArchiveErrorCode::Malformed, "unknown number kind", tagOffset + 1);
}

Class* Unarchiver::decodeClass()
{
    size_t start = _offset;
    uint64_t index = readVarint();
    if (index < _classes.size())
        return _classes[index].cls;
    if (index > _classes.size())
        fail(ArchiveErrorCode::Malformed, "a class reference names a class that has not been read", start);
    auto nameBytes = readBytes(readLength(1));
    std::string name(nameBytes.begin(), nameBytes.end());
    uint64_t classVersion = readVarint();
    if (classVersion > std::numeric_limits<uint32_t>::max())
        fail(ArchiveErrorCode::Malformed, "a class version exceeds 32 bits", start);
    Class* cls = Class::named(name);
    if (!cls || cls->isMetaClass())
        fail(ArchiveErrorCode::UnknownClass, "no class is named \"" + name + "\"", start);
    _classes.push_back({ cls, std::move(name), static_cast<uint32_t>(classVersion) });
    return cls;
}

Ref<Object> Unarchiver::decodeCodingObject(size_t tagOffset)
{
    Class* cls = decodeClass();
    cls->ensureInitialized();
    auto object = cls->createInstance();
    if (!object)
        fail(ArchiveErrorCode::UnknownClass, "class " + cls->name() + " cannot be created", tagOffset);
    auto coding = dynamic_cast<Coding*>(object.get());
    if (!coding)
        fail(ArchiveErrorCode::UnknownClass, "class " + cls->name() + " does not adopt yk::Coding", tagOffset);
    ++_codingDepth;
    coding->initWithCoder(*this);
    skipRemainingFields();
    --_codingDepth;
    return object;
}

// Fields that an older initWithCoder does not read are read and dropped, up to the end marker.
void Unarchiver::skipRemainingFields()
{
    for (;;) {
        uint8_t tag = peekByte();
        if (tag == TagEndOfObject) {
            ++_offset;
            return;
        }
        switch (tag) {
        case TagFieldBool:
            decodeBool();
            break;
        case TagFieldInt:
            decodeInt();
            break;
        case TagFieldDouble:
            decodeDouble();
            break;
        case TagFieldBytes:
            ++_offset;
            readBytes(readLength(1));
            break;
        default:
            decodeValue();
        }
    }
}

Ref<Object> Unarchiver::decodeObject()
{
    return decodeValue();
}

void Unarchiver::checkClass(const Object* object, const Class* cls)
{
    if (object && !object->isKindOfClass(cls))
        fail(ArchiveErrorCode::TypeMismatch, "an object of class " + object->classObject()->name() + " is not a kind of " + cls->name(), _offset);
}

namespace {

const char* fieldName(uint8_t tag)
{
    switch (tag) {
    case TagFieldBool:
        return "a boolean";
    case TagFieldInt:
        return "an integer";
    case TagFieldDouble:
        return "a double";
    default:
        return "bytes";
    }
}

} // namespace

// Consumes the tag of the next field, which must be the expected one.
void Unarchiver::expectField(uint8_t expected)
{
    size_t tagOffset = _offset;
    if (peekByte() != expected)
        fail(ArchiveErrorCode::TypeMismatch, std::string(fieldName(expected)) + " was asked for where the archive holds something else", tagOffset);
    ++_offset;
}

bool Unarchiver::decodeBool()
{
    expectField(TagFieldBool);
    uint8_t value = readByte();
    if (value > 1)
        fail(ArchiveErrorCode::Malformed, "a boolean is neither 0 nor 1", _offset - 1);
    return value;
}

int64_t Unarchiver::decodeInt()
{
    expectField(TagFieldInt);
    return unzigzag(readVarint());
}

double Unarchiver::decodeDouble()
{
    expectField(TagFieldDouble);
    return readDouble();
}

std::vector<uint8_t> Unarchiver::decodeBytes()
{
    expectField(TagFieldBytes);
    auto bytes = readBytes(readLength(1));
    return { bytes.begin(), bytes.end() };
}

uint32_t Unarchiver::versionForClassName(std::string_view className) const
{
    for (const auto& entry : _classes) {
        if (entry.name == className)
            return entry.version;
    }
    return NotFound;
}

} // namespace yk
