#include "tools/EncodingRepair.h"


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

std::optional<RepairResult> repairBytes(RepairKind kind, std::span<const uint8_t> bytes)
{
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    RepairResult result = [&] {
        switch (kind) {
        case RepairKind::UTF8:
            return fixUTF8Bytes(text);
        case RepairKind::ShiftJIS:
            return fixShiftJISBytes(text, 0);
        case RepairKind::MacJapanese:
            return fixShiftJISBytes(text, 1);
        case RepairKind::DOSJapanese:
            return fixShiftJISBytes(text, 2);
        case RepairKind::EUCJP:
            return fixEUCJPBytes(text);
        case RepairKind::ISO2022JP:
            break;
        }
        return fixISO2022JPBytes(text);
    }();
    if (!result.repaired)
        return std::nullopt;
    return result;
}

uint64_t inputOffsetOf(const std::vector<RepairEdit>& edits, uint64_t repairedOffset)
{
    // How far the repaired copy has moved ahead of the input before the current edit.
    int64_t shift = 0;
    for (const auto& edit : edits) {
        uint64_t start = edit.offset + static_cast<uint64_t>(shift);
        if (repairedOffset < start)
            break;
        if (repairedOffset < start + edit.replacement.size())
            return edit.offset;
        shift += static_cast<int64_t>(edit.replacement.size()) - static_cast<int64_t>(edit.length);
    }
    return repairedOffset - static_cast<uint64_t>(shift);
}

} // namespace yk::tool
