#pragma once

#include "platform/Date.h"

#include <optional>
#include <string>

namespace AppGroupContainer {

// The host app's morning brief of one ticker.
struct DailyBrief {
    std::string ticker;
    std::optional<std::string> companyName;
    std::string summary;
    std::string signal;
    double score = 0;
    Date generatedAt;

    // Field by field; texts by canonical Unicode equivalence, numbers numerically.
    friend bool operator==(const DailyBrief&, const DailyBrief&);
};

}  // namespace AppGroupContainer
