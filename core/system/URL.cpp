#include <Yarkit/core/system/URL.h>

#include <Yarkit/core/runtime/Class.h>

#include <string>
#include <string_view>

#include <uriparser/Uri.h>

namespace yk {

YK_DEFINE_CLASS(URL);

namespace {

// Owns uriparser's parse of one text.
class ParsedURI {
public:
    explicit ParsedURI(const std::string& text)
    {
        const char* errorPosition = nullptr;
        _parsed = uriParseSingleUriExA(&_uri, text.data(), text.data() + text.size(), &errorPosition) == URI_SUCCESS;
    }
    ~ParsedURI()
    {
        if (_parsed)
            uriFreeUriMembersA(&_uri);
    }
    ParsedURI(const ParsedURI&) = delete;
    ParsedURI& operator=(const ParsedURI&) = delete;

    bool parsed() const { return _parsed; }
    const UriUriA& uri() const { return _uri; }

private:
    UriUriA _uri {};
    bool _parsed { false };
};

std::string_view textOf(const UriTextRangeA& range)
{
    if (!range.first)
        return {};
    return { range.first, static_cast<size_t>(range.afterLast - range.first) };
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Decodes %XX escapes (uriparser has checked that every "%" starts one) and reads the
// bytes as strict UTF-8; null when they are not UTF-8.
Ref<String> percentDecoded(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            int high = hexValue(text[i + 1]);
            int low = hexValue(text[i + 2]);
            if (high >= 0 && low >= 0) {
                bytes.push_back(static_cast<char>(high * 16 + low));
                i += 2;
                continue;
            }
        }
        bytes.push_back(text[i]);
    }
    return String::stringWithBytes(bytes.data(), bytes.size(), kCFStringEncodingUTF8);
}

std::string pathText(const UriUriA& uri)
{
    if (!uri.pathHead)
        return uri.absolutePath ? std::string(1, '/') : std::string();
    std::string path;
    bool first = true;
    for (const UriPathSegmentA* segment = uri.pathHead; segment; segment = segment->next) {
        if (!first || uri.absolutePath || uri.hostText.first)
            path.push_back('/');
        path.append(textOf(segment->text));
        first = false;
    }
    return path;
}

} // namespace

Ref<URL> URL::URLWithString(const String* string)
{
    if (!string)
        return nullptr;
    return URLWithString(string->utf8());
}

Ref<URL> URL::URLWithString(std::string_view utf8)
{
    if (utf8.empty())
        return nullptr;
    const std::string text(utf8);
    ParsedURI parsed(text);
    if (!parsed.parsed())
        return nullptr;
    const UriUriA& uri = parsed.uri();

    auto url = Ref<URL>::adopt(new URL);
    url->_absoluteString = String::withUTF8(text);
    if (uri.scheme.first)
        url->_scheme = String::withUTF8(textOf(uri.scheme));

    if (uri.userInfo.first) {
        std::string_view userInfo = textOf(uri.userInfo);
        const size_t colon = userInfo.find(':');
        if (!(url->_user = percentDecoded(userInfo.substr(0, colon))))
            return nullptr;
        if (colon != std::string_view::npos && !(url->_password = percentDecoded(userInfo.substr(colon + 1))))
            return nullptr;
    }

    if (std::string_view host = textOf(uri.hostText); !host.empty()) {
        if (!(url->_host = percentDecoded(host)))
            return nullptr;
    }

    if (std::string_view port = textOf(uri.portText); !port.empty()) {
        // uriparser accepts only digits here; leading zeros are allowed.
        uint32_t value = 0;
        for (char digit : port) {
            value = value * 10 + static_cast<uint32_t>(digit - '0');
            if (value > 65535)
                return nullptr;
        }
        url->_port = Number::numberWithInt(static_cast<int32_t>(value));
    }

    if (!(url->_path = percentDecoded(pathText(uri))))
        return nullptr;
    return url;
}

bool URL::isEqual(const Object* other) const
{
    if (other == this)
        return true;
    if (!other || !other->isKindOfClass(URL::staticClass()))
        return false;
    return _absoluteString->isEqualToString(static_cast<const URL*>(other)->_absoluteString.get());
}

size_t URL::hash() const
{
    return _absoluteString->hash();
}

Ref<String> URL::description() const
{
    return _absoluteString;
}

} // namespace yk
