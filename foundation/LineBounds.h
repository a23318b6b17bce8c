#pragma once

// Lines of byte text with LF, CR and CR LF as terminators (a CR LF pair is one terminator).

#include <Yarkit/core/runtime/Range.h>

#include <cstdint>

namespace yk::detail {

struct LineBounds {
    uint32_t start;
    uint32_t end; // after the terminator
    uint32_t terminatorLength; // 0 when the line has none
};

// The line around [location, last] of the range, as getLineStart:end:contentsEnd:forRange:
// sees it: a location between CR and LF belongs to the line that CR LF ends.
LineBounds lineBounds(const uint8_t* bytes, uint32_t length, Range range);

// The line that starts at `start`, byte by byte: the portable path LineScanner is checked
// against.
LineBounds nextLine(const uint8_t* bytes, uint32_t length, uint32_t start);

// The lines of a text from start to end, found with memchr: the next LF is searched once and
// kept for the lines before it (text of lone CRs is not searched again for every line), and
// only the bytes before it are searched for a CR.
class LineScanner {
public:
    LineScanner(const uint8_t* bytes, uint32_t length)
        : _bytes(bytes)
        , _length(length)
    {
    }

    // The line starting at `start`, which must be the end of the previous line (or 0).
    LineBounds next(uint32_t start);

private:
    const uint8_t* _bytes;
    uint32_t _length;
    uint32_t _nextLF { 0 }; // index of the next LF at or after the last start, or _length
    bool _searchedLF { false };
};

} // namespace yk::detail
