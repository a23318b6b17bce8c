#include <Yarkit/ByteSequenceRepair.h>

#include "text/ByteSequenceRepairDetail.h"
#include "text/KutenTables.h"

#include <algorithm>

namespace yk::detail {
namespace {

constexpr uint8_t singleShift2 = 0x8E;

// A JIS X 0208 pair is defined when the Mac table marks it as a standard character (1). The
// trail's high bit is not examined: a 7-bit trail is judged as if it were set.
bool isDefinedPair(uint8_t lead, uint8_t trail)
{
    unsigned row = (lead & 0x7Fu) - 0x20u;
    unsigned low = trail & 0x7Fu;
    unsigned cell = (low >= 0x21 && low <= 0x7E) ? low - 0x20u : 0;
    return mac_japanese_kuten[row][cell] == 1;
}

} // namespace

// Single-shift 3 (0x8F) and other stray high bytes are kept; the two bytes after a kept 0x8F
// are then judged as an ordinary pair.
void repairEUCJP(RepairOutput& output, const uint8_t* bytes, size_t length,
    const ByteScanner& scanner)
{
    for (size_t i = 0; i < length;) {
        uint8_t lead = bytes[i];
        if (lead < 0x80) {
            i = scanner.findHighByte(bytes, i, length);
            continue;
        }
        bool isKatakana = lead == singleShift2;
        if (!isKatakana && (lead < 0xA1 || lead > 0xFE)) {
            i += 1;
            continue;
        }
        size_t next = std::min<size_t>(i + 2, length);
        bool defined = false;
        if (i + 1 < length) {
            uint8_t trail = bytes[i + 1];
            defined = isKatakana ? trail >= 0xA1 && trail <= 0xDF : isDefinedPair(lead, trail);
        }
        if (!defined)
            output.replace(i, next, "?");
        i = next;
    }
}

RepairResult fixEUCJPBytes(std::string_view bytes, const ByteScanner& scanner)
{
    return collectRepair(bytes, [&](RepairOutput& output) {
        repairEUCJP(output, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), scanner);
    });
}

} // namespace yk::detail

yk::RepairResult yk::fixEUCJPBytes(std::string_view bytes)
{
    return detail::fixEUCJPBytes(bytes, detail::activeByteScanner());
}

bool YKFixEUCJPBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength)
{
    return yk::detail::repairInto(bytes, length, outBytes, outLength,
        [&](yk::detail::RepairOutput& output) {
            yk::detail::repairEUCJP(output, bytes, length, yk::detail::activeByteScanner());
        });
}
