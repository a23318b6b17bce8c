#include <Yarkit/YStream.h>

#include <Yarkit/ObjectAbstractMethods.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableData.h>

#include <algorithm>

namespace yk {

YK_DEFINE_CLASS(YStream);

namespace {

// The one-call limit of readDataOfLength and the scratch size of the bulk loops.
constexpr uint32_t singleReadLimit = 65536;
constexpr uint32_t scratchSize = 40960;

} // namespace

YStream::~YStream() = default;

Ref<YStream> YStream::stream()
{
    return make<YStream>();
}

void YStream::close()
{
}

uint32_t YStream::readBytes(void*, uint32_t)
{
    subclassResponsibility(this, "readBytes:length:");
}

Ref<Data> YStream::readDataOfLength(uint32_t length)
{
    if (!length)
        return nullptr;
    if (length <= singleReadLimit) {
        Ref<Data> data = Data::dataByFilling(length, [&](uint8_t* bytes) { return readBytes(bytes, length); });
        return data->length() ? data : nullptr;
    }
    auto data = MutableData::dataWithCapacity(scratchSize);
    uint8_t scratch[scratchSize];
    uint32_t remaining = length;
    for (;;) {
        uint32_t n = readBytes(scratch, std::min(remaining, scratchSize));
        if (!n)
            break;
        data->appendBytes(scratch, n);
        if (n >= remaining)
            return data;
        remaining -= n;
    }
    return data->length() ? data : nullptr;
}

Ref<Data> YStream::availableData()
{
    return readDataOfLength(UINT32_MAX);
}

int64_t YStream::skipBy(int64_t count)
{
    if (count <= 0)
        return 0;
    uint8_t scratch[scratchSize];
    int64_t remaining = count;
    do {
        uint32_t n = readBytes(scratch, static_cast<uint32_t>(std::min<int64_t>(remaining, scratchSize)));
        if (!n)
            break;
        remaining -= n;
    } while (remaining > 0);
    return count - remaining;
}

void YStream::writeBytes(const void*, uint32_t)
{
    subclassResponsibility(this, "writeBytes:length:");
}

void YStream::writeData(const Data* data)
{
    if (data)
        writeBytes(data->bytes(), data->length());
}

void YStream::flush()
{
}

} // namespace yk
