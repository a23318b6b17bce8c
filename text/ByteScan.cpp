#include "text/ByteScan.h"

namespace yk::detail {
namespace {

size_t noPrefix(const uint8_t*, size_t)
{
    return 0;
}

constexpr ByteScanner portableScanner { "portable", findHighByteTail, findHighByteOrEscapeTail,
    noPrefix, noPrefix, noPrefix };

const ByteScanner& chooseByteScanner()
{
    auto scanners = availableByteScanners();
    return scanners.empty() ? portableScanner : *scanners.back();
}

} // namespace

const ByteScanner& portableByteScanner()
{
    return portableScanner;
}

std::vector<const ByteScanner*> availableByteScanners()
{
    std::vector<const ByteScanner*> scanners;
#if defined(__x86_64__)
    for (const ByteScanner* scanner : { sse2ByteScanner(), avx2ByteScanner() }) {
        if (scanner)
            scanners.push_back(scanner);
    }
#endif
    return scanners;
}

const ByteScanner& activeByteScanner()
{
    static const ByteScanner& scanner = chooseByteScanner();
    return scanner;
}

} // namespace yk::detail
