#include "tools/EncodingRepair.h"

#include <cstdlib>
#include <memory>

#include <Yarkit/ByteSequenceRepair.h>

namespace yk::tool {

std::optional<RepairKind> repairKindNamed(const std::string& name)
{
    static const std::pair<const char*, RepairKind> names[] = {
        { "utf8", RepairKind::UTF8 }, { "sjis", RepairKind::ShiftJIS }, { "mac", RepairKind::MacJapanese },
        { "dos", RepairKind::DOSJapanese }, { "eucjp", RepairKind::EUCJP }, { "jis", RepairKind::ISO2022JP },
    };
    for (const auto& [text, kind] : names) {
        if (name == text)
            return kind;
    }
    return std::nullopt;
}

std::optional<RepairKind> repairKindForEncoding(CFStringEncoding encoding)
{
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return RepairKind::UTF8;
    case kCFStringEncodingShiftJIS:
    case kCFStringEncodingShiftJIS_X0213:
        return RepairKind::ShiftJIS;
    case kCFStringEncodingMacJapanese:
        return RepairKind::MacJapanese;
    case kCFStringEncodingDOSJapanese:
        return RepairKind::DOSJapanese;
    case kCFStringEncodingEUC_JP:
        return RepairKind::EUCJP;
    case kCFStringEncodingISO_2022_JP:
        return RepairKind::ISO2022JP;
    default:
        return std::nullopt;
    }
}

std::optional<std::vector<uint8_t>> repairBytes(RepairKind kind, std::span<const uint8_t> bytes)
{
    unsigned char* repaired = nullptr;
    uint32_t repairedLength = 0;
    const auto length = static_cast<uint32_t>(bytes.size());
    bool changed = false;
    switch (kind) {
    case RepairKind::UTF8:
        changed = YKFixUTF8Bytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    case RepairKind::ShiftJIS:
        changed = YKFixShiftJISBytes(bytes.data(), length, &repaired, &repairedLength, 0);
        break;
    case RepairKind::MacJapanese:
        changed = YKFixShiftJISBytes(bytes.data(), length, &repaired, &repairedLength, 1);
        break;
    case RepairKind::DOSJapanese:
        changed = YKFixShiftJISBytes(bytes.data(), length, &repaired, &repairedLength, 2);
        break;
    case RepairKind::EUCJP:
        changed = YKFixEUCJPBytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    case RepairKind::ISO2022JP:
        changed = YKFixISO2022JPBytes(bytes.data(), length, &repaired, &repairedLength);
        break;
    }
    if (!changed)
        return std::nullopt;
    std::unique_ptr<unsigned char, decltype(&std::free)> owner(repaired, &std::free);
    return std::vector<uint8_t>(repaired, repaired + repairedLength);
}

} // namespace yk::tool
