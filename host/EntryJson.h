#pragma once

#include "dailybrief/DailyBriefEntry.h"
#include "platform/Timeline.h"
#include "watchlist/WatchlistEntry.h"

#include <string>

// Entries and timelines as the command line prints them (JSON, two-space indent): an entry is
// {"date", "brief"} or {"date", "rows", "portfolio"}, a missing record null; a timeline is
// {"entries", "reloadAfter"}. Records are in their writing form, dates RFC 3339 UTC.
namespace host {

[[nodiscard]] std::string entryJson(const DailyBriefEntry& entry);
[[nodiscard]] std::string entryJson(const WatchlistEntry& entry);
[[nodiscard]] std::string timelineJson(const Timeline<DailyBriefEntry>& timeline);
[[nodiscard]] std::string timelineJson(const Timeline<WatchlistEntry>& timeline);

}  // namespace host
