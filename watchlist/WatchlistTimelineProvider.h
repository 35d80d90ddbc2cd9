#pragma once

#include "records/WatchlistRow.h"
#include "timeline/Timeline.h"
#include "watchlist/WatchlistEntry.h"

#include <chrono>
#include <functional>
#include <vector>

namespace watchlist {

// The three rows the placeholder shows and that stand in for an absent or empty watchlist:
// AAPL, NVDA, TSLA.
[[nodiscard]] const std::vector<AppGroupContainer::WatchlistRow>& sampleWatchlistRows();

// The watchlist widget's timeline provider. Holds nothing; every snapshot and timeline reads
// "vmWatchlistTickers" and "vmPortfolioSnapshot" afresh, and each completion is called exactly
// once before the call returns.
class WatchlistTimelineProvider {
public:
    using Entry = WatchlistEntry;

    // How long after a timeline request the host is asked to come back.
    static constexpr std::chrono::seconds reloadInterval{900};

    // The sample rows dated now, without a portfolio; reads nothing.
    [[nodiscard]] WatchlistEntry placeholder(
        const timeline::TimelineProviderContext& context) const;

    // The current entry: now, the stored rows (the samples when there are none) and the stored
    // portfolio or none.
    void getSnapshot(const timeline::TimelineProviderContext& context,
                     const std::function<void(WatchlistEntry)>& completion) const;

    // The current entry alone, to be rebuilt 900 seconds after the request.
    void getTimeline(
        const timeline::TimelineProviderContext& context,
        const std::function<void(timeline::Timeline<WatchlistEntry>)>& completion) const;
};

}  // namespace watchlist
