// Byte text split into lines and converted between newline conventions: the lines joined give
// the input again, and after a conversion checkNewline reports no line ends or only the
// target's kind.

#include <Yarkit/DataAdditions.h>
#include <Yarkit/core/values/Array.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto bytes = yk::Data::dataWithBytes(data, static_cast<uint32_t>(size));
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
