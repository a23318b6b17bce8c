#include <Yarkit/ByteSequenceRepair.h>

#include "text/ByteSequenceRepairDetail.h"
#include "text/UTF8Sequences.h"

#include <algorithm>

namespace yk::detail {
namespace {

// How far the exact loop goes on by itself before the fast scan is tried again.
constexpr size_t exactStretch = 64;

} // namespace

// A malformed sequence becomes one "?", which swallows the bytes the lead announced as long as
// they are not ASCII, valid leads included: C3 C3 A9 is two units, C3 C3 and A9.
void repairUTF8(RepairOutput& output, const uint8_t* bytes, size_t length,
    const ByteScanner& scanner)
{
    for (size_t i = 0; i < length;) {
        i += scanner.utf8Prefix(bytes + i, length - i);
        for (size_t stop = std::min<size_t>(length, i + exactStretch); i < stop;) {
            if (bytes[i] < 0x80) {
                i += 1;
                continue;
            }
            if (size_t sequence = validUTF8SequenceLength(bytes, i, length)) {
                i += sequence;
                continue;
            }
            size_t expected = expectedUTF8SequenceLength(bytes[i]);
            size_t swallowed = 1;
            while (swallowed < expected && i + swallowed < length && bytes[i + swallowed] >= 0x80)
                ++swallowed;
            output.replace(i, i + swallowed, "?");
            i += swallowed;
        }
    }
}

RepairResult fixUTF8Bytes(std::string_view bytes, const ByteScanner& scanner)
{
    return collectRepair(bytes, [&](RepairOutput& output) {
        repairUTF8(output, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), scanner);
    });
}

} // namespace yk::detail

yk::RepairResult yk::fixUTF8Bytes(std::string_view bytes)
{
    return detail::fixUTF8Bytes(bytes, detail::activeByteScanner());
}

bool YKFixUTF8Bytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength)
{
    return yk::detail::repairInto(bytes, length, outBytes, outLength,
        [&](yk::detail::RepairOutput& output) {
            yk::detail::repairUTF8(output, bytes, length, yk::detail::activeByteScanner());
        });
}
