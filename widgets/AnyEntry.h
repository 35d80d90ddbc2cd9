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

}  // namespace widgets
