#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Ref.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace yk {

// Raised when an object graph cannot be archived; its text is its name.
extern const char NSInvalidArchiveOperationException[];

// Writes an object graph as bytes that Unarchiver reads back (docs/archive-format.md).
// Archivable are nil, Null, String, Number (with its kind), Data, Date, Array and Dictionary
// (mutable or not, which is kept), and objects of classes that adopt yk::Coding. An object that
// occurs more than once is written once; later occurrences refer to it, so the unarchived
// graph shares it too.
//
// An Archiver lives only during archivedDataWithRootObject; objects see it in encodeWithCoder.
class Archiver {
public:
    // +archivedDataWithRootObject: raises NSInvalidArchiveOperationException for an object of a
    // class that cannot be archived, for a graph that contains a cycle, or one nested deeper
    // than Unarchiver accepts.
    [[nodiscard]] static Ref<Data> archivedDataWithRootObject(const Object* rootObject);

    // For encodeWithCoder: each call appends one value, which initWithCoder reads back with
    // the decode method of the same kind.
    void encodeObject(const Object* object);
    void encodeBool(bool value);
    void encodeInt(int64_t value);
    void encodeDouble(double value);
    void encodeBytes(std::span<const uint8_t> bytes);

    Archiver(const Archiver&) = delete;
    Archiver& operator=(const Archiver&) = delete;

private:
    Archiver();

    void encodeValue(const Object* object);
    void encodeCodingObject(const Object* object);
    void encodeClass(const Class* cls, uint32_t version);
    void writeByte(uint8_t byte);
    void writeVarint(uint64_t value);
    void writeDouble(double value);
    void writeLength(size_t length);

    std::vector<uint8_t> _bytes;
    // Index of each object written so far; whether it is still being written. The reference
    // keeps the object alive, so that its address cannot be reused by a later object.
    struct Written {
        uint64_t index;
        bool inProgress;
        Ref<Object> object;
    };
    std::unordered_map<const Object*, Written> _objects;
    std::unordered_map<const Class*, uint64_t> _classes;
    unsigned _depth { 0 };
};

} // namespace yk
