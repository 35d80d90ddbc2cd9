#pragma once

#include "dailybrief/DailyBriefEntry.h"
#include "platform/Timeline.h"
#include "watchlist/WatchlistEntry.h"

#include <variant>

// An entry of either widget, as the host handles it without knowing the widget.
using AnyEntry = std::variant<DailyBriefEntry, WatchlistEntry>;
using AnyTimeline = Timeline<AnyEntry>;

[[nodiscard]] inline Date entryDate(const AnyEntry& entry) {
    return std::visit([](const auto& e) { return e.date; }, entry);
}
