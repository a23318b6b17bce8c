#pragma once

// The repair functions by the names the tool gives them, and by detected encoding.

#include <Yarkit/core/values/StringEncoding.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace yk::tool {

enum class RepairKind { UTF8, ShiftJIS, MacJapanese, DOSJapanese, EUCJP, ISO2022JP };

// "utf8", "sjis", "mac", "dos", "eucjp" or "jis"; nothing for another name.
std::optional<RepairKind> repairKindNamed(const std::string& name);

// The repair for text detected in `encoding`, or nothing where none applies (ASCII, UTF-16,
// the ISO-2022-JP extensions, whose escapes the plain ISO-2022-JP repair would break).
std::optional<RepairKind> repairKindForEncoding(CFStringEncoding encoding);

// The repaired bytes, or nothing when the input needed no repair.
std::optional<std::vector<uint8_t>> repairBytes(RepairKind kind, std::span<const uint8_t> bytes);

} // namespace yk::tool
