#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// An instant, as the platform's date value: microseconds since the Unix epoch, UTC.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

// The instants a date text can name in UTC: from the first moment of the year 0000 to the last
// of 9999, the four-digit years of RFC 3339. The parsers below read what a text says, offsets
// included, so a text may name an instant just outside; readers that keep dates (the record
// decoder, the command line) refuse those, and no date outside is ever written.
inline constexpr Date firstDate{std::chrono::sys_days{std::chrono::year(0) / 1 / 1}};
inline constexpr Date endOfDates{std::chrono::sys_days{std::chrono::year(10000) / 1 / 1}};

// RFC 3339 internet date-time as the shared records carry it: YYYY-MM-DDTHH:MM:SS with an
// upper-case T, then Z/z or an offset (+HH:MM, +HHMM, +HH). No fractional seconds.
[[nodiscard]] std::optional<Date> parseRecordDate(std::string_view text);

// The same form, but fractional seconds are allowed (the command line's --at).
[[nodiscard]] std::optional<Date> parseCommandLineDate(std::string_view text);

// UTC, ending in Z, fractional seconds only when not zero (trailing zeros dropped). The date
// must lie in [firstDate, endOfDates): a date outside is a programmer error.
[[nodiscard]] std::string formatDate(Date date);

}  // namespace platform
