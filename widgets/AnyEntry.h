#pragma once

#include "dailybrief/DailyBriefEntry.h"
#include "timeline/Timeline.h"
#include "watchlist/WatchlistEntry.h"

#include <variant>

namespace widgets {

// An entry of either widget, as the host handles it without knowing the widget.
using AnyEntry = std::variant<dailybrief::DailyBriefEntry, watchlist::WatchlistEntry>;
using AnyTimeline = timeline::Timeline<AnyEntry>;

[[nodiscard]] inline platform::Date entryDate(const AnyEntry& entry) {
    return std::visit([](const auto& e) { return e.date; }, entry);
}

// A timeline as a host schedules it: the date of each entry, and when to ask again.
[[nodiscard]] inline timeline::Timeline<platform::Date> timelineDates(const AnyTimeline& timeline) {
    timeline::Timeline<platform::Date> dates{{}, timeline.policy};
    dates.entries.reserve(timeline.entries.size());
    for (const auto& entry : timeline.entries) dates.entries.push_back(entryDate(entry));
    return dates;
}

}  // namespace widgets
