#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/String.h>

namespace yk {

// A host's names and numeric addresses, looked up once when the object is made (getaddrinfo,
// getnameinfo; /etc/hosts and the resolver as the system is configured). Immutable; safe to
// share between threads.
class Host : public Object {
    YK_OBJECT(Host, Object)
public:
    Host(Ref<Array> names, Ref<Array> addresses);

    // This machine: its host name (and canonical name), with the addresses of its interfaces.
    [[nodiscard]] static Ref<Host> currentHost();
    // +hostWithName: null when the name does not resolve.
    [[nodiscard]] static Ref<Host> hostWithName(const String* name);
    // +hostWithAddress: a numeric IPv4 or IPv6 address; its names from the reverse lookup. Null
    // for text that is no address.
    [[nodiscard]] static Ref<Host> hostWithAddress(const String* address);

    // The first name, or null.
    [[nodiscard]] Ref<String> name() const;
    const Ref<Array>& names() const { return _names; }
    // The first address, or null.
    [[nodiscard]] Ref<String> address() const;
    const Ref<Array>& addresses() const { return _addresses; }

    // Equal when they share an address.
    bool isEqualToHost(const Host* other) const;

private:
    Ref<Array> _names;
    Ref<Array> _addresses;
};

} // namespace yk
