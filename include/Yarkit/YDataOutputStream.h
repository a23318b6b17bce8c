#pragma once

#include <Yarkit/YStream.h>

namespace yk {

class MutableData;

// A stream that collects what is written in a mutable data object (retained). Made over a
// null data object it drops every write.
class YDataOutputStream : public YStream {
    YK_OBJECT(YDataOutputStream, YStream)
public:
    // A data object of its own with room for `capacity` bytes.
    explicit YDataOutputStream(uint32_t capacity = 32);
    // Appends to the caller's data.
    explicit YDataOutputStream(Ref<MutableData> data);
    ~YDataOutputStream() override;

    [[nodiscard]] static Ref<YDataOutputStream> streamWithCapacity(uint32_t capacity);
    [[nodiscard]] static Ref<YDataOutputStream> streamWithMutableData(MutableData* data);

    // A snapshot of the bytes so far: later writes do not change it.
    [[nodiscard]] Ref<Data> data() const;
    // The live data object.
    MutableData* mutableData() const { return _data.get(); }
    uint32_t length() const;
    void reset();
    // writeData of everything collected to `stream`.
    void writeToStream(YStream* stream) const;

    void writeBytes(const void* bytes, uint32_t length) override;
    void writeData(const Data* data) override;

private:
    Ref<MutableData> _data;
};

} // namespace yk
