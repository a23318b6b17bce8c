#include <Yarkit/YLineInputStream.h>

#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include "streams/InPlaceSource.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace yk {

YK_DEFINE_CLASS(YLineInputStream);

namespace {

constexpr uint8_t CR = '\r';
constexpr uint8_t LF = '\n';
constexpr uint32_t initialLineBufferSize = 128;
// The least room a line's object is made with, so that most lines fit one made before.
constexpr uint32_t lineDataRoom = 120;

// A line's data with its bytes after the object, in room that may exceed its length.
class LineData final : public Data {
public:
    static Ref<LineData> withRoom(uint32_t room)
    {
        void* memory = ::operator new(sizeof(LineData) + room);
        return Ref<LineData>::adopt(::new (memory) LineData(room));
    }
    uint32_t room() const { return _room; }
    uint8_t* storage() { return reinterpret_cast<uint8_t*>(this) + sizeof(LineData); }
    void setLength(uint32_t length) { _length = length; }

private:
    explicit LineData(uint32_t room)
        : _room(room)
    {
        _bytes = storage();
    }
    uint32_t _room;
};

// Orders the refill of a line after everything its last other holder did with it: an acquire
// fence pairing with that holder's release of its reference. ThreadSanitizer does not model
// fences (and GCC warns of them under it), so there an acquiring release of a reference of
// our own, taken for the purpose, does the same.
void acquireAfterLastRelease([[maybe_unused]] Data* line)
{
#if defined(__SANITIZE_THREAD__)
    Ref<Data> held(line); // its release on leaving acquires; the count goes back to 1
#else
    std::atomic_thread_fence(std::memory_order_acquire);
#endif
}

} // namespace

YLineInputStream::YLineInputStream(Ref<YStream> stream)
    : YFilterStream(std::move(stream))
    , _lineBuffer(std::make_unique_for_overwrite<uint8_t[]>(initialLineBufferSize))
    , _lineBufferSize(initialLineBufferSize)
    , _source(std::make_unique<detail::InPlaceSource>())
{
}

YLineInputStream::~YLineInputStream() = default;

Ref<YLineInputStream> YLineInputStream::streamWithStream(YStream* stream)
{
    return make<YLineInputStream>(Ref<YStream>(stream));
}

bool YLineInputStream::readByte(uint8_t& byte)
{
    return _stream && _stream->readBytes(&byte, 1) == 1;
}

void YLineInputStream::raiseLineTooLong() const
{
    raise(NSRangeException, "*** -[%s readLineDataTrimmingNewline:]: Range or index out of bounds", classObject()->name().c_str());
}

void YLineInputStream::append(const uint8_t* bytes, uint32_t length)
{
    if (length > _lineBufferSize - _lineLength) {
        if (uint64_t(_lineLength) + length > UINT32_MAX)
            raiseLineTooLong();
        uint64_t size = _lineBufferSize;
        while (size - _lineLength < length)
            size *= 2;
        size = std::min<uint64_t>(size, UINT32_MAX);
        auto grown = std::make_unique_for_overwrite<uint8_t[]>(size);
        std::memcpy(grown.get(), _lineBuffer.get(), _lineLength);
        _lineBuffer = std::move(grown);
        _lineBufferSize = static_cast<uint32_t>(size);
    }
    if (length == 1)
        _lineBuffer[_lineLength] = *bytes;
    else
        std::memcpy(_lineBuffer.get() + _lineLength, bytes, length);
    _lineLength += length;
}

void YLineInputStream::pushBack(uint8_t byte)
{
    if (!_stream->isKindOfClass(YPushbackInputStream::staticClass()))
        setStream(make<YPushbackInputStream>(_stream, 1));
    static_cast<YPushbackInputStream*>(_stream.get())->unreadBytes(&byte, 0, 1);
}

