#pragma once

#include <Yarkit/core/values/Data.h>

namespace yk {

// Data that can be changed in place. Not safe to change while another thread reads it.
// Its bytes live in a buffer of its own with room to grow; copy and mutableCopy share that
// buffer (or the bytes the data was copied from) until the next change made through a method,
// which copies them first. Pointers from bytes() and mutableBytes() stay valid until the next
// change of length; write through mutableBytes() only before taking a copy.
class MutableData : public Data {
    YK_OBJECT(MutableData, Data)
public:
    MutableData() = default;
    explicit MutableData(const std::vector<uint8_t>& bytes);

    // +dataWithCapacity: (a hint) and +dataWithLength: (zero-filled).
    [[nodiscard]] static Ref<MutableData> dataWithCapacity(uint32_t capacity);
    [[nodiscard]] static Ref<MutableData> dataWithLength(uint32_t length);
    [[nodiscard]] static Ref<MutableData> dataWithBytes(const void* bytes, uint32_t length);

    // The first byte, or null when the data is empty.
    uint8_t* mutableBytes();

    void appendBytes(const void* bytes, uint32_t length);
    // Raises NSInvalidArgumentException for null.
    void appendData(const Data* data);
    // -replaceBytesInRange:withBytes: overwrites range.length bytes.
    void replaceBytesInRange(Range range, const void* bytes);
    // -replaceBytesInRange:withBytes:length: the range may grow or shrink the data.
    void replaceBytesInRange(Range range, const void* bytes, uint32_t length);
    // Sets the bytes of range to zero.
    void resetBytesInRange(Range range);
    // Growing adds zero bytes.
    void setLength(uint32_t length);
    void increaseLengthBy(uint32_t extraLength);
    void setData(const Data* data);

protected:
    const Object* bytesOwner() const override { return _owner.get(); }

private:
    // The bytes, writable, in a buffer of this object's own that holds at least `capacity`
    // bytes and keeps the current ones: shared or borrowed bytes are copied first.
    uint8_t* writableBytes(uint32_t capacity);

    // Bytes the buffer in _owner holds; 0 when _owner is not a buffer of this object's own.
    uint32_t _capacity { 0 };
};

} // namespace yk
