#pragma once

#include "platform/Date.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace AppGroupContainer {

// A summary of the user's portfolio as the host app last computed it.
struct PortfolioSnapshot {
    double totalValue = 0;
    double totalPnl = 0;
    double totalReturn = 0;  // percent units: 1.5 means 1.5 %
    double dailyChange = 0;
    double dailyChangePct = 0;
    std::int64_t holdingCount = 0;
    std::string sourceLabel;
    platform::Date updatedAt;

    // The JSON keys, one per field in field order (store/CodingKeys.h).
    enum class CodingKeys {
        totalValue,
        totalPnl,
        totalReturn,
        dailyChange,
        dailyChangePct,
        holdingCount,
        sourceLabel,
        updatedAt
    };
    static constexpr std::array<std::string_view, 8> codingKeyNames = {
        "totalValue",     "totalPnl",     "totalReturn", "dailyChange",
        "dailyChangePct", "holdingCount", "sourceLabel", "updatedAt"};

    friend bool operator==(const PortfolioSnapshot&, const PortfolioSnapshot&);
};

}  // namespace AppGroupContainer
