#pragma once

#include "platform/Date.h"
#include "store/DailyBrief.h"

#include <optional>

// One entry of the daily brief timeline.
struct DailyBriefEntry {
    Date date;
    std::optional<AppGroupContainer::DailyBrief> brief;

    bool operator==(const DailyBriefEntry&) const = default;
};