// The previous line's object is filled again when the caller has let it go (nobody can tell it
// from a new one) and it has room; otherwise a new one is made. Either way the caller holds
// the only other reference.
Ref<Data> YLineInputStream::makeLine(const uint8_t* bytes, uint32_t length)
{
    if (uint64_t(_lineLength) + length > UINT32_MAX)
        raiseLineTooLong();
    uint32_t total = _lineLength + length;
    auto* line = static_cast<LineData*>(_lastLine.get());
    if (line && line->retainCount() == 1 && line->room() >= total) {
        acquireAfterLastRelease(line);
    } else {
        _lastLine = LineData::withRoom(std::max(total, lineDataRoom));
        line = static_cast<LineData*>(_lastLine.get());
    }
    if (_lineLength)
        std::memcpy(line->storage(), _lineBuffer.get(), _lineLength);
    if (length)
        std::memcpy(line->storage() + _lineLength, bytes, length);
    line->setLength(total);
    _lineLength = 0;
    return _lastLine;
}

Ref<Data> YLineInputStream::takeLine(bool nilWhenEmpty)
{
    if (!_lineLength && nilWhenEmpty)
        return nullptr;
    return makeLine(nullptr, 0);
}

Ref<Data> YLineInputStream::finishAfterCR(bool trim)
{
    if (!trim)
        append(CR);
    uint8_t next;
    if (!readByte(next))
        return takeLine(true);
    if (next == LF) {
        if (!trim)
            append(LF);
        return takeLine(false);
    }
    pushBack(next);
    return takeLine(false);
}

// A line whose terminator lies in the source's unread bytes, made in one allocation from the
// bytes collected so far and the run before the terminator; null when a CR ends the unread
// bytes (its next byte must be read).
Ref<Data> YLineInputStream::lineInPlace(detail::InPlaceSource& source, std::span<const uint8_t> unread, uint32_t run, bool trim)
{
    const uint8_t* bytes = unread.data();
    uint32_t terminator = 1;
    bool pushesBack = false;
    if (bytes[run] == CR) {
        if (run + 1 == unread.size())
            return nullptr;
        if (bytes[run + 1] == LF)
            terminator = 2;
        else
            pushesBack = true;
    }
    Ref<Data> line = makeLine(bytes, trim ? run : run + terminator);
    // The byte after a lone CR is read and pushed back, as a one-byte read would.
    source.consume(run + terminator + pushesBack);
    if (pushesBack)
        pushBack(bytes[run + 1]);
    return line;
}

detail::InPlaceSource* YLineInputStream::inPlaceSource()
{
    if (_stream.get() != _scannedStream) {
        *_source = detail::InPlaceSource::find(_stream.get());
        _scannedStream = _stream.get();
    }
    return *_source && _source->isReady() ? _source.get() : nullptr;
}

Ref<Data> YLineInputStream::readLineData()
{
    return readLineDataTrimmingNewline(false);
}

// The byte-at-a-time reading below is the reference; the in-place scan takes whole runs of
// line bytes from the source's unread bytes and meets the same terminator.
Ref<Data> YLineInputStream::readLineDataTrimmingNewline(bool trim)
{
    if (!_stream)
        return nullptr;
    _lineLength = 0;
    for (;;) {
        uint8_t byte;
        if (detail::InPlaceSource* source = inPlaceSource()) {
            auto unread = source->unread();
            if (unread.empty()) {
                if (!source->refill())
                    return takeLine(true);
                continue;
            }
            const uint8_t* lineBreak = detail::findLineBreak(unread);
            if (!lineBreak) {
                append(unread.data(), static_cast<uint32_t>(unread.size()));
                source->consume(static_cast<uint32_t>(unread.size()));
                continue;
            }
            auto run = static_cast<uint32_t>(lineBreak - unread.data());
            if (Ref<Data> line = lineInPlace(*source, unread, run, trim))
                return line;
            append(unread.data(), run);
            source->consume(run + 1);
            byte = CR;
        } else if (!readByte(byte)) {
            return takeLine(true);
        }
        if (byte == LF) {
            if (!trim)
                append(LF);
            return takeLine(false);
        }
        if (byte == CR)
            return finishAfterCR(trim);
        append(byte);
    }
}

} // namespace yk
