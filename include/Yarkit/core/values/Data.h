#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/runtime/Range.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace yk {

class MutableData;

// An immutable run of bytes. The bytes live in a buffer that several Data objects may share:
// subdataWithRange and copy of an immutable Data share it without copying, and a MutableData
// copies it before its first change (copy on write). Immutable data is safe to share between
// threads.
//
// Ranges and indices outside the bytes raise NSRangeException
// "*** -[<class> <selector>]: Range or index out of bounds".
class Data : public Object {
    YK_OBJECT(Data, Object)
public:
    Data() = default;
    explicit Data(std::vector<uint8_t> bytes);

    // +dataWithBytes:length: copies the bytes (a null pointer is allowed with length 0).
    [[nodiscard]] static Ref<Data> dataWithBytes(const void* bytes, uint32_t length);
    // The bytes of the text as they stand (UTF-8 text stays UTF-8).
    [[nodiscard]] static Ref<Data> dataWithString(std::string_view bytes);

    uint32_t length() const { return _length; }
    // The first byte, or null when the data is empty.
    const uint8_t* bytes() const;
    std::span<const uint8_t> span() const { return { bytes(), _length }; }
    std::string_view stringView() const { return { reinterpret_cast<const char*>(bytes()), _length }; }

    // -getBytes:range: copies range.length bytes to buffer.
    void getBytes(void* buffer, Range range) const;
    // Shares this data's buffer.
    [[nodiscard]] Ref<Data> subdataWithRange(Range range) const;

    bool isEqualToData(const Data* other) const;
    // An immutable data with the same bytes (shares the buffer).
    [[nodiscard]] Ref<Data> copy() const;
    [[nodiscard]] Ref<MutableData> mutableCopy() const;

    bool isEqual(const Object* other) const override;
    size_t hash() const override;
    // "<48656c6c 6f>": hexadecimal, a space after every four bytes.
    Ref<String> description() const override;

protected:
    // Makes this data a view of the other's bytes, sharing its buffer.
    void shareBytesOf(const Data& other);

    friend class MutableData;

    std::shared_ptr<std::vector<uint8_t>> _storage;
    uint32_t _offset { 0 };
    uint32_t _length { 0 };

    // NSRangeException for a range beyond the bytes, naming the selector.
    void checkRange(Range range, const char* selector) const;
};

} // namespace yk
