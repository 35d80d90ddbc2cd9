#pragma once

// Locale-aware formatting through ICU, made afresh for every call as the views require.
// `locale` is an ICU locale id ("en_US", "de_DE"); `timeZone` an IANA id ("UTC").

#include "platform/Date.h"

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// A fixed date pattern such as "MMM d, h:mm a": month names and the day-period marker
// follow the locale, everything else stays as the pattern says.
[[nodiscard]] std::string formatDatePattern(Date date, std::string_view pattern,
                                            std::string_view locale, std::string_view timeZone);

// "2m ago", "in 3h": the phrase for `date` relative to `now`, in the abbreviated (narrow) style,
// in the largest unit whose whole count is not zero.
[[nodiscard]] std::string formatRelativeDateTime(Date date, Date now, std::string_view locale);

// Currency text for an amount, or nothing when ICU gives no text.
[[nodiscard]] std::optional<std::string> formatCurrency(double value, std::string_view currencyCode,
                                                        int maximumFractionDigits,
                                                        std::string_view locale);

// Printf-style "%.<digits>f", never localised (full stop, no grouping), with "nan"/"inf" as the
// C format writes them.
[[nodiscard]] std::string formatFixed(double value, int digits);

// The shortest text that reads back as the same double, as the platform prints one ("10000.0").
[[nodiscard]] std::string formatShortest(double value);

// Whether ICU knows a locale id: it has data for the language ("en", "de_DE", "sr_Latn_RS"),
// and the country, when one is named, is a known one. ICU itself takes any well-formed id
// and falls back to its root data, which would draw in a language nobody asked for.
[[nodiscard]] bool isKnownLocale(std::string_view locale);

// Whether an id names one of the IANA time zones ICU knows ("UTC", "Europe/Berlin"). ICU
// itself treats an unknown id as "Etc/Unknown", which behaves as UTC.
[[nodiscard]] bool isKnownTimeZone(std::string_view timeZone);

// The user's locale from the environment: LC_ALL, else LANG, without encoding (".UTF-8") or
// modifier ("@euro"); unset, empty, C or POSIX count as en_US.
[[nodiscard]] std::string userLocale();

// The user's time zone as ICU detects it (TZ, else the system's), a zoneinfo path reduced to
// the zone's name; UTC when ICU does not know the zone.
[[nodiscard]] std::string userTimeZone();

}  // namespace platform
