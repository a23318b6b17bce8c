#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace yk {

class MutableData;

// An immutable run of bytes. Where the bytes live depends on how the data was made:
// - dataWithBytes copies them into the object's own allocation (one allocation in all);
// - dataWithBytesNoCopy adopts a malloc buffer (freed with the data) or borrows memory that
//   the caller keeps alive and unchanged for the data's whole life;
// - dataWithContentsOfFile can map a regular file read-only instead of reading it.
// subdataWithRange and copy of an immutable Data share the bytes without copying, keeping
// their owner alive; a MutableData copies shared bytes before its first change (copy on
// write). Immutable data is safe to share between threads.
//
// Ranges and indices outside the bytes raise NSRangeException
// "*** -[<class> <selector>]: Range or index out of bounds".
class Data : public Object {
    YK_OBJECT(Data, Object)
public:
    Data() = default;
    // Copies the bytes (into a buffer of its own: prefer dataWithBytes, which needs no second
    // allocation).
    explicit Data(const std::vector<uint8_t>& bytes);
    ~Data() override;

    // +dataWithBytes:length: copies the bytes (a null pointer is allowed with length 0).
    [[nodiscard]] static Ref<Data> dataWithBytes(const void* bytes, uint32_t length);
    // The bytes of the text as they stand (UTF-8 text stays UTF-8).
    [[nodiscard]] static Ref<Data> dataWithString(std::string_view bytes);
    // +dataWithBytesNoCopy:length:freeWhenDone: takes the bytes as they are. With
    // `freeWhenDone` they must come from malloc and are freed with the data; without it they
    // are borrowed and must outlive the data (and every subdata and copy taken from it).
    [[nodiscard]] static Ref<Data> dataWithBytesNoCopy(void* bytes, uint32_t length, bool freeWhenDone = true);

    // A data of at most `capacity` bytes in one allocation, whose bytes `fill(uint8_t* bytes)`
    // writes in place and whose length is the uint32_t count it returns (at most `capacity`).
    // A result much shorter than the room taken is copied into a fitting allocation.
    template <typename Fill>
    [[nodiscard]] static Ref<Data> dataByFilling(uint32_t capacity, Fill&& fill)
    {
        Ref<Data> data = withInlineBytes(capacity);
        uint32_t length = fill(const_cast<uint8_t*>(data->_bytes));
        data->_length = length;
        if (capacity > 4096 && length < capacity / 2)
            return dataWithBytes(data->_bytes, length);
        return data;
    }

    // Options of dataWithContentsOfFile (bit 0 as the platform's "mapped if safe").
    enum ReadingOptions : uint32_t {
        ReadingUncached = 0,
        // Map a regular file read-only instead of reading it; other files (pipes, devices) are
        // read. A mapped file must not be truncated while the data lives.
        ReadingMappedIfSafe = 1,
    };
    // +dataWithContentsOfFile:options:error: null on failure, with a POSIX error (errno; EFBIG
    // for a file of 4 GiB or more) stored in `error` when it is given.
    [[nodiscard]] static Ref<Data> dataWithContentsOfFile(const char* path, uint32_t options = ReadingUncached,
        Ref<Error>* error = nullptr);

    // Options of writeToFile (the platform's values).
    enum WritingOptions : uint32_t {
        // Write a temporary file in the same folder, then rename it over the path.
        WritingAtomic = 1,
        // Fail with EEXIST when the path exists.
        WritingWithoutOverwriting = 2,
    };
    // -writeToFile:atomically: the bytes replace the file's entry: atomically through a
    // temporary file in the same folder renamed over it, else written in place unless the file
    // has other hard links, which are left holding the old bytes (a "~" backup made by link
    // survives). An existing file's permission bits are kept; a new file gets 0666 under the
    // umask. False with errno set on failure; a failed atomic write leaves the old file.
    bool writeToFile(const char* path, bool atomically) const;
    // -writeToFile:options:error: the same with WritingOptions; failure stores a POSIX error
    // (14 for a null path, 2 for an empty one, else errno) in `error` when it is given.
    bool writeToFile(const char* path, uint32_t options, Ref<Error>* error) const;

    uint32_t length() const { return _length; }
    // The first byte, or null when the data is empty.
    const uint8_t* bytes() const { return _length ? _bytes : nullptr; }
    std::span<const uint8_t> span() const { return { bytes(), _length }; }
    std::string_view stringView() const { return { reinterpret_cast<const char*>(bytes()), _length }; }

    // -getBytes:range: copies range.length bytes to buffer.
    void getBytes(void* buffer, Range range) const;
    // Shares this data's bytes (a mutable data's are copied).
    [[nodiscard]] Ref<Data> subdataWithRange(Range range) const;

    bool isEqualToData(const Data* other) const;
    // An immutable data with the same bytes (shares them).
    [[nodiscard]] Ref<Data> copy() const;
    [[nodiscard]] Ref<MutableData> mutableCopy() const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "<48656c6c 6f>": hexadecimal, a space after every four bytes.
    Ref<String> description() const override;

    // Objects made by withInlineBytes come from one ::operator new of more than sizeof(Data);
    // they are freed unsized, as every Data is.
    static void operator delete(void* object) { ::operator delete(object); }

protected:
    friend class MutableData;

    // What the destructor does with _bytes.
    enum class Ownership : uint8_t {
        None, // inline after the object, borrowed, or kept alive by _owner
        Free,
        Unmap,
    };

    // A data whose `length` uninitialised bytes follow the object in its one allocation.
    [[nodiscard]] static Ref<Data> withInlineBytes(uint32_t length);
    // The object that keeps this data's bytes alive, for another Data that shares them.
    virtual const Object* bytesOwner() const;
    // Makes this data a view of `length` bytes kept alive by `owner`.
    void shareBytes(const Object* owner, const uint8_t* bytes, uint32_t length);

    const uint8_t* _bytes { nullptr };
    uint32_t _length { 0 };
    Ownership _ownership { Ownership::None };
    // Holds the bytes of a view (subdata, copy) alive: the data that owns them.
    Ref<const Object> _owner;

    // NSRangeException for a range beyond the bytes, naming the selector.
    void checkRange(Range range, const char* selector) const;
};

} // namespace yk
