#pragma once

// A progress bar on standard error, fed by a monitor stream's delegate notifications.

#include <Yarkit/YStream.h>

#include <cstdint>

namespace yk::tool {

// The delegate of a YMonitorInputStream: counts in 64 bits (the monitor's own total wraps at
// 4 GiB) and redraws "[#####     ]  50%" on standard error when the percentage changes; when
// standard error is not a terminal it writes a line per tenth instead.
class ProgressBar : public Object {
    YK_OBJECT(ProgressBar, Object)
public:
    // `total` is the expected byte count; 0 when unknown (only the bytes are shown).
    explicit ProgressBar(uint64_t total);

    // -stream:didReadDataOfLength:
    void streamDidReadDataOfLength(YStream* stream, uint32_t length);
    // Draws the final state and ends the line.
    void finish(uint64_t bytesDone);

private:
    void draw(uint64_t bytesDone);

    uint64_t _total;
    uint64_t _done { 0 };
    uint32_t _lastReported { 0 };
    int _lastShown { -1 };
    bool _terminal;
};

} // namespace yk::tool
