#pragma once

#include "platform/Date.h"
#include "store/PortfolioSnapshot.h"
#include "store/WatchlistRow.h"

#include <optional>
#include <vector>

// One entry of the watchlist timeline.
struct WatchlistEntry {
    Date date;
    std::vector<AppGroupContainer::WatchlistRow> rows;
    std::optional<AppGroupContainer::PortfolioSnapshot> portfolio;

    bool operator==(const WatchlistEntry&) const = default;
};
