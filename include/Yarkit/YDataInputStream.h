#pragma once

#include <Yarkit/YStream.h>

namespace yk {

namespace detail {
class InPlaceSource;
}

// A stream that reads a range of a data object. It keeps an immutable copy of the data (which
// shares the bytes), so changing a mutable source afterwards changes nothing here. close does
// nothing: the bytes stay readable.
class YDataInputStream : public YStream {
    YK_OBJECT(YDataInputStream, YStream)
public:
    // The whole data; null reads as empty.
    explicit YDataInputStream(const Data* data);
    // Bytes offset .. offset + length, cut at the data's end (computed without wrapping); an
    // offset beyond the end reads nothing.
    YDataInputStream(const Data* data, uint32_t offset, uint32_t length);
    ~YDataInputStream() override;

    [[nodiscard]] static Ref<YDataInputStream> streamWithData(const Data* data);

    [[nodiscard]] uint32_t readBytes(void* buffer, uint32_t length) override;
    // A subdata sharing the source's bytes; null for 0 or at the end.
    [[nodiscard]] Ref<Data> readDataOfLength(uint32_t length) override;
    // Moves the cursor either way, never before the range's start or past its end; returns
    // the distance moved.
    int64_t skipBy(int64_t count) override;

private:
    friend class detail::InPlaceSource; // scans the unread bytes in place
    uint32_t remaining() const { return _cursor < _length ? _length - _cursor : 0; }

    Ref<Data> _data;
    const uint8_t* _bytes { nullptr };
    uint32_t _offset;
    // One past the last readable index.
    uint32_t _length;
    uint32_t _cursor;
};

} // namespace yk
