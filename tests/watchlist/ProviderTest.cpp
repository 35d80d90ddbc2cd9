#include "records/JSONEncoder.h"
#include "store/AppGroupStore.h"
#include "tests/support/ProviderRequest.h"
#include "watchlist/WatchlistTimelineProvider.h"

#include <gtest/gtest.h>

using namespace timeline;
using namespace watchlist;

namespace {

using namespace std::chrono;
using AppGroupContainer::portfolioSnapshotKey;
using AppGroupContainer::WatchlistRow;
using AppGroupContainer::watchlistTickersKey;

const platform::Date start = testtime::utc(2025, 11, 16, 9);

const std::string storedPortfolio =
    R"({"totalValue":12500.5,"totalPnl":250,"totalReturn":2.04,"dailyChange":-30,)"
    R"("dailyChangePct":-0.24,"holdingCount":7,"sourceLabel":"Broker",)"
    R"("updatedAt":"2025-11-16T08:55:00Z"})";

using Request = providerrequest::Request<WatchlistTimelineProvider>;

// The sample rows themselves are in the golden dumps of the view.
TEST(WatchlistProvider, PlaceholderHasTheSampleRowsAndNoPortfolioWhateverIsStored) {
    Request request(start);
    request.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":1,"changePct":0}])");
    request.store.putData(portfolioSnapshotKey, storedPortfolio);
    const auto entry = request.provider.placeholder(request.context);
    EXPECT_EQ(entry.rows, sampleWatchlistRows());
    EXPECT_FALSE(entry.portfolio);
    EXPECT_EQ(entry.date, start);
}

TEST(WatchlistProvider, NoUsableRowsGiveTheSampleRows) {
    Request request(start);
    // Nothing stored at all.
    auto entry = request.snapshot();
    EXPECT_EQ(entry.rows, sampleWatchlistRows());
    EXPECT_FALSE(entry.portfolio);
    EXPECT_EQ(request.timeline().entries[0].rows, sampleWatchlistRows());
    // An empty list, undecodable rows and a text value all count as none.
    for (const char* stored : {"[]", R"([{"ticker":"A","price":1,"changePct":0},{"ticker":"B"}])",
                               R"({"ticker":"A"})"}) {
        request.store.putData(watchlistTickersKey, stored);
        EXPECT_EQ(request.snapshot().rows, sampleWatchlistRows()) << stored;
    }
    request.store.putString(watchlistTickersKey, R"([{"ticker":"A","price":1,"changePct":0}])");
    EXPECT_EQ(request.snapshot().rows, sampleWatchlistRows());
}

TEST(WatchlistProvider, StoredRowsReachTheEntryWholeAndInOrder) {
    Request request(start);
    request.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":0,"changePct":0}])");
    EXPECT_EQ(request.snapshot().rows, std::vector<WatchlistRow>{{.ticker = "ONE"}});

    std::vector<WatchlistRow> many;
    for (int i = 0; i < 25; ++i)
        many.push_back({.ticker = "T" + std::to_string(24 - i),
                        .price = i * 1.5,
                        .changePct = -i * 0.1,
                        .signal = i % 2 ? std::optional<std::string>("Buy") : std::nullopt});
    many.push_back(many[3]);  // duplicates stay
    request.store.putData(watchlistTickersKey, AppGroupContainer::encode(many));
    EXPECT_EQ(request.snapshot().rows, many);
    EXPECT_EQ(request.timeline().entries[0].rows, many);
}

TEST(WatchlistProvider, RowsAndPortfolioAreReadIndependently) {
    Request request(start);
    // A stored portfolio with no rows: the samples and the portfolio.
    request.store.putData(portfolioSnapshotKey, storedPortfolio);
    auto entry = request.snapshot();
    EXPECT_EQ(entry.rows, sampleWatchlistRows());
    ASSERT_TRUE(entry.portfolio);
    EXPECT_EQ(entry.portfolio->totalValue, 12500.5);
    EXPECT_EQ(entry.portfolio->holdingCount, 7);

    // Stored rows with an undecodable portfolio: the rows and no portfolio.
    request.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":1,"changePct":2}])");
    request.store.putData(portfolioSnapshotKey, R"({"totalValue":1})");
    entry = request.snapshot();
    EXPECT_EQ(entry.rows, (std::vector<WatchlistRow>{{"ONE", {}, 1, 2}}));
    EXPECT_FALSE(entry.portfolio);
}

TEST(WatchlistProvider, TimelineIsOneEntryReloadedNineHundredSecondsAfterTheRequest) {
    Request request(start);
    request.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":1,"changePct":2}])");
    request.store.putData(portfolioSnapshotKey, storedPortfolio);
    const auto snapshot = request.snapshot();  // reads the clock once: start
    const auto timeline = request.timeline();  // entry at start+1 s, reload from start+2 s
    const auto& entry = timeline.entries[0];
    EXPECT_EQ(snapshot.date, start);
    EXPECT_EQ(entry.date, start + seconds(1));
    EXPECT_EQ(timeline.policy.date, start + seconds(2) + seconds(900));
    EXPECT_GE(timeline.policy.date, entry.date + seconds(900));
    // Snapshot and timeline differ only in their dates.
    EXPECT_EQ(snapshot.rows, entry.rows);
    EXPECT_EQ(snapshot.portfolio, entry.portfolio);
}

}  // namespace
