// Arbitrary bytes as a socket address: the address YK_hostWithAddress would look up is read
// without overrunning the data and is "" or a numeric address inet_pton takes back. (No
// lookup is made: that would ask the resolver.)

#include <Yarkit/HostAdditions.h>

#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto address = yk::Data::dataWithBytes(data, static_cast<uint32_t>(size));
    std::string text = yk::detail::numericTextOfSocketAddress(address.get());
    uint8_t parsed[16];
    if (!text.empty() && inet_pton(AF_INET, text.c_str(), parsed) != 1 && inet_pton(AF_INET6, text.c_str(), parsed) != 1)
        std::abort();
    (void)yk::_isFQDN(yk::String::withUTF8(std::string_view(reinterpret_cast<const char*>(data), size)).get());
    return 0;
}
