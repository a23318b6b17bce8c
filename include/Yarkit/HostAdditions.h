#pragma once

// NSHost(Yarkit) and NSProcessInfo(YarkitAdditions): fully qualified names and addresses of a
// host by kind, a host from a socket address, and the system version and version test. Free
// functions that take the receiver first; any thread.

#include <Yarkit/core/system/Host.h>
#include <Yarkit/core/system/ProcessInfo.h>
#include <Yarkit/core/values/Data.h>

#include <string>

namespace yk {

// The first / every name of the host that passes _isFQDN, in names order.
[[nodiscard]] Ref<String> fullyQualifiedDomainName(const Host* host);
[[nodiscard]] Ref<Array> fullyQualifiedDomainNames(const Host* host);
// The first / every address that inet_aton accepts.
[[nodiscard]] Ref<String> IPv4Address(const Host* host);
[[nodiscard]] Ref<Array> IPv4Addresses(const Host* host);
// The first / every address that inet_pton accepts as AF_INET6.
[[nodiscard]] Ref<String> IPv6Address(const Host* host);
[[nodiscard]] Ref<Array> IPv6Addresses(const Host* host);
// A host for the socket address the data holds (at most 128 bytes are read; Linux's sockaddr
// starts with its 16-bit family, AF_INET 2 or AF_INET6 10). Null for null data or another
// family.
[[nodiscard]] Ref<Host> YK_hostWithAddress(const Data* address);
// Non-empty, not ending in ".local" nor holding ".local." (any case), only ASCII letters,
// digits, "-" and ".", with at least one ".".
bool _isFQDN(const String* name);

namespace detail {
// The numeric address YK_hostWithAddress looks up, or "" for a family it does not take.
std::string numericTextOfSocketAddress(const Data* address);
} // namespace detail

// The running system's version, from uname's release.
OperatingSystemVersion yk_operatingSystemVersion(const ProcessInfo* info);
bool yk_isOperatingSystemAtLeastVersion(const ProcessInfo* info, OperatingSystemVersion version);

} // namespace yk
