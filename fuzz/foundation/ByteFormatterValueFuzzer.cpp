// YKByteFormatter::getObjectValue on arbitrary text: it always succeeds, and on plain decimal
// text (what strtod reads in the "C" locale, without hexadecimal, infinities or NaN) it holds
// |round(strtod(text))|.
#include <Yarkit/YKByteFormatter.h>
#include <Yarkit/core/values/Number.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>

namespace {

bool isPlainDecimal(const std::string& text)
{
    for (char c : text) {
        const bool allowed = (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E' || c == ' ';
        if (!allowed)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    auto formatter = yk::make<yk::YKByteFormatter>();
    yk::Ref<yk::Object> value;
    if (!formatter->getObjectValue(&value, yk::String::withUTF8(text).get(), nullptr) || !value)
        std::abort();
    const double ours = static_cast<yk::Number*>(value.get())->doubleValue();
    if (!(ours >= 0) && !std::isnan(ours))
        std::abort();
    if (!isPlainDecimal(text) || text.find('\0') != std::string::npos)
        return 0;
    const double expected = std::fabs(std::round(std::strtod(text.c_str(), nullptr)));
    if (ours != expected && !(std::isinf(ours) && std::isinf(expected)))
        std::abort();
    return 0;
}
