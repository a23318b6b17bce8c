#include <Yarkit/ByteSequenceRepair.h>

#include "text/ByteSequenceRepairDetail.h"
#include "text/KutenTables.h"

#include <algorithm>

namespace yk::detail {
namespace {

// The character table of a variant, or null for variants whose pairs are not looked up.
const KutenTable* kutenTableForVariant(int variant)
{
    switch (variant) {
    case 0:
        return &shift_jis_kuten;
    case 1:
        return &mac_japanese_kuten;
    case 2:
        return &dos_japanese_kuten;
    default:
        return nullptr;
    }
}

bool isLeadByte(uint8_t byte)
{
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

} // namespace

// Pairs always advance by two: an undefined pair's "?" swallows the trail whatever it is, an
// ASCII byte included, and a trail is never judged on its own.
void repairShiftJIS(RepairOutput& output, const uint8_t* bytes, size_t length, int variant,
    const ByteScanner& scanner)
{
    const KutenTable* table = kutenTableForVariant(variant);
    // Mac Japanese, and any unknown variant, has characters at 0x80 and 0xFD-0xFF.
    bool replaceMacSingles = variant == 0 || variant == 2;
    for (size_t i = 0; i < length;) {
        uint8_t byte = bytes[i];
        if (byte < 0x80) {
            i = scanner.findHighByte(bytes, i, length);
            continue;
        }
        if (byte == 0x80 || byte >= 0xFD) {
            if (replaceMacSingles)
                output.replace(i, i + 1, "?");
            i += 1;
            continue;
        }
        if (byte == 0xA0) {
            output.replace(i, i + 1, " ");
            i += 1;
            continue;
        }
        if (!isLeadByte(byte)) {
            i += 1;
            continue;
        }
        size_t next = std::min<size_t>(i + 2, length);
        bool defined = !table
            || (i + 1 < length && kutenEntry(*table, sjis2jis(byte, bytes[i + 1])) != 0);
        if (!defined)
            output.replace(i, next, "?");
        i = next;
    }
}

RepairResult fixShiftJISBytes(std::string_view bytes, int variant, const ByteScanner& scanner)
{
    return collectRepair(bytes, [&](RepairOutput& output) {
        repairShiftJIS(output, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
            variant, scanner);
    });
}

} // namespace yk::detail

yk::RepairResult yk::fixShiftJISBytes(std::string_view bytes, int variant)
{
    return detail::fixShiftJISBytes(bytes, variant, detail::activeByteScanner());
}

bool YKFixShiftJISBytes(const unsigned char* bytes, uint32_t length, unsigned char** outBytes,
    uint32_t* outLength, int variant)
{
    return yk::detail::repairInto(bytes, length, outBytes, outLength,
        [&](yk::detail::RepairOutput& output) {
            yk::detail::repairShiftJIS(output, bytes, length, variant,
                yk::detail::activeByteScanner());
        });
}
