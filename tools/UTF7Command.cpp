#include "tools/Commands.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/ustring.h>

#include <Yarkit/StringUTF7.h>
#include <Yarkit/YFileStream.h>
#include <Yarkit/core/values/Exception.h>

#include "tools/CommandLine.h"
#include "tools/Pieces.h"

namespace yk::tool {

namespace {

constexpr const char* utf7Help = R"(Usage: yarkit utf7 [--imap] [--decode]

Reads UTF-8 text on standard input and writes it as UTF-7 on standard output (the form of mail
bodies: "+" starts a base64 run, closed by "-" only where needed), adding no newline. With
--imap, writes the modified UTF-7 of IMAP mailbox names instead ("&" starts a run, every run
ends with "-", "," replaces "/"). With --decode, reads UTF-7 (or modified UTF-7) and writes
UTF-8; text that does not decode stays as it is. The input streams through in pieces, so its
size does not matter; output already written stays when an error ends the command.

  --imap     modified UTF-7, as IMAP mailbox names use it
  --decode   decode instead of encode
  --help     show this help

Exit status: 0 on success; 1 when decoded text held unpaired surrogates, which are written as
U+FFFD and counted on standard error; 2 when the input is not well-formed UTF-8, or on an error.
)";

bool isSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// Unpaired surrogates, which UTF-8 cannot carry.
size_t countUnpairedSurrogates(std::u16string_view units)
{
    size_t count = 0;
    for (size_t i = 0; i < units.size(); ++i) {
        if (!isSurrogate(units[i]))
            continue;
        if (units[i] <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF)
            ++i;
        else
            ++count;
    }
    return count;
}

// Bytes read at a time. A piece is cut at the last point where converting it alone gives the
// same output as converting the whole input; the bytes after that point wait for the next read.
constexpr uint32_t pieceSize = 256 * 1024;

// Where a piece of each kind of input may end (how many of the held bytes to convert now).
// Every cut follows an ASCII byte, so none falls inside a UTF-8 sequence or a surrogate pair.

// Encoding UTF-7: after a character written as it is (a letter, a digit, one of '(),-./:?,
// space, tab, CR or LF), which no base64 run spans.
size_t safeEndForUTF7Encoding(const uint8_t* bytes, size_t length)
{
    auto isDirect = [](uint8_t c) { return c && c < 0x80 && (std::isalnum(c) || std::strchr("'(),-./:? \t\r\n", c)); };
    while (length && !isDirect(bytes[length - 1]))
        --length;
    return length;
}

// Encoding modified UTF-7: after a printable ASCII character, which ends any run before it.
size_t safeEndForModifiedUTF7Encoding(const uint8_t* bytes, size_t length)
{
    while (length && (bytes[length - 1] < 0x20 || bytes[length - 1] > 0x7E))
        --length;
    return length;
}

// Decoding UTF-7: after a byte that is neither a base64 character, "+" nor "-": no run
// continues through it, and a "+" just before it is a literal either way.
size_t safeEndForUTF7Decoding(const uint8_t* bytes, size_t length)
{
    auto isRunByte = [](uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/' || c == '-'; };
    while (length && isRunByte(bytes[length - 1]))
        --length;
    return length;
}

// Decoding modified UTF-7: a run is everything from "&" to the next "-", so the held bytes may
// all go when no "&" follows the last "-"; otherwise the piece ends after that "-".
size_t safeEndForModifiedUTF7Decoding(const uint8_t* bytes, size_t length)
{
    const void* ampersand = memrchr(bytes, '&', length);
    if (!ampersand)
        return length;
    const void* dash = memrchr(bytes, '-', length);
    if (!dash)
        return 0;
    return dash > ampersand ? length : static_cast<size_t>(static_cast<const uint8_t*>(dash) - bytes) + 1;
}

// Streams standard input through `convert` in pieces cut by `safeEnd`; false when it cannot be
// opened or read, or `convert` stopped.
template <typename SafeEnd, typename Convert>
bool forEachStandardInputPiece(SafeEnd safeEnd, Convert convert)
{
    Ref<YFileStream> input = openInputStream("-");
    return input && forEachPiece(*input, pieceSize, "utf7", safeEnd, convert);
}

// Writes decoded units as UTF-8. A high surrogate that ends a piece waits for the next one, so
// a pair split between pieces is joined; unpaired surrogates become U+FFFD and are counted.
class UTF8Writer {
public:
    bool write(std::u16string_view units)
    {
        if (units.empty())
            return true;
        if (_pendingHigh && U16_IS_TRAIL(units.front())) {
            const char16_t pair[] = { _pendingHigh, units.front() };
            _pendingHigh = 0;
            units.remove_prefix(1);
            if (!convert({ pair, 2 }))
                return false;
        }
        if (!finish())
            return false;
        if (!units.empty() && U16_IS_LEAD(units.back())) {
            _pendingHigh = units.back();
            units.remove_suffix(1);
        }
        return convert(units);
    }

    // Writes a high surrogate still waiting; true when everything was written.
    bool finish()
    {
        if (!_pendingHigh)
            return true;
        const char16_t unit[] = { _pendingHigh };
        _pendingHigh = 0;
        return convert({ unit, 1 });
    }

    size_t unpairedSurrogates() const { return _unpaired; }

private:
    bool convert(std::u16string_view units)
    {
        _unpaired += countUnpairedSurrogates(units);
        _utf8.resize(units.size() * 3);
        int32_t length = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8WithSub(_utf8.data(), static_cast<int32_t>(_utf8.size()), &length, units.data(), static_cast<int32_t>(units.size()),
            0xFFFD, nullptr, &status);
        return U_SUCCESS(status) && writeOutput(_utf8.data(), static_cast<size_t>(length));
    }

    std::string _utf8;
    char16_t _pendingHigh { 0 };
    size_t _unpaired { 0 };
};

int decode(bool imap)
{
    UTF8Writer writer;
    auto decodePiece = [&](const uint8_t* bytes, uint32_t length) {
        auto text = imap ? stringWithModifiedUTF7Bytes(bytes, length) : stringWithUTF7Bytes(bytes, length);
        return writer.write(text->view());
    };
    const bool done = imap ? forEachStandardInputPiece(safeEndForModifiedUTF7Decoding, decodePiece)
                           : forEachStandardInputPiece(safeEndForUTF7Decoding, decodePiece);
    if (!done || !writer.finish())
        return ExitError;
    if (size_t unpaired = writer.unpairedSurrogates()) {
        std::fprintf(stderr, "yarkit utf7: %zu unpaired surrogate%s written as U+FFFD\n", unpaired, unpaired == 1 ? "" : "s");
        return ExitChanged;
    }
    return ExitSuccess;
}

int encode(bool imap)
{
    bool wellFormed = true;
    auto encodePiece = [&](const uint8_t* bytes, uint32_t length) {
        // Strict: an ill-formed or truncated sequence fails the whole conversion.
        std::u16string units(length, u'\0');
        int32_t count = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8(units.data(), static_cast<int32_t>(length), &count, reinterpret_cast<const char*>(bytes), static_cast<int32_t>(length), &status);
        if (U_FAILURE(status)) {
            wellFormed = false;
            return false;
        }
        units.resize(static_cast<size_t>(count));
        auto text = make<String>(std::move(units));
        auto data = imap ? encodeModifiedUTF7Data(text.get()) : encodeUTF7Data(text.get());
        return writeOutput(data->bytes(), data->length());
    };
    if (imap ? forEachStandardInputPiece(safeEndForModifiedUTF7Encoding, encodePiece)
             : forEachStandardInputPiece(safeEndForUTF7Encoding, encodePiece))
        return ExitSuccess;
    if (!wellFormed)
        std::fprintf(stderr, "yarkit utf7: (standard input): not well-formed UTF-8\n");
    return ExitError;
}

} // namespace

int runUTF7(int argc, char** argv, int first)
{
    int status = ExitSuccess;
    auto arguments = parseCommandLine({ "utf7", utf7Help, { { "--imap" }, { "--decode" } } }, argc, argv, first, status);
    if (!arguments)
        return status;
    if (!arguments->operands.empty())
        return usageError("utf7", "reads standard input only");
    const bool imap = arguments->has("--imap");
    return arguments->has("--decode") ? decode(imap) : encode(imap);
}

} // namespace yk::tool
