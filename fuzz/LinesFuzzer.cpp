// Byte text split into lines and converted between newline conventions: the memchr line
// scanner finds the lines the portable byte loop finds, the lines joined give the input again,
// and after a conversion checkNewline reports no line ends or only the target's kind.

#include <Yarkit/DataAdditions.h>
#include <Yarkit/core/values/Array.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/LineBounds.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto length = static_cast<uint32_t>(size);
    yk::detail::LineScanner scanner(data, length);
    for (uint32_t start = 0; start < length;) {
        auto fast = scanner.next(start);
        auto portable = yk::detail::nextLine(data, length, start);
        if (fast.end != portable.end || fast.terminatorLength != portable.terminatorLength)
            std::abort();
        start = fast.end;
    }
    auto bytes = yk::Data::dataWithBytes(data, length);
    auto lines = yk::lines(bytes.get(), false);
    std::string joined;
    for (auto& line : *lines)
        joined += static_cast<yk::Data*>(line.get())->stringView();
    if (joined != bytes->stringView())
        std::abort();
    static const int codes[] = { yk::YKOnlyCR, yk::YKOnlyLF, yk::YKOnlyCRLF };
    for (int kind : { yk::YKNewlineCR, yk::YKNewlineLF, yk::YKNewlineCRLF }) {
        int code = yk::checkNewline(yk::dataByConvertingNewlineTo(bytes.get(), kind).get());
        if (code != yk::YKNoNewline && code != codes[kind])
            std::abort();
    }
    (void)yk::subdataByTrimmingWhitespaceAndNewline(bytes.get());
    return 0;
}
