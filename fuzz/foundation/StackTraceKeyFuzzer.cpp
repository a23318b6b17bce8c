// The NSStackTraceKey readers on arbitrary text: both give one entry per piece, separators + 1,
// the numbers are the pieces read with base 0, and the hexadecimal texts are the pieces.
#include <Yarkit/ExceptionAdditions.h>
#include <Yarkit/MemoryFunctions.h>
#include <Yarkit/core/values/Number.h>

#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find('\0') != std::string::npos)
        return 0;
    auto trace = yk::String::withUTF8(text);
    // The pieces as the text splits them: at every "  ", left to right, without overlap.
    std::vector<std::string> pieces;
    for (size_t start = 0;;) {
        size_t separator = text.find("  ", start);
        pieces.push_back(text.substr(start, separator == std::string::npos ? std::string::npos : separator - start));
        if (separator == std::string::npos)
            break;
        start = separator + 2;
    }
    if (trace->utf8() != text)
        return 0; // ill-formed UTF-8 was replaced; the pieces above no longer describe it
    auto info = yk::Dictionary::dictionaryWithEntries({ { yk::String::withUTF8("NSStackTraceKey"), trace } });
    auto exception = yk::Exception::exceptionWithName("Fuzz", "pieces", info);
    auto numbers = yk::YK_callStackReturnAddresses(exception.get());
    auto texts = yk::_callStackReturnHexAddresses(exception.get());
    if (!numbers || !texts || numbers->count() != pieces.size() || texts->count() != pieces.size())
        std::abort();
    for (uint32_t i = 0; i < pieces.size(); ++i) {
        auto number = static_cast<yk::Number*>(numbers->objectAtIndex(i).get())->unsignedLongLongValue();
        if (number != static_cast<uint64_t>(y_strtoll(pieces[i].c_str(), nullptr, 0)))
            std::abort();
        if (static_cast<yk::String*>(texts->objectAtIndex(i).get())->utf8() != pieces[i])
            std::abort();
    }
    return 0;
}
