#include <Yarkit/core/system/Host.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/MutableArray.h>

#include <arpa/inet.h>
#include <cstring>
#include <ifaddrs.h>
#include <netdb.h>
#include <unistd.h>

namespace yk {

YK_DEFINE_CLASS(Host);

namespace {

void addUnique(MutableArray* list, const std::string& text)
{
    auto value = String::withUTF8(text);
    if (!text.empty() && !list->containsObject(value.get()))
        list->addObject(std::move(value));
}

// The numeric form of a socket address, or "".
std::string numericAddress(const sockaddr* address, socklen_t length)
{
    char text[NI_MAXHOST];
    if (getnameinfo(address, length, text, sizeof text, nullptr, 0, NI_NUMERICHOST))
        return "";
    return text;
}

// The reverse lookup of a socket address, or "".
std::string nameOfAddress(const sockaddr* address, socklen_t length)
{
    char text[NI_MAXHOST];
    if (getnameinfo(address, length, text, sizeof text, nullptr, 0, NI_NAMEREQD))
        return "";
    return text;
}

// Adds the canonical name and every address of name to the lists; false when it does not
// resolve.
bool resolve(const std::string& name, MutableArray* names, MutableArray* addresses)
{
    addrinfo hints {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_CANONNAME;
    addrinfo* results = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &results))
        return false;
    for (addrinfo* entry = results; entry; entry = entry->ai_next) {
        if (entry->ai_canonname)
            addUnique(names, entry->ai_canonname);
        addUnique(addresses, numericAddress(entry->ai_addr, entry->ai_addrlen));
    }
    freeaddrinfo(results);
    return true;
}

} // namespace

Host::Host(Ref<Array> names, Ref<Array> addresses)
    : _names(std::move(names))
    , _addresses(std::move(addresses))
{
}

Ref<Host> Host::currentHost()
{
    auto names = make<MutableArray>();
    auto addresses = make<MutableArray>();
    char hostName[256] = {};
    if (!gethostname(hostName, sizeof hostName - 1)) {
        addUnique(names.get(), hostName);
        resolve(hostName, names.get(), addresses.get());
    }
    ifaddrs* interfaces = nullptr;
    if (!getifaddrs(&interfaces)) {
        for (ifaddrs* entry = interfaces; entry; entry = entry->ifa_next) {
            if (!entry->ifa_addr || (entry->ifa_addr->sa_family != AF_INET && entry->ifa_addr->sa_family != AF_INET6))
                continue;
            socklen_t length = entry->ifa_addr->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
            addUnique(addresses.get(), numericAddress(entry->ifa_addr, length));
        }
        freeifaddrs(interfaces);
    }
    return make<Host>(std::move(names), std::move(addresses));
}

Ref<Host> Host::hostWithName(const String* name)
{
    if (!name || !name->length())
        return nullptr;
    auto names = make<MutableArray>();
    auto addresses = make<MutableArray>();
    std::string text = name->utf8();
    addUnique(names.get(), text);
    if (!resolve(text, names.get(), addresses.get()))
        return nullptr;
    return make<Host>(std::move(names), std::move(addresses));
}

Ref<Host> Host::hostWithAddress(const String* address)
{
    if (!address)
        return nullptr;
    std::string text = address->utf8();
    sockaddr_storage storage {};
    socklen_t length = 0;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&storage);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
    if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        length = sizeof *v4;
    } else if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        length = sizeof *v6;
    } else {
        return nullptr;
    }
    auto names = make<MutableArray>();
    auto addresses = make<MutableArray>();
    addUnique(addresses.get(), numericAddress(reinterpret_cast<sockaddr*>(&storage), length));
    addUnique(names.get(), nameOfAddress(reinterpret_cast<sockaddr*>(&storage), length));
    return make<Host>(std::move(names), std::move(addresses));
}

Ref<String> Host::name() const
{
    return _names->count() ? Ref<String>(static_cast<String*>(_names->firstObject().get())) : nullptr;
}

Ref<String> Host::address() const
{
    return _addresses->count() ? Ref<String>(static_cast<String*>(_addresses->firstObject().get())) : nullptr;
}

bool Host::isEqualToHost(const Host* other) const
{
    if (!other)
        return false;
    for (auto& address : *_addresses) {
        if (other->_addresses->containsObject(address.get()))
            return true;
    }
    return false;
}

} // namespace yk
