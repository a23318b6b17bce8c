#include "TextTestSupport.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf8.h>

#include <iterator>
#include <memory>

namespace texttest {

std::string hex(const Bytes& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned char byte : bytes)
        text += { ' ', digits[byte >> 4], digits[byte & 15] };
    return text.empty() ? "(empty)" : text.substr(1);
}

const std::vector<const yk::detail::ByteScanner*>& scanners()
{
    static const auto all = yk::detail::availableByteScanners();
    return all;
}

Bytes InputGenerator::next()
{
    Bytes bytes;
    switch (below(4)) {
    case 3:
        return longText();
    case 0: { // one interesting token inside a long 7-bit stretch
        bytes.assign(below(140), 'a');
        Bytes token;
        appendToken(token);
        bytes.insert(below(static_cast<unsigned>(bytes.size()) + 1), token);
        return bytes;
    }
    default: { // a sequence of tokens
        unsigned tokens = 1 + below(24);
        for (unsigned i = 0; i < tokens; ++i)
            appendToken(bytes);
        return bytes;
    }
    }
}

// 60 to 400 bytes of well-formed UTF-8, EUC-JP or Shift_JIS, with up to two bytes changed:
// long enough that the vector paths do most of the work.
Bytes InputGenerator::longText()
{
    Bytes bytes;
    auto add = [&bytes](unsigned byte) { bytes += static_cast<char>(byte); };
    unsigned encoding = below(3);
    for (unsigned length = 60 + below(340); bytes.size() < length;) {
        if (!below(6)) {
            bytes.append(1 + below(12), static_cast<char>(0x20 + below(0x5F)));
            continue;
        }
        if (encoding == 0) {
            const UChar32 c = static_cast<UChar32>(below(4) ? 0x3000 + below(0x6000) : below(0x110000));
            char utf8[4];
            int32_t written = 0;
            U8_APPEND_UNSAFE(utf8, written, c); // surrogates too, as three bytes
            bytes.append(utf8, static_cast<size_t>(written));
        } else if (encoding == 1) {
            if (!below(10))
                add(0x8E), add(byteIn(0xA1, 0xDF));
            else
                add(byteIn(0xA1, 0xFE)), add(byteIn(0xA1, 0xFE));
        } else if (!below(8)) {
            add(byteIn(0xA1, 0xDF));
        } else {
            add(below(2) ? byteIn(0x81, 0x9F) : byteIn(0xE0, 0xFC));
            add(below(3) ? byteIn(0x80, 0xFC) : byteIn(0x40, 0x7E));
        }
    }
    for (unsigned changes = below(3); changes > 0; --changes)
        bytes[below(static_cast<unsigned>(bytes.size()))] = static_cast<char>(below(256));
    return bytes;
}

// One token: 7-bit text, an escape (known, unknown or cut off), a line break, 0xA0, a
// byte-order mark, a UTF-8 sequence of any lead (valid or not), a Shift_JIS, EUC-JP or JIS pair
// with any trail now and then, a single high byte, or any byte.
void InputGenerator::appendToken(Bytes& bytes)
{
    static const char* const fixed[] = { "\x1B$@", "\x1B$B", "\x1B(B", "\x1B(J", "\x1B(I",
        "\x1B$A", "\x1B.A", "\x1B.F", "\x1B$(C", "\x1B$(D", "\x1B$(O", "\x1B$(P", "\x1B[",
        "\x1B$(", "\x1B", "\x1B(", "\x1B$", "\r\n", "\n", "\xA0", "\xFF\xFE", "\xFE\xFF" };
    auto add = [&bytes](unsigned byte) { bytes += static_cast<char>(byte); };
    switch (below(9)) {
    case 0:
        bytes.append(below(40), static_cast<char>(0x21 + below(0x5E)));
        break;
    case 1:
        bytes += fixed[below(std::size(fixed))];
        break;
    case 2: // UTF-8: any lead, up to five continuations, now and then not one
        add(byteIn(0xC0, 0xFF));
        for (unsigned i = below(6); i > 0; --i)
            add(below(8) ? byteIn(0x80, 0xBF) : below(256));
        break;
    case 3:
        add(below(2) ? byteIn(0x80, 0x9F) : byteIn(0xE0, 0xFF));
        add(below(4) ? byteIn(0x40, 0xFC) : below(256));
        break;
    case 4:
        if (!below(5))
            add(below(2) ? 0x8E : 0x8F);
        add(byteIn(0xA1, 0xFE));
        add(below(6) ? byteIn(0xA1, 0xFE) : below(256));
        break;
    case 5:
        add(byteIn(0x21, 0x7E)), add(below(8) ? byteIn(0x21, 0x7E) : below(128));
        break;
    case 6: // half-width katakana or the Mac single bytes
        add(below(2) ? byteIn(0xA1, 0xDF) : (below(2) ? 0x80 : byteIn(0xFD, 0xFF)));
        break;
    case 7: // a valid three-byte UTF-8 sequence, as Japanese text is made of
        add(byteIn(0xE1, 0xEF)), add(byteIn(0x80, 0xBF)), add(byteIn(0x80, 0xBF));
        break;
    default:
        add(below(256));
        break;
    }
}

namespace {

// Runs `convert(converter, status)` with a converter that stops at the first unmappable or
// illegal sequence; false when ICU has no such converter or the conversion fails.
template <typename Convert>
bool convertStrictly(const char* name, Convert convert)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(name, &status), ucnv_close);
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    if (U_SUCCESS(status))
        convert(converter.get(), &status);
    return U_SUCCESS(status);
}

} // namespace

bool icuDecode(const char* name, const Bytes& bytes, std::u16string* text)
{
    std::u16string buffer(bytes.size() * 2 + 16, u'\0');
    int32_t length = 0;
    if (!convertStrictly(name, [&](UConverter* converter, UErrorCode* status) {
            length = ucnv_toUChars(converter, buffer.data(), static_cast<int32_t>(buffer.size()), bytes.data(),
                static_cast<int32_t>(bytes.size()), status);
        }))
        return false;
    if (text)
        *text = buffer.substr(0, static_cast<size_t>(length));
    return true;
}

bool icuEncode(const char* name, const std::u16string& text, Bytes& bytes)
{
    bytes.assign(text.size() * 8 + 16, '\0');
    int32_t length = 0;
    if (!convertStrictly(name, [&](UConverter* converter, UErrorCode* status) {
            length = ucnv_fromUChars(converter, bytes.data(), static_cast<int32_t>(bytes.size()), text.data(),
                static_cast<int32_t>(text.size()), status);
        }))
        return false;
    bytes.resize(static_cast<size_t>(length));
    return true;
}

} // namespace texttest
