#pragma once

#include "platform/Date.h"
#include "records/Field.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

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

    // The fields in field order with their JSON keys (records/Field.h): the keys, decoding,
    // encoding, equality and the extension's frames all come from this list.
    static constexpr auto fields() {
        return std::tuple{Field{"totalValue", &PortfolioSnapshot::totalValue},
                          Field{"totalPnl", &PortfolioSnapshot::totalPnl},
                          Field{"totalReturn", &PortfolioSnapshot::totalReturn},
                          Field{"dailyChange", &PortfolioSnapshot::dailyChange},
                          Field{"dailyChangePct", &PortfolioSnapshot::dailyChangePct},
                          Field{"holdingCount", &PortfolioSnapshot::holdingCount},
                          Field{"sourceLabel", &PortfolioSnapshot::sourceLabel},
                          Field{"updatedAt", &PortfolioSnapshot::updatedAt}};
    }

    friend bool operator==(const PortfolioSnapshot& a, const PortfolioSnapshot& b) {
        return fieldsEqual(a, b);
    }
};

}  // namespace AppGroupContainer
