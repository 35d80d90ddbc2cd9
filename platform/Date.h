#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// An instant, as the platform's date value: microseconds since the Unix epoch, UTC.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

// RFC 3339 internet date-time as the shared records carry it: YYYY-MM-DDTHH:MM:SS with an
// upper-case T, then Z/z or an offset (+HH:MM, +HHMM, +HH). No fractional seconds.
[[nodiscard]] std::optional<Date> parseRecordDate(std::string_view text);

// The same form, but fractional seconds are allowed (the command line's --at).
[[nodiscard]] std::optional<Date> parseCommandLineDate(std::string_view text);

// UTC, ending in Z, fractional seconds only when not zero (trailing zeros dropped).
[[nodiscard]] std::string formatDate(Date date);

}  // namespace platform
