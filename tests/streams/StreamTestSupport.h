#pragma once

// Sources and delegates shared by the stream tests.

#include <Yarkit/YStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace yk::test {

inline std::string text(const Ref<Data>& data)
{
    return data ? std::string(data->stringView()) : std::string("(nil)");
}

// A source over a string that gives at most `chunk` bytes per read and records every request.
class ChunkedSource : public YStream {
    YK_OBJECT(ChunkedSource, YStream)
public:
    explicit ChunkedSource(std::string bytes, uint32_t chunk = UINT32_MAX)
        : _bytes(std::move(bytes))
        , _chunk(chunk)
    {
    }
    uint32_t readBytes(void* buffer, uint32_t length) override
    {
        requests.push_back(length);
        size_t n = std::min<size_t>({ length, _chunk, _bytes.size() - _offset });
        std::memcpy(buffer, _bytes.data() + _offset, n);
        _offset += n;
        return static_cast<uint32_t>(n);
    }

    std::vector<uint32_t> requests;

private:
    std::string _bytes;
    uint32_t _chunk;
    size_t _offset { 0 };
};

// A sink that keeps what is written and counts the writes and flushes.
class RecordingSink : public YStream {
    YK_OBJECT(RecordingSink, YStream)
public:
    void writeBytes(const void* bytes, uint32_t length) override
    {
        written.append(static_cast<const char*>(bytes), length);
        writes.push_back(length);
    }
    void flush() override { ++flushes; }
    void close() override { ++closes; }

    std::string written;
    std::vector<uint32_t> writes;
    int flushes { 0 };
    int closes { 0 };
};

// Reads everything with requests of `size` bytes.
inline std::string readAll(YStream* stream, uint32_t size)
{
    std::string out;
    std::vector<char> buffer(size);
    while (uint32_t n = stream->readBytes(buffer.data(), size))
        out.append(buffer.data(), n);
    return out;
}

} // namespace yk::test
