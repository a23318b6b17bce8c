#include <Yarkit/YDataOutputStream.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableData.h>

namespace yk {

YK_DEFINE_CLASS(YDataOutputStream);

YDataOutputStream::YDataOutputStream(uint32_t capacity)
    : _data(MutableData::dataWithCapacity(capacity))
{
}

YDataOutputStream::YDataOutputStream(Ref<MutableData> data)
    : _data(std::move(data))
{
}

YDataOutputStream::~YDataOutputStream() = default;

Ref<YDataOutputStream> YDataOutputStream::streamWithCapacity(uint32_t capacity)
{
    return make<YDataOutputStream>(capacity);
}

Ref<YDataOutputStream> YDataOutputStream::streamWithMutableData(MutableData* data)
{
    return make<YDataOutputStream>(Ref<MutableData>(data));
}

Ref<Data> YDataOutputStream::data() const
{
    return _data ? _data->copy() : nullptr;
}

uint32_t YDataOutputStream::length() const
{
    return _data ? _data->length() : 0;
}

void YDataOutputStream::reset()
{
    if (_data)
        _data->setLength(0);
}

void YDataOutputStream::writeToStream(YStream* stream) const
{
    if (stream)
        stream->writeData(_data.get());
}

void YDataOutputStream::writeBytes(const void* bytes, uint32_t length)
{
    if (length && _data)
        _data->appendBytes(bytes, length);
}

void YDataOutputStream::writeData(const Data* data)
{
    if (data)
        writeBytes(data->bytes(), data->length());
}

} // namespace yk
