#include <Yarkit/core/system/Archiver.h>

#include <bit>
#include <cstring>

#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Coding.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Dictionary.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Null.h>
#include <Yarkit/core/values/Number.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/system/Unarchiver.h>

#include "core/system/ArchiveFormat.h"

namespace yk {

const char NSInvalidArchiveOperationException[] = "NSInvalidArchiveOperationException";

using namespace detail::archive;

namespace {

uint64_t zigzag(int64_t value)
{
    return (static_cast<uint64_t>(value) << 1) ^ static_cast<uint64_t>(value >> 63);
}

// Keys whose equality and hash are cheap and cannot recurse, which the unarchiver can trust.
bool isArchivableKey(const Object* key)
{
    return !dynamic_cast<const Coding*>(key)
        && (key->isKindOfClass(String::staticClass()) || key->isKindOfClass(Number::staticClass())
            || key->isKindOfClass(Data::staticClass()) || key->isKindOfClass(Date::staticClass())
            || key->isKindOfClass(Null::staticClass()));
}

} // namespace

Archiver::Archiver()
{
    _bytes.assign(std::begin(magic), std::end(magic));
    _bytes.push_back(version);
}

Ref<Data> Archiver::archivedDataWithRootObject(const Object* rootObject)
{
    Archiver archiver;
    archiver.encodeValue(rootObject);
    return make<Data>(std::move(archiver._bytes));
}

void Archiver::writeByte(uint8_t byte)
{
    _bytes.push_back(byte);
}

void Archiver::writeVarint(uint64_t value)
{
    while (value >= 0x80) {
        _bytes.push_back(static_cast<uint8_t>(value | 0x80));
        value >>= 7;
    }
    _bytes.push_back(static_cast<uint8_t>(value));
}

void Archiver::writeDouble(double value)
{
    uint64_t bits = std::bit_cast<uint64_t>(value);
    for (int i = 0; i < 8; ++i)
        _bytes.push_back(static_cast<uint8_t>(bits >> (8 * i)));
}

void Archiver::writeLength(size_t length)
{
    writeVarint(length);
}

void Archiver::encodeObject(const Object* object)
{
    encodeValue(object);
}

void Archiver::encodeBool(bool value)
{
    writeByte(TagFieldBool);
    writeByte(value ? 1 : 0);
}

void Archiver::encodeInt(int64_t value)
{
    writeByte(TagFieldInt);
    writeVarint(zigzag(value));
}

void Archiver::encodeDouble(double value)
{
    writeByte(TagFieldDouble);
    writeDouble(value);
}

void Archiver::encodeBytes(std::span<const uint8_t> bytes)
{
    writeByte(TagFieldBytes);
    writeLength(bytes.size());
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
}

void Archiver::encodeClass(const Class* cls, uint32_t classVersion)
{
    auto [it, added] = _classes.try_emplace(cls, _classes.size());
    writeVarint(it->second);
    if (!added)
        return;
    writeLength(cls->name().size());
    _bytes.insert(_bytes.end(), cls->name().begin(), cls->name().end());
    writeVarint(classVersion);
}

void Archiver::encodeValue(const Object* object)
{
    if (!object) {
        writeByte(TagNil);
        return;
    }
    if (auto it = _objects.find(object); it != _objects.end()) {
        if (it->second.inProgress)
            raise(NSInvalidArchiveOperationException, "*** -[Archiver encodeObject:]: an object of class %s is part of a cycle; cyclic graphs cannot be archived",
                object->classObject()->name().c_str());
        writeByte(TagReference);
        writeVarint(it->second.index);
        return;
    }
    if (_depth >= Unarchiver::maximumDepth)
        raise(NSInvalidArchiveOperationException, "*** -[Archiver encodeObject:]: objects nested more than %u deep", Unarchiver::maximumDepth);

    const uint64_t index = _objects.size();
    _objects.emplace(object, Written { index, true, Ref<Object>(const_cast<Object*>(object)) });
    ++_depth;

    if (dynamic_cast<const Coding*>(object)) {
        encodeCodingObject(object);
    } else if (object->isKindOfClass(Null::staticClass())) {
        writeByte(TagNull);
    } else if (object->isKindOfClass(Number::staticClass())) {
        auto number = static_cast<const Number*>(object);
        writeByte(TagNumber);
        writeByte(static_cast<uint8_t>(number->kind()));
        switch (number->kind()) {
        case Number::Kind::Bool:
            writeByte(number->boolValue() ? 1 : 0);
            break;
        case Number::Kind::Short:
        case Number::Kind::Int:
        case Number::Kind::LongLong:
            writeVarint(zigzag(number->longLongValue()));
            break;
        case Number::Kind::UnsignedShort:
        case Number::Kind::UnsignedInt:
        case Number::Kind::UnsignedLongLong:
            writeVarint(number->unsignedLongLongValue());
            break;
        case Number::Kind::Float:
        case Number::Kind::Double:
            writeDouble(number->doubleValue());
            break;
        }
    } else if (object->isKindOfClass(String::staticClass())) {
        writeByte(object->isKindOfClass(MutableString::staticClass()) ? TagMutableString : TagString);
        std::string utf8 = utf8FromUTF16(static_cast<const String*>(object)->units());
        writeLength(utf8.size());
        _bytes.insert(_bytes.end(), utf8.begin(), utf8.end());
    } else if (object->isKindOfClass(Data::staticClass())) {
        writeByte(object->isKindOfClass(MutableData::staticClass()) ? TagMutableData : TagData);
        auto bytes = static_cast<const Data*>(object)->span();
        writeLength(bytes.size());
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
    } else if (object->isKindOfClass(Date::staticClass())) {
        writeByte(TagDate);
        writeDouble(static_cast<const Date*>(object)->timeIntervalSinceReferenceDate());
    } else if (object->isKindOfClass(Array::staticClass())) {
        // Hold the elements: an object's encodeWithCoder might change a mutable array.
        std::vector<Ref<Object>> elements = static_cast<const Array*>(object)->objects();
        writeByte(object->isKindOfClass(MutableArray::staticClass()) ? TagMutableArray : TagArray);
        writeLength(elements.size());
        for (const auto& element : elements)
            encodeValue(element.get());
    } else if (object->isKindOfClass(Dictionary::staticClass())) {
        std::vector<Dictionary::Entry> entries = static_cast<const Dictionary*>(object)->entries();
        writeByte(object->isKindOfClass(MutableDictionary::staticClass()) ? TagMutableDictionary : TagDictionary);
        writeLength(entries.size());
        for (const auto& entry : entries) {
            if (!isArchivableKey(entry.key.get()))
                raise(NSInvalidArchiveOperationException, "*** -[Archiver encodeObject:]: a dictionary key of class %s; keys must be strings, numbers, data, dates or null",
                    entry.key->classObject()->name().c_str());
            encodeValue(entry.key.get());
            encodeValue(entry.value.get());
        }
    } else {
        raise(NSInvalidArchiveOperationException, "*** -[Archiver encodeObject:]: cannot archive an object of class %s, which does not adopt yk::Coding",
            object->classObject()->name().c_str());
    }

    --_depth;
    _objects[object].inProgress = false;
}

void Archiver::encodeCodingObject(const Object* object)
{
    auto coding = dynamic_cast<const Coding*>(object);
    writeByte(TagObject);
    encodeClass(object->classObject(), coding->classVersion());
    coding->encodeWithCoder(*this);
    writeByte(TagEndOfObject);
}

} // namespace yk
