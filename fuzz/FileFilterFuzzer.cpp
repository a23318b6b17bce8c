// A pattern and a name, split at the first NUL byte (the first byte picks case sensitivity):
// _matchesName, with its ASCII fast path, must answer as the string-search transcription does,
// and never raise.

#include <Yarkit/YFileFilter.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    bool caseSensitive = data[0] & 1;
    std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    size_t split = rest.find('\0');
    if (split == std::string_view::npos)
        return 0;
    auto pattern = yk::String::withUTF8(rest.substr(0, split));
    auto name = yk::String::withUTF8(rest.substr(split + 1));
    auto filter = yk::make<yk::YFileFilter>(0, pattern.get(), caseSensitive, nullptr, true);
    if (filter->_matchesName(name.get()) != filter->matchesNameUsingStringSearch(name.get()))
        std::abort();
    return 0;
}
