// The line reader over a buffered stream (scanned in place) against the same chain read byte
// by byte behind a plain filter: the same lines, then the same bytes for raw reads through
// stream(), with fuzzer-chosen short source reads, buffer size and trim; raw reads and push
// backs through stream() mixed in. Large buffers and reads reach the block scans.
#include <Yarkit/YBufferedInputStream.h>
#include <Yarkit/YLineInputStream.h>
#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/values/Exception.h>

#include "fuzz/StreamFuzzInput.h"
#include "tests/streams/StreamTestSupport.h"

using namespace yk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Choices choices(data, size);
    uint32_t chunk = choices.next(4) ? 1 + choices.next(16) : UINT32_MAX;
    uint32_t bufferSize = choices.next(4) ? choices.next(24) : 24 + choices.next(256);
    uint8_t plan[16];
    for (auto& step : plan)
        step = static_cast<uint8_t>(choices.next(256));
    std::string text = choices.rest();

    auto chain = [&](bool plainFilter) {
        Ref<YStream> buffered = YBufferedInputStream::streamWithStream(make<test::ChunkedSource>(text, chunk).get(), bufferSize);
        return YLineInputStream::streamWithStream(plainFilter ? YFilterStream::streamWithStream(buffered.get()).get() : buffered.get());
    };
    auto fast = chain(false);
    auto oracle = chain(true);
    for (int round = 0; round < 64; ++round) {
        uint8_t step = plan[round % 16];
        if (step < 200) {
            bool trim = step & 1;
            Ref<Data> a = fast->readLineDataTrimmingNewline(trim);
            Ref<Data> b = oracle->readLineDataTrimmingNewline(trim);
            fuzz::require(test::text(a) == test::text(b) && !a == !b);
            if (!a)
                break;
        } else if (step < 216) {
            // A caller's push back through the reader's pushback wrapper, when there is one.
            auto unread = [step](YLineInputStream* reader) {
                if (!reader->stream()->isKindOfClass(YPushbackInputStream::staticClass()))
                    return 0;
                try {
                    static_cast<YPushbackInputStream*>(reader->stream())->unreadBytes(&step, 0, 1);
                    return 1;
                } catch (const Exception&) {
                    return 2;
                }
            };
            fuzz::require(unread(fast.get()) == unread(oracle.get()));
        } else {
            char x[64], y[64];
            uint32_t want = 1 + step % 64;
            uint32_t n = fast->stream()->readBytes(x, want);
            fuzz::require(n == oracle->stream()->readBytes(y, want) && std::string(x, n) == std::string(y, n));
        }
    }
    fuzz::require(test::readAll(fast->stream(), 7) == test::readAll(oracle->stream(), 7));
    return 0;
}
