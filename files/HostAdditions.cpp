#include <Yarkit/HostAdditions.h>

#include <Yarkit/core/values/MutableArray.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace yk {
namespace {

bool isIPv4(const String* address)
{
    in_addr parsed;
    return inet_aton(address->utf8().c_str(), &parsed) != 0;
}

bool isIPv6(const String* address)
{
    in6_addr parsed;
    return inet_pton(AF_INET6, address->utf8().c_str(), &parsed) == 1;
}

Ref<Array> matching(const Array* list, bool (*test)(const String*))
{
    auto result = make<MutableArray>();
    for (auto& entry : *list) {
        auto* text = static_cast<String*>(entry.get());
        if (test(text))
            result->addObject(entry);
    }
    return result;
}

Ref<String> firstOf(const Array* list)
{
    return list->count() ? Ref<String>(static_cast<String*>(list->firstObject().get())) : nullptr;
}

bool hasSuffixIgnoringCase(std::string_view text, std::string_view suffix)
{
    if (text.size() < suffix.size())
        return false;
    auto tail = text.substr(text.size() - suffix.size());
    return std::equal(tail.begin(), tail.end(), suffix.begin(), [](char a, char b) { return std::tolower(a) == b; });
}

} // namespace

bool _isFQDN(const String* name)
{
    if (String::isEmpty(name))
        return false;
    std::string text = name->utf8();
    if (hasSuffixIgnoringCase(text, ".local"))
        return false;
    std::string lowered = text;
    for (char& c : lowered)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (lowered.find(".local.") != std::string::npos)
        return false;
    for (char16_t c : name->view()) {
        bool allowed = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'-' || c == u'.';
        if (!allowed)
            return false;
    }
    return text.find('.') != std::string::npos;
}

Ref<String> fullyQualifiedDomainName(const Host* host) { return firstOf(fullyQualifiedDomainNames(host).get()); }
Ref<Array> fullyQualifiedDomainNames(const Host* host) { return matching(host->names().get(), _isFQDN); }
Ref<String> IPv4Address(const Host* host) { return firstOf(IPv4Addresses(host).get()); }
Ref<Array> IPv4Addresses(const Host* host) { return matching(host->addresses().get(), isIPv4); }
Ref<String> IPv6Address(const Host* host) { return firstOf(IPv6Addresses(host).get()); }
Ref<Array> IPv6Addresses(const Host* host) { return matching(host->addresses().get(), isIPv6); }

std::string detail::numericTextOfSocketAddress(const Data* address)
{
    if (!address)
        return "";
    uint8_t buffer[128] = {};
    std::memcpy(buffer, address->bytes() ? address->bytes() : buffer, std::min<size_t>(address->length(), sizeof buffer));
    sa_family_t family;
    std::memcpy(&family, buffer, sizeof family);
    char text[47] = {};
    if (family == AF_INET) {
        sockaddr_in v4;
        std::memcpy(&v4, buffer, sizeof v4);
        inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    } else if (family == AF_INET6) {
        sockaddr_in6 v6;
        std::memcpy(&v6, buffer, sizeof v6);
        inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    }
    return text;
}

Ref<Host> YK_hostWithAddress(const Data* address)
{
    std::string text = detail::numericTextOfSocketAddress(address);
    return text.empty() ? nullptr : Host::hostWithAddress(String::withUTF8(text).get());
}

OperatingSystemVersion yk_operatingSystemVersion(const ProcessInfo* info)
{
    return info->operatingSystemVersion();
}

bool yk_isOperatingSystemAtLeastVersion(const ProcessInfo* info, OperatingSystemVersion version)
{
    return info->isOperatingSystemAtLeastVersion(version);
}

} // namespace yk
