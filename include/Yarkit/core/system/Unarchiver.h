#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Ref.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace yk {

class Data;
class Error;
class Number;

// Raised for archives that cannot be read; its text is its name.
extern const char NSInvalidUnarchiveOperationException[];
// The domain of the errors unarchiveObjectWithData reports; the codes are ArchiveErrorCode.
extern const char YKArchiveErrorDomain[];

enum class ArchiveErrorCode : int64_t {
    // The bytes end inside a value, or a length or count is larger than the bytes left.
    Truncated = 1,
    // Not an archive: bad magic, or a version this build cannot read.
    NotAnArchive = 2,
    // A tag, kind, number encoding, string encoding or reference that is not valid.
    Malformed = 3,
    // Values nested deeper than Unarchiver::maximumDepth.
    TooDeep = 4,
    // A reference to an object that is still being read.
    Cycle = 5,
    // A class that is not registered, cannot be created, or does not adopt yk::Coding.
    UnknownClass = 6,
    // initWithCoder asked for a value of another kind than the archive holds, or past its end.
    TypeMismatch = 7,
    // Bytes after the root object.
    TrailingBytes = 8,
};

// Reads what Archiver writes (docs/archive-format.md). Every length and count is checked
// against the bytes left before anything is allocated, nesting is capped at maximumDepth, and
// a reference may only name an object that is complete, so no archive can make it crash,
// loop or allocate more than a small multiple of its own size.
//
// An Unarchiver lives only during unarchiveObjectWithData; objects see it in initWithCoder.
class Unarchiver {
public:
    static constexpr unsigned maximumDepth = 256;

    // +unarchiveObjectWithData: the root object, or null for a null data or an archived nil.
    // Raises NSInvalidUnarchiveOperationException, with a reason that says what is wrong and
    // at which offset, for bytes that are not a valid archive.
    [[nodiscard]] static Ref<Object> unarchiveObjectWithData(const Data* data);
    // The same without raising: null, and *error (when error is not null) set to an Error of
    // YKArchiveErrorDomain whose code is an ArchiveErrorCode and whose localized description
    // is the reason; *error is null after a success. Exceptions that initWithCoder raises of
    // its own still pass through.
    [[nodiscard]] static Ref<Object> unarchiveObjectWithData(const Data* data, Ref<Error>* error);

    // For initWithCoder: each reads the next value, which must be of the same kind that
    // encodeWithCoder wrote, else NSInvalidUnarchiveOperationException.
    Ref<Object> decodeObject();
    // decodeObject, then a type test: a value of another class raises.
    template <typename T>
    Ref<T> decodeObjectOfClass()
    {
        auto object = decodeObject();
        checkClass(object.get(), T::staticClass());
        return Ref<T>(static_cast<T*>(object.get()));
    }
    bool decodeBool();
    int64_t decodeInt();
    double decodeDouble();
    std::vector<uint8_t> decodeBytes();

    // The version that the archive records for a class (Coding::classVersion), or NotFound
    // when the archive holds no object of that class.
    uint32_t versionForClassName(std::string_view className) const;

    Unarchiver(const Unarchiver&) = delete;
    Unarchiver& operator=(const Unarchiver&) = delete;

private:
    explicit Unarchiver(std::span<const uint8_t> bytes);

    Ref<Object> decodeRoot();
    Ref<Object> decodeValue();
    Ref<Object> decodeValueWithTag(uint8_t tag, size_t tagOffset);
    Ref<Object> decodeCodingObject(size_t tagOffset);
    Ref<Number> decodeNumber(size_t tagOffset);
    Class* decodeClass();
    void skipRemainingFields();
    void expectField(uint8_t tag);
    void checkClass(const Object* object, const Class* cls);

    uint8_t readByte();
    uint8_t peekByte();
    uint64_t readVarint();
    uint64_t readLength(size_t minimumBytesPerItem);
    double readDouble();
    std::span<const uint8_t> readBytes(size_t count);
    uint64_t reserveSlot();
    [[noreturn]] void fail(ArchiveErrorCode code, const std::string& what, size_t offset) const;

    std::span<const uint8_t> _bytes;
    size_t _offset { 0 };
    unsigned _depth { 0 };
    // Each object in the order its tag was read; null while it is still being read.
    std::vector<Ref<Object>> _objects;
    struct ClassEntry {
        Class* cls;
        std::string name;
        uint32_t version;
    };
    std::vector<ClassEntry> _classes;
    // How many objects (Coding classes) are being read; fields may only be read inside one.
    unsigned _codingDepth { 0 };
};

} // namespace yk
