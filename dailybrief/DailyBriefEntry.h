#pragma once

#include "platform/Date.h"
#include "records/DailyBrief.h"

#include <optional>

namespace dailybrief {

// One entry of the daily brief timeline.
struct DailyBriefEntry {
    platform::Date date;
    std::optional<AppGroupContainer::DailyBrief> brief;

    bool operator==(const DailyBriefEntry&) const = default;
};

}  // namespace dailybrief
