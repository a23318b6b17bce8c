#include "TextTestSupport.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <cstdio>

namespace texttest {

std::string hex(const Bytes& bytes)
{
    std::string text;
    char digits[4];
    for (unsigned char byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", byte);
        if (!text.empty())
            text += ' ';
        text += digits;
    }
    return text.empty() ? "(empty)" : text;
}

const std::vector<const yk::detail::ByteScanner*>& scanners()
{
    static const auto all = yk::detail::availableByteScanners();
    return all;
}

Bytes InputGenerator::next()
{
    Bytes bytes;
    switch (below(5)) {
    case 4:
        return longText();
    case 0: { // uniform random bytes
        unsigned length = below(48);
        for (unsigned i = 0; i < length; ++i)
            bytes += static_cast<char>(below(256));
        return bytes;
    }
    case 1: { // one interesting token inside a long 7-bit stretch
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
            char32_t c = below(4) ? 0x3000 + below(0x6000) : below(0x110000);
            if (c < 0x80) {
                add(c);
            } else if (c < 0x800) {
                add(0xC0 | c >> 6), add(0x80 | (c & 0x3F));
            } else if (c < 0x10000) {
                add(0xE0 | c >> 12), add(0x80 | (c >> 6 & 0x3F)), add(0x80 | (c & 0x3F));
            } else {
                add(0xF0 | c >> 18), add(0x80 | (c >> 12 & 0x3F)), add(0x80 | (c >> 6 & 0x3F)),
                    add(0x80 | (c & 0x3F));
            }
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

void InputGenerator::appendToken(Bytes& bytes)
{
    static const char* const escapes[] = { "\x1B$@", "\x1B$B", "\x1B(B", "\x1B(J", "\x1B(I",
        "\x1B$A", "\x1B.A", "\x1B.F", "\x1B$(C", "\x1B$(D", "\x1B$(O", "\x1B$(P", "\x1B[",
        "\x1B$(", "\x1B", "\x1B(", "\x1B$" };
    auto add = [&bytes](unsigned byte) { bytes += static_cast<char>(byte); };
    switch (below(12)) {
    case 0:
        bytes.append(below(40), static_cast<char>(0x21 + below(0x5E)));
        break;
    case 1:
        bytes += escapes[below(sizeof escapes / sizeof escapes[0])];
        break;
    case 2: { // a UTF-8 sequence, valid or not, of any lead
        uint8_t lead = byteIn(0xC0, 0xFF);
        add(lead);
        unsigned continuations = below(6);
        for (unsigned i = 0; i < continuations; ++i)
            add(below(8) ? byteIn(0x80, 0xBF) : below(256));
        break;
    }
    case 3: // Shift_JIS pair with any trail
        add(below(2) ? byteIn(0x80, 0x9F) : byteIn(0xE0, 0xFF));
        add(below(4) ? byteIn(0x40, 0xFC) : below(256));
        break;
    case 4: // EUC-JP pair, sometimes single-shifted
        if (!below(5))
            add(below(2) ? 0x8E : 0x8F);
        add(byteIn(0xA1, 0xFE));
        add(below(6) ? byteIn(0xA1, 0xFE) : below(256));
        break;
    case 5: // JIS pair as in ISO-2022-JP
        add(byteIn(0x21, 0x7E));
        add(below(8) ? byteIn(0x21, 0x7E) : below(128));
        break;
    case 6:
        bytes += below(2) ? "\r\n" : "\n";
        break;
    case 7: // half-width katakana or the Mac single bytes
        add(below(2) ? byteIn(0xA1, 0xDF) : (below(2) ? 0x80 : byteIn(0xFD, 0xFF)));
        break;
    case 8:
        add(0xA0);
        break;
    case 9: { // a valid three-byte UTF-8 sequence, as Japanese text is made of
        add(byteIn(0xE1, 0xEF));
        add(byteIn(0x80, 0xBF));
        add(byteIn(0x80, 0xBF));
        break;
    }
    case 10:
        add(below(256));
        break;
    default: // byte-order marks
        bytes += below(2) ? "\xFF\xFE" : "\xFE\xFF";
        break;
    }
}

namespace {

struct Converter {
    explicit Converter(const char* name)
    {
        UErrorCode status = U_ZERO_ERROR;
        handle = ucnv_open(name, &status);
        if (U_FAILURE(status))
            handle = nullptr;
        if (!handle)
            return;
        ucnv_setToUCallBack(handle, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setFromUCallBack(handle, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
            &status);
    }
    ~Converter()
    {
        if (handle)
            ucnv_close(handle);
    }
    UConverter* handle;
};

} // namespace

bool icuDecode(const char* name, const Bytes& bytes, std::u16string* text)
{
    Converter converter(name);
    if (!converter.handle)
        return false;
    std::u16string buffer(bytes.size() * 2 + 16, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = ucnv_toUChars(converter.handle, buffer.data(),
        static_cast<int32_t>(buffer.size()), bytes.data(), static_cast<int32_t>(bytes.size()),
        &status);
    if (U_FAILURE(status))
        return false;
    if (text)
        *text = buffer.substr(0, static_cast<size_t>(length));
    return true;
}

bool icuEncode(const char* name, const std::u16string& text, Bytes& bytes)
{
    Converter converter(name);
    if (!converter.handle)
        return false;
    bytes.assign(text.size() * 8 + 16, '\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = ucnv_fromUChars(converter.handle, bytes.data(),
        static_cast<int32_t>(bytes.size()), text.data(), static_cast<int32_t>(text.size()),
        &status);
    if (U_FAILURE(status))
        return false;
    bytes.resize(static_cast<size_t>(length));
    return true;
}

} // namespace texttest
