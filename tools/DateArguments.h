#pragma once

// Reading the moments the date command takes: "@SECONDS" since 1970 (a decimal number, sign and
// fraction allowed) or an RFC 3339 date and time ("2024-03-09T15:05:09Z", "2024-03-10 00:05:09.5+09:00").

#include <optional>
#include <string_view>

namespace yk::tool {

// Seconds since 1970, or nothing when the text is neither form.
std::optional<double> parseMoment(std::string_view text);

} // namespace yk::tool
