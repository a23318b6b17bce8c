#include "tools/ProgressBar.h"

#include <Yarkit/core/runtime/Class.h>

#include <cstdio>

#include <unistd.h>

namespace yk::tool {

YK_DEFINE_CLASS(ProgressBar, [](MethodListBuilder& c) {
    c.method("stream:didReadDataOfLength:", &ProgressBar::streamDidReadDataOfLength);
});

ProgressBar::ProgressBar(uint64_t total)
    : _total(total)
    , _terminal(isatty(STDERR_FILENO))
{
}

void ProgressBar::streamDidReadDataOfLength(YStream*, uint32_t length)
{
    // The difference of two 32-bit totals is right across a wrap.
    _done += length - _lastReported;
    _lastReported = length;
    draw(_done);
}

void ProgressBar::finish(uint64_t bytesDone)
{
    draw(bytesDone);
    if (_terminal)
        std::fputc('\n', stderr);
}

void ProgressBar::draw(uint64_t bytesDone)
{
    if (!_total) {
        if (_terminal)
            std::fprintf(stderr, "\r%llu bytes", static_cast<unsigned long long>(bytesDone));
        return;
    }
    int percent = static_cast<int>(bytesDone >= _total ? 100 : bytesDone * 100 / _total);
    int shown = _terminal ? percent : percent / 10 * 10;
    if (shown == _lastShown)
        return;
    _lastShown = shown;
    if (!_terminal) {
        std::fprintf(stderr, "%d%%\n", shown);
        return;
    }
    char bar[41];
    for (int i = 0; i < 40; ++i)
        bar[i] = i < percent * 40 / 100 ? '#' : ' ';
    bar[40] = '\0';
    std::fprintf(stderr, "\r[%s] %3d%%", bar, percent);
}

} // namespace yk::tool
