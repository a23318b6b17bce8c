#include <Yarkit/core/values/Format.h>

#include <Yarkit/core/values/String.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <locale.h>
#include <string>
#include <string_view>
#include <vector>


namespace yk {
namespace {

// How an argument is taken from the va_list.
enum class ArgKind : uint8_t { None, Int, Long, LongLong, Size, IntMax, PtrDiff, Double, LongDouble, Pointer };

struct Argument {
    ArgKind kind { ArgKind::None };
    union {
        long long integer;
        double real;
        long double longReal;
        const void* pointer;
    };
    Argument()
        : integer(0)
    {
    }
};

// One conversion of the format. Argument numbers are 1-based; 0 means none.
struct Conversion {
    std::string_view text; // the whole conversion, for copying a malformed one
    std::string flags;
    int width { -1 };
    int widthArgument { 0 };
    int precision { -1 };
    int precisionArgument { 0 };
    std::string_view length; // one of the modifier literals below, or empty
    char conversion { 0 };
    int argument { 0 };
};

// A piece of the format: literal text or a conversion.
struct Piece {
    bool isConversion { false };
    std::string_view literal;
    Conversion conversion;
};

bool isFlag(char c)
{
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0' || c == '\'';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads decimal digits at p; -1 when there are none.
int readNumber(const char*& p)
{
    if (!isDigit(*p))
        return -1;
    long value = 0;
    while (isDigit(*p)) {
        if (value < 100000000)
            value = value * 10 + (*p - '0');
        ++p;
    }
    return static_cast<int>(value);
}

// Reads "m$" after a '*' or at the start of a conversion; 0 when absent (p is then unchanged).
int readPosition(const char*& p)
{
    const char* start = p;
    int number = readNumber(p);
    if (number > 0 && *p == '$') {
        ++p;
        return number;
    }
    p = start;
    return 0;
}

ArgKind kindOf(const Conversion& c)
{
    switch (c.conversion) {
    case 'd': case 'i': case 'u': case 'x': case 'X': case 'o': case 'c': case 'C':
        if (c.length == "l")
            return ArgKind::Long;
        if (c.length == "ll" || c.length == "q")
            return ArgKind::LongLong;
        if (c.length == "z")
            return ArgKind::Size;
        if (c.length == "j")
            return ArgKind::IntMax;
        if (c.length == "t")
            return ArgKind::PtrDiff;
        return ArgKind::Int;
    case 'f': case 'F': case 'e': case 'E': case 'g': case 'G': case 'a': case 'A':
        return c.length == "L" ? ArgKind::LongDouble : ArgKind::Double;
    case 's': case 'S': case 'p': case '@': case 'n':
        return ArgKind::Pointer;
    default:
        return ArgKind::None;
    }
}

// Parses one conversion after its '%'; false when it is malformed.
bool parseConversion(const char*& p, Conversion& c, int& nextArgument, bool& numbered)
{
    c.argument = readPosition(p);
    numbered = numbered || c.argument;
    while (isFlag(*p))
        c.flags += *p++;
    if (*p == '*') {
        ++p;
        c.widthArgument = readPosition(p);
        if (!c.widthArgument)
            c.widthArgument = nextArgument++;
    } else {
        c.width = readNumber(p);
    }
    if (*p == '.') {
        ++p;
        if (*p == '*') {
            ++p;
            c.precisionArgument = readPosition(p);
            if (!c.precisionArgument)
                c.precisionArgument = nextArgument++;
        } else {
            c.precision = std::max(readNumber(p), 0);
        }
    }
    for (const char* modifier : { "hh", "ll", "h", "l", "q", "L", "j", "z", "t" }) {
        size_t n = std::strlen(modifier);
        if (std::strncmp(p, modifier, n) == 0) {
            c.length = modifier;
            p += n;
            break;
        }
    }
    c.conversion = *p;
    if (!c.conversion || kindOf(c) == ArgKind::None)
        return false;
    ++p;
    if (!c.argument)
        c.argument = nextArgument++;
    return true;
}

std::vector<Piece> parse(const char* format)
{
    std::vector<Piece> pieces;
    int nextArgument = 1;
    bool numbered = false;
    const char* p = format;
    while (*p) {
        const char* start = p;
        while (*p && *p != '%')
            ++p;
        if (p != start)
            pieces.push_back({ false, { start, size_t(p - start) }, {} });
        if (!*p)
            break;
        if (p[1] == '%') {
            pieces.push_back({ false, { p, 1 }, {} });
            p += 2;
            continue;
        }
        start = p++;
        Piece piece;
        bool ok = parseConversion(p, piece.conversion, nextArgument, numbered);
        if (!ok) {
            // Copy the malformed text (without swallowing the terminator) and go on after it.
            if (*p)
                ++p;
            pieces.push_back({ false, { start, size_t(p - start) }, {} });
            continue;
        }
        piece.isConversion = true;
        piece.conversion.text = { start, size_t(p - start) };
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

// Takes the arguments from the list in their numeric order, so numbered formats work.
std::vector<Argument> collectArguments(const std::vector<Piece>& pieces, va_list arguments)
{
    std::vector<ArgKind> kinds;
    auto note = [&](int index, ArgKind kind) {
        if (index <= 0)
            return;
        if (kinds.size() < size_t(index))
            kinds.resize(index, ArgKind::None);
        if (kinds[index - 1] == ArgKind::None)
            kinds[index - 1] = kind;
    };
    for (const Piece& piece : pieces) {
        if (!piece.isConversion)
            continue;
        note(piece.conversion.widthArgument, ArgKind::Int);
        note(piece.conversion.precisionArgument, ArgKind::Int);
        note(piece.conversion.argument, kindOf(piece.conversion));
    }
    std::vector<Argument> values(kinds.size());
    for (size_t i = 0; i < kinds.size(); ++i) {
        Argument& value = values[i];
        value.kind = kinds[i];
        switch (kinds[i]) {
        case ArgKind::None: // a gap in numbered arguments: assume an int
        case ArgKind::Int: value.integer = va_arg(arguments, int); break;
        case ArgKind::Long: value.integer = va_arg(arguments, long); break;
        case ArgKind::LongLong: value.integer = va_arg(arguments, long long); break;
        case ArgKind::Size: value.integer = static_cast<long long>(va_arg(arguments, size_t)); break;
        case ArgKind::IntMax: value.integer = va_arg(arguments, intmax_t); break;
        case ArgKind::PtrDiff: value.integer = va_arg(arguments, ptrdiff_t); break;
        case ArgKind::Double: value.real = va_arg(arguments, double); break;
        case ArgKind::LongDouble: value.longReal = va_arg(arguments, long double); break;
        case ArgKind::Pointer: value.pointer = va_arg(arguments, const void*); break;
        }
    }
    return values;
}

void appendUTF8(std::u16string& out, std::string_view text)
{
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            out += String::withUTF8(text)->units();
            return;
        }
    }
    out.append(text.begin(), text.end());
}

// Pads text to the width in UTF-16 units, on the right with the '-' flag.
void appendPadded(std::u16string& out, std::u16string_view text, const Conversion& c, int width, int precision)
{
    if (precision >= 0 && size_t(precision) < text.size())
        text = text.substr(0, precision);
    size_t padding = width > 0 && size_t(width) > text.size() ? size_t(width) - text.size() : 0;
    bool left = c.flags.find('-') != std::string::npos;
    if (!left)
        out.append(padding, u' ');
    out += text;
    if (left)
        out.append(padding, u' ');
}

// Truncates an integer argument to the width its length modifier names.
long long signedValue(const Conversion& c, long long value)
{
    if (c.length == "hh")
        return static_cast<signed char>(value);
    if (c.length == "h")
        return static_cast<short>(value);
    if (c.length.empty())
        return static_cast<int>(value);
    return value;
}

unsigned long long unsignedValue(const Conversion& c, long long value)
{
    if (c.length == "hh")
        return static_cast<unsigned char>(value);
    if (c.length == "h")
        return static_cast<unsigned short>(value);
    if (c.length.empty())
        return static_cast<unsigned int>(value);
    return static_cast<unsigned long long>(value);
}

// Formats numbers in the "C" locale on this thread for its lifetime: "%f" prints "." whatever
// LC_NUMERIC the application chose with setlocale.
class CNumericScope {
public:
    CNumericScope()
        : _previous(uselocale(cLocale()))
    {
    }
    ~CNumericScope() { uselocale(_previous); }
    CNumericScope(const CNumericScope&) = delete;
    CNumericScope& operator=(const CNumericScope&) = delete;

private:
    static locale_t cLocale()
    {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", locale_t(0));
        return c;
    }
    locale_t _previous;
};

template <typename T>
std::string printC(const std::string& spec, T value)
{
    CNumericScope cNumeric;
    char buffer[128];
    int n = std::snprintf(buffer, sizeof(buffer), spec.c_str(), value);
    if (n < 0)
        return {};
    if (size_t(n) < sizeof(buffer))
        return std::string(buffer, n);
    std::string text(size_t(n) + 1, '\0');
    std::snprintf(text.data(), text.size(), spec.c_str(), value);
    text.resize(n);
    return text;
}

// The printf directive of a C conversion, with resolved width and precision and the given
// length modifier.
std::string cSpec(const Conversion& c, int width, int precision, std::string_view length, char conversion)
{
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict, GCC bug 105651) on a
    // literal joined to a temporary string.
    std::string spec = "%" + c.flags;
    if (width >= 0)
        spec += std::to_string(width);
    if (precision >= 0) {
        spec += '.';
        spec += std::to_string(precision);
    }
    spec += length;
    spec += conversion;
    return spec;
}

void appendConversion(std::u16string& out, const Conversion& c, const std::vector<Argument>& values)
{
    auto valueAt = [&](int index) -> const Argument& { return values[index - 1]; };
    int width = c.width;
    if (c.widthArgument) {
        width = static_cast<int>(valueAt(c.widthArgument).integer);
        if (width < 0) {
            Conversion left = c;
            left.flags += '-';
            left.width = -width;
            left.widthArgument = 0;
            return appendConversion(out, left, values);
        }
    }
    int precision = c.precision;
    if (c.precisionArgument)
        precision = std::max(static_cast<int>(valueAt(c.precisionArgument).integer), -1);
    const Argument& value = valueAt(c.argument);

    switch (c.conversion) {
    case 'd': case 'i':
        return appendUTF8(out, printC(cSpec(c, width, precision, "ll", c.conversion), signedValue(c, value.integer)));
    case 'u': case 'x': case 'X': case 'o':
        return appendUTF8(out, printC(cSpec(c, width, precision, "ll", c.conversion), unsignedValue(c, value.integer)));
    case 'f': case 'F': case 'e': case 'E': case 'g': case 'G': case 'a': case 'A':
        if (value.kind == ArgKind::LongDouble)
            return appendUTF8(out, printC(cSpec(c, width, precision, "L", c.conversion), value.longReal));
        return appendUTF8(out, printC(cSpec(c, width, precision, "", c.conversion), value.real));
    case 'c': {
        char byte = static_cast<char>(value.integer);
        return appendPadded(out, std::u16string(1, static_cast<unsigned char>(byte)), c, width, -1);
    }
    case 'C':
        return appendPadded(out, std::u16string(1, static_cast<char16_t>(value.integer)), c, width, -1);
    case 's': {
        const char* text = static_cast<const char*>(value.pointer);
        if (!text)
            return appendPadded(out, u"(null)", c, width, precision);
        std::string_view bytes(text, precision >= 0 ? strnlen(text, precision) : std::strlen(text));
        return appendPadded(out, String::withUTF8(bytes)->units(), c, width, -1);
    }
    case 'S': {
        const auto* text = static_cast<const char16_t*>(value.pointer);
        if (!text)
            return appendPadded(out, u"(null)", c, width, precision);
        return appendPadded(out, std::u16string_view(text), c, width, precision);
    }
    case '@': {
        const auto* object = static_cast<const Object*>(value.pointer);
        Ref<String> description = object ? object->description() : nullptr;
        if (!description)
            return appendPadded(out, u"(null)", c, width, precision);
        return appendPadded(out, description->units(), c, width, precision);
    }
    case 'p': {
        char text[32];
        std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(value.pointer)));
        std::u16string units(text, text + std::strlen(text));
        return appendPadded(out, units, c, width, -1);
    }
    default: // %n: writes nothing
        return;
    }
}

} // namespace

Ref<String> formatv(const char* format, va_list arguments)
{
    if (!format)
        return make<String>();
    std::vector<Piece> pieces = parse(format);
    va_list copy;
    va_copy(copy, arguments);
    std::vector<Argument> values = collectArguments(pieces, copy);
    va_end(copy);

    std::u16string out;
    for (const Piece& piece : pieces) {
        if (piece.isConversion)
            appendConversion(out, piece.conversion, values);
        else
            appendUTF8(out, piece.literal);
    }
    return make<String>(std::move(out));
}

Ref<String> format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Ref<String> result = formatv(format, arguments);
    va_end(arguments);
    return result;
}

} // namespace yk
