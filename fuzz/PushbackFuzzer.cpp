// The pushback stream against a model: pushed-back bytes come first, the latest pushed first
// in line, then one read of the source; pushing back more than the free room raises and
// changes nothing.
#include <Yarkit/YPushbackInputStream.h>
#include <Yarkit/core/values/Exception.h>

#include <deque>

#include "fuzz/StreamFuzzInput.h"
#include "tests/streams/StreamTestSupport.h"

using namespace yk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Choices choices(data, size);
    uint32_t chunk = 1 + choices.next(8);
    uint32_t room = choices.next(8);
    uint8_t plan[24];
    for (auto& step : plan)
        step = static_cast<uint8_t>(choices.next(256));
    std::string text = choices.rest();

    auto source = make<test::ChunkedSource>(text, chunk);
    auto pushback = YPushbackInputStream::streamWithStream(source.get(), room);
    std::deque<char> pending;
    size_t offset = 0;
    for (uint8_t step : plan) {
        uint32_t n = 1 + step % 16;
        if (step & 0x80) {
            std::string bytes(n, char('a' + step % 26));
            bool fits = n <= room - pending.size();
            try {
                pushback->unreadBytes(bytes.data(), 0, n);
                fuzz::require(fits);
                pending.insert(pending.begin(), bytes.begin(), bytes.end());
            } catch (const Exception&) {
                fuzz::require(!fits);
            }
            continue;
        }
        char buffer[16];
        uint32_t got = pushback->readBytes(buffer, n);
        std::string expected;
        while (expected.size() < n && !pending.empty()) {
            expected += pending.front();
            pending.pop_front();
        }
        if (expected.size() < n) {
            size_t fromSource = std::min<size_t>({ n - expected.size(), chunk, text.size() - offset });
            expected += text.substr(offset, fromSource);
            offset += fromSource;
        }
        fuzz::require(std::string(buffer, got) == expected);
    }
    return 0;
}
