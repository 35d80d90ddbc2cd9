#pragma once

#include "widgets/AnyEntry.h"

#include <string>

// Entries and timelines as the command line prints them (JSON, two-space indent): an entry is
// {"date", "brief"} or {"date", "rows", "portfolio"}, a missing record null; a timeline is
// {"entries", "reloadAfter"}. Records are in their writing form, dates RFC 3339 UTC.
namespace cli {

[[nodiscard]] std::string entryJson(const widgets::AnyEntry& entry);
[[nodiscard]] std::string timelineJson(const widgets::AnyTimeline& timeline);

}  // namespace cli
