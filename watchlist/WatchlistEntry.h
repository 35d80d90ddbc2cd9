#pragma once

#include "platform/Date.h"
#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"

#include <optional>
#include <vector>

namespace watchlist {

// One entry of the watchlist timeline.
struct WatchlistEntry {
    platform::Date date;
    std::vector<AppGroupContainer::WatchlistRow> rows;
    std::optional<AppGroupContainer::PortfolioSnapshot> portfolio;

    bool operator==(const WatchlistEntry&) const = default;
};

}  // namespace watchlist
