#include <Yarkit/YLineInputStream.h>

#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Exception.h>

#include "streams/InPlaceSource.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>

namespace yk {

YK_DEFINE_CLASS(YLineInputStream);

namespace {

constexpr uint8_t CR = '\r';
constexpr uint8_t LF = '\n';
constexpr uint32_t initialLineBufferSize = 128;
// The least room a line's object is made with, so that most lines fit one made before.
constexpr uint32_t lineDataRoom = 120;

} // namespace

namespace detail {

// A line's data with its bytes after the object, in room that may exceed its length. It keeps
// its own count so that the reader, holding the only reference, can hand out a second one with
// a plain store: nobody else can touch the count then.
class LineData final : public Data {
public:
    static Ref<LineData> withRoom(uint32_t room)
    {
        void* memory = ::operator new(sizeof(LineData) + room);
        return Ref<LineData>::adopt(::new (memory) LineData(room));
    }
    uint32_t room() const { return _room; }
    uint8_t* storage() { return reinterpret_cast<uint8_t*>(this) + sizeof(LineData); }

    void retain() const noexcept override { _count.fetch_add(1, std::memory_order_relaxed); }
    void release() const noexcept override
    {
        if (_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    uint32_t retainCount() const noexcept override { return _count.load(std::memory_order_relaxed); }

    // Whether the caller's reference is the only one. True also orders what follows after
    // everything the last other holder did with the line (pairing with its release).
    bool isUnshared() const { return _count.load(std::memory_order_acquire) == 1; }
    // Sets the length and makes a second reference for the caller to hand out, while the
    // caller holds the only one.
    Ref<Data> share(uint32_t length)
    {
        _length = length;
        _count.store(2, std::memory_order_relaxed);
        return Ref<Data>::adopt(this);
    }

private:
    explicit LineData(uint32_t room)
        : _room(room)
    {
        _bytes = storage();
    }
    uint32_t _room;
    mutable std::atomic<uint32_t> _count { 1 };
};

} // namespace detail

using detail::LineData;

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
// from a new one) and it has the room; otherwise a new one is made. Either way the caller then
// holds the only other reference.
LineData* YLineInputStream::lineToFill(uint32_t room)
{
    auto* line = static_cast<LineData*>(_lastLine.get());
    if (line && line->isUnshared() && line->room() >= room)
        return line;
    return newLineToFill(room);
}

LineData* YLineInputStream::newLineToFill(uint32_t room)
{
    _lastLine = LineData::withRoom(std::max(room, lineDataRoom));
    return static_cast<LineData*>(_lastLine.get());
}

Ref<Data> YLineInputStream::makeLine(const uint8_t* bytes, uint32_t length)
{
    if (uint64_t(_lineLength) + length > UINT32_MAX)
        raiseLineTooLong();
    uint32_t total = _lineLength + length;
    LineData* line = lineToFill(total);
    if (_lineLength)
        std::memcpy(line->storage(), _lineBuffer.get(), _lineLength);
    if (length)
        std::memcpy(line->storage() + _lineLength, bytes, length);
    _lineLength = 0;
    return line->share(total);
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

// The terminator at `lineBreak` in the unread bytes: LF, CR LF, or a lone CR whose next byte is
// consumed with it (and pushed back). Null when a CR ends the unread bytes: its next byte
// must be read.
std::optional<YLineInputStream::Terminator> YLineInputStream::terminatorAt(std::span<const uint8_t> unread, const uint8_t* lineBreak)
{
    if (*lineBreak == LF)
        return Terminator { 1, false };
    if (lineBreak + 1 == unread.data() + unread.size())
        return std::nullopt;
    if (lineBreak[1] == LF)
        return Terminator { 2, false };
    return Terminator { 1, true };
}

// Consumes a line of `run` bytes and its terminator from the unread bytes. The byte after a
// lone CR is read and pushed back, as a one-byte read would.
void YLineInputStream::consumeInPlace(detail::InPlaceSource& source, const uint8_t* bytes, uint32_t run, Terminator terminator)
{
    source.consume(run + terminator.length + terminator.pushesBack);
    if (terminator.pushesBack)
        pushBack(bytes[run + 1]);
}

// A line whose terminator lies in the source's unread bytes, made in one allocation from the
// bytes collected so far and the run before the terminator; null when a CR ends the unread
// bytes.
Ref<Data> YLineInputStream::lineInPlace(detail::InPlaceSource& source, std::span<const uint8_t> unread, uint32_t run, bool trim)
{
    std::optional<Terminator> terminator = terminatorAt(unread, unread.data() + run);
    if (!terminator)
        return nullptr;
    Ref<Data> line = makeLine(unread.data(), trim ? run : run + terminator->length);
    consumeInPlace(source, unread.data(), run, *terminator);
    return line;
}

// The usual line, in one pass: it ends in the unread bytes and fits the room of the line
// object to fill, into which it is copied while it is scanned. Null, having consumed nothing,
// otherwise. The same as lineInPlace with nothing collected, with fewer branches.
Ref<Data> YLineInputStream::quickLine(detail::InPlaceSource& source, bool trim)
{
    auto unread = source.unread();
    LineData* line = lineToFill(0);
    uint8_t* storage = line->storage();
    const uint8_t* bytes = unread.data();
    // One byte of the room is kept for the LF of a CR LF, which the scan stops before.
    const uint8_t* lineBreak = detail::copyThroughLineBreak(bytes, bytes + std::min<size_t>(unread.size(), line->room() - 1), storage);
    if (!lineBreak)
        return nullptr;
    // Few branches below: which terminator comes is anybody's guess.
    auto run = static_cast<uint32_t>(lineBreak - bytes);
    bool isCR = *lineBreak == CR;
    bool endsUnread = run + 1 == unread.size();
    if (isCR & endsUnread)
        return nullptr;
    uint8_t next = lineBreak[!endsUnread];
    bool isCRLF = isCR & (next == LF);
    bool pushesBack = isCR & !isCRLF;
    storage[run + 1] = LF;
    uint32_t terminator = 1 + isCRLF;
    source.consume(run + terminator + pushesBack);
    if (pushesBack && !source.pushBack(next))
        pushBack(next);
    return line->share(trim ? run : run + terminator);
}

detail::InPlaceSource* YLineInputStream::inPlaceSource()
{
    if (_stream.get() != _scannedStream) {
        *_source = detail::InPlaceSource::find(_stream.get());
        _scannedStream = _stream.get();
    }
    if (!*_source)
        return nullptr;
    return _source->isReady() || _source->rejoinPushedBack() ? _source.get() : nullptr;
}

Ref<Data> YLineInputStream::readLineData()
{
    return readLineDataTrimmingNewline(false);
}

Ref<Data> YLineInputStream::readLineDataTrimmingNewline(bool trim)
{
    if (!_stream)
        return nullptr;
    if (detail::InPlaceSource* source = inPlaceSource(); source && !source->unread().empty()) {
        if (Ref<Data> line = quickLine(*source, trim))
            return line;
    }
    return assembleLine(trim);
}

// The byte-at-a-time reading below is the reference; the in-place scan takes whole runs of
// line bytes from the source's unread bytes and meets the same terminator.
Ref<Data> YLineInputStream::assembleLine(bool trim)
{
    _lineLength = 0;
    for (;;) {
        uint8_t byte;
        if (detail::InPlaceSource* source = inPlaceSource()) {
            auto unread = source->unread();
            if (unread.empty()) {
                if (!source->refill())
                    return takeLine(true);
                if (!_lineLength) {
                    if (Ref<Data> line = quickLine(*source, trim))
                        return line;
                }
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
