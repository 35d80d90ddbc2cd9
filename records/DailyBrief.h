#pragma once

#include "platform/Date.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace AppGroupContainer {

// The host app's morning brief of one ticker.
struct DailyBrief {
    std::string ticker;
    std::optional<std::string> companyName;
    std::string summary;
    std::string signal;
    double score = 0;
    platform::Date generatedAt;

    // The JSON keys, one per field in field order (store/CodingKeys.h).
    enum class CodingKeys { ticker, companyName, summary, signal, score, generatedAt };
    static constexpr std::array<std::string_view, 6> codingKeyNames = {
        "ticker", "companyName", "summary", "signal", "score", "generatedAt"};

    // Field by field; texts by canonical Unicode equivalence, numbers numerically.
    friend bool operator==(const DailyBrief&, const DailyBrief&);
};

}  // namespace AppGroupContainer
