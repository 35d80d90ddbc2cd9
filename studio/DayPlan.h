#pragma once

#include "hosting/Extension.h"
#include "hosting/HostingSession.h"
#include "hosting/ReloadBudget.h"
#include "platform/Date.h"
#include "timeline/Placement.h"

#include <optional>
#include <vector>

namespace studio {

// What a host makes of a stretch of time: every timeline it asks for, in the order it asks,
// and the requests that failed.
struct DayPlan {
    std::vector<hosting::TimelineRequestRecord> requests;
    std::vector<hosting::RequestFailure> failures;
};

// Runs a host's schedule for `placements` from `from` to `until` on a virtual clock through
// `extension`, drawing nothing: at the reload dates the timelines name, or with a budget, as the
// platform spreads them.
[[nodiscard]] DayPlan planDay(hosting::Extension& extension,
                              const std::vector<timeline::Placement>& placements,
                              platform::Date from, platform::Date until,
                              std::optional<hosting::ReloadBudget> budget);

}  // namespace studio
