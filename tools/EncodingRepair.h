#pragma once

// The repair functions by the names the tool gives them, and by detected encoding.

#include <Yarkit/ByteSequenceRepair.h>
#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace yk::tool {

enum class RepairKind { UTF8, ShiftJIS, MacJapanese, DOSJapanese, EUCJP, ISO2022JP };

// "utf8", "sjis", "mac", "dos", "eucjp" or "jis"; nothing for another name.
std::optional<RepairKind> repairKindNamed(const std::string& name);

// The repair for text detected in `encoding`, or nothing where none applies (ASCII, UTF-16,
// the ISO-2022-JP extensions, whose escapes the plain ISO-2022-JP repair would break).
std::optional<RepairKind> repairKindForEncoding(CFStringEncoding encoding);

// The repaired bytes and where they were repaired, or nothing when the input needed no repair.
std::optional<RepairResult> repairBytes(RepairKind kind, std::span<const uint8_t> bytes);

// The input offset that a byte of the repaired copy came from: a replacement's bytes map to
// the start of what they replaced. `edits` as repairBytes gives them, in input order.
uint64_t inputOffsetOf(const std::vector<RepairEdit>& edits, uint64_t repairedOffset);

} // namespace yk::tool
