#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>

namespace yk {

class Data;

// The abstract synchronous byte stream. A source overrides readBytes, a sink writeBytes;
// everything else is written in terms of those two. One stream is used by one thread at a
// time. Failures raise yk::Exception; no operation reports an error by its result.
class YStream : public Object {
    YK_OBJECT(YStream, Object)
public:
    YStream() = default;
    ~YStream() override;

    // +stream
    [[nodiscard]] static Ref<YStream> stream();

    // Releases the underlying resource; the base does nothing.
    virtual void close();

    // -readBytes:length: stores at most `length` bytes and returns how many. 0 means end of
    // stream (or a length of 0); a short count does not. The base raises NSGenericException
    // "subclass <class> (instance) should override readBytes:length:".
    [[nodiscard]] virtual uint32_t readBytes(void* buffer, uint32_t length);
    // Null for 0. Up to 65536 bytes: one readBytes into the result's own storage, so the
    // result may be short before the end; null when it reads nothing. Beyond that: reads
    // until `length` bytes or the end, null when nothing came.
    [[nodiscard]] virtual Ref<Data> readDataOfLength(uint32_t length);
    // Everything up to the end of the stream; null when nothing is left.
    [[nodiscard]] virtual Ref<Data> availableData();
    // Reads and drops up to `count` bytes; returns how many went. The base cannot go back:
    // a count of 0 or less gives 0.
    virtual int64_t skipBy(int64_t count);

    // -writeBytes:length: consumes all `length` bytes or raises. The base raises
    // NSGenericException "subclass <class> (instance) should override writeBytes:length:".
    virtual void writeBytes(const void* bytes, uint32_t length);
    // writeBytes of the data's bytes; null writes nothing.
    virtual void writeData(const Data* data);
    // Pushes buffered output on to the final sink; the base does nothing.
    virtual void flush();
};

} // namespace yk
