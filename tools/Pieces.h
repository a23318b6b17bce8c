#pragma once

// Streaming a command's input in pieces that can each be converted on their own.

#include <Yarkit/YFileStream.h>
#include <Yarkit/core/values/Exception.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace yk::tool {

// Reads `input` `pieceSize` bytes at a time and hands `convert(bytes, length)` the bytes held up
// to `safeEnd(bytes, held)`, keeping the rest for the next read; at the end of the input it
// hands over whatever is left. Input with no safe point is held until one comes. `convert`
// returns false to stop at once. Returns false when `convert` stopped or reading raised (after
// "yarkit COMMAND: reason" on standard error).
template <typename SafeEnd, typename Convert>
bool forEachPiece(YFileStream& input, uint32_t pieceSize, const char* command, SafeEnd safeEnd, Convert convert)
{
    std::vector<uint8_t> buffer(2 * size_t(pieceSize));
    size_t held = 0;
    try {
        for (;;) {
            if (buffer.size() - held < pieceSize)
                buffer.resize(buffer.size() * 2);
            const uint32_t read = input.readBytes(buffer.data() + held, pieceSize);
            held += read;
            const size_t end = read ? safeEnd(buffer.data(), held) : held;
            if (end && !convert(buffer.data(), static_cast<uint32_t>(end)))
                return false;
            std::memmove(buffer.data(), buffer.data() + end, held - end);
            held -= end;
            if (!read)
                return true;
        }
    } catch (const Exception& e) {
        std::fprintf(stderr, "yarkit %s: %s\n", command, e.what());
        return false;
    }
}

} // namespace yk::tool
