#include "watchlist/WatchlistTimelineProvider.h"

#include "store/AppGroupStore.h"

namespace watchlist {

using namespace timeline;

namespace {

using AppGroupContainer::PortfolioSnapshot;
using AppGroupContainer::WatchlistRow;

WatchlistEntry currentEntry(const TimelineProviderContext& context) {
    auto rows =
        AppGroupContainer::readRows(AppGroupContainer::watchlistTickersKey, context.storeDirectory)
            .value_or(std::vector<WatchlistRow>{});
    auto portfolio = AppGroupContainer::readRecord<PortfolioSnapshot>(
        AppGroupContainer::portfolioSnapshotKey, context.storeDirectory);
    const platform::Date now = context.now();
    // The views never get an empty list: nothing stored, undecodable or stored empty all show
    // the samples. The stored portfolio stays whatever it is.
    if (rows.empty()) rows = sampleWatchlistRows();
    return {now, std::move(rows), std::move(portfolio)};
}

}  // namespace

const std::vector<WatchlistRow>& sampleWatchlistRows() {
    static const std::vector<WatchlistRow> rows{
        {.ticker = "AAPL",
         .companyName = "Apple Inc.",
         .price = 187.32,
         .changePct = 0.84,
         .signal = "Buy",
         .score = 72},
        {.ticker = "NVDA",
         .companyName = "NVIDIA",
         .price = 488.5,
         .changePct = 1.92,
         .signal = "Strong Buy",
         .score = 84},
        {.ticker = "TSLA",
         .companyName = "Tesla",
         .price = 251.4,
         .changePct = -0.55,
         .signal = "Neutral",
         .score = 51},
    };
    return rows;
}

WatchlistEntry WatchlistTimelineProvider::placeholder(
    const TimelineProviderContext& context) const {
    return {context.now(), sampleWatchlistRows(), std::nullopt};
}

void WatchlistTimelineProvider::getSnapshot(
    const TimelineProviderContext& context,
    const std::function<void(WatchlistEntry)>& completion) const {
    completion(currentEntry(context));
}

void WatchlistTimelineProvider::getTimeline(
    const TimelineProviderContext& context,
    const std::function<void(Timeline<WatchlistEntry>)>& completion) const {
    auto entry = currentEntry(context);
    // Now is read again after the entry, so the reload is never before its date + 900 s.
    const platform::Date reload = context.now() + reloadInterval;
    completion(Timeline<WatchlistEntry>{{std::move(entry)}, TimelineReloadPolicy::after(reload)});
}

}  // namespace watchlist
