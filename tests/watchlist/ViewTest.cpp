#include "style/Palette.h"
#include "watchlist/WatchlistGlanceView.h"

#include "tests/support/Golden.h"
#include "tests/support/ViewQuery.h"
#include "ui/TreeDump.h"
#include "watchlist/WatchlistTimelineProvider.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

using namespace ui;
using namespace timeline;
using namespace watchlist;

using namespace std::chrono;
using namespace viewquery;
using AppGroupContainer::PortfolioSnapshot;
using AppGroupContainer::WatchlistRow;

namespace {

const platform::Date drawnAt = sys_days{2025y / November / 16} + 14h + 0min;
const double notANumber = std::numeric_limits<double>::quiet_NaN();

WatchlistRow row(std::string ticker, double price, std::optional<std::string> signal) {
    WatchlistRow r;
    r.ticker = std::move(ticker);
    r.price = price;
    r.changePct = 0.5;
    r.signal = std::move(signal);
    return r;
}

std::vector<std::string> tickers(const std::vector<WatchlistRow>& rows) {
    std::vector<std::string> out;
    for (const auto& r : rows) out.push_back(r.ticker);
    return out;
}

WatchlistEntry entryOf(std::vector<WatchlistRow> rows,
                       std::optional<PortfolioSnapshot> portfolio = std::nullopt) {
    return {drawnAt - 2min, std::move(rows), std::move(portfolio)};
}

View draw(const WatchlistEntry& entry, WidgetFamily family) {
    EnvironmentValues env;
    env.widgetFamily = family;
    env.locale = "en_US";
    env.timeZone = "UTC";
    env.now = drawnAt;
    return WatchlistGlanceView{entry}.body(env);
}

PortfolioSnapshot portfolioWorth(double totalValue) {
    PortfolioSnapshot p;
    p.totalValue = totalValue;
    p.totalReturn = 4.25;
    return p;
}

std::optional<std::string> linkOf(const View& root) {
    auto links = modifiersOf<WidgetURLModifier>(root);
    EXPECT_EQ(links.size(), 1u);
    if (links.empty() || !links.front().url) return std::nullopt;
    return links.front().url->text();
}

// The tickers drawn, in order: texts whose text is one of `candidates`.
std::vector<std::string> tickersShown(const View& view,
                                      const std::vector<std::string>& candidates) {
    std::vector<std::string> out;
    for (const View* node : allNodes(view)) {
        auto text = textOf(*node);
        if (text && std::find(candidates.begin(), candidates.end(), *text) != candidates.end())
            out.push_back(*text);
    }
    return out;
}

}  // namespace

TEST(DisplayRows, KeepsPricedOrSignalledRows) {
    // Nothing priced or signalled: every row, unchanged.
    const std::vector<WatchlistRow> bare{row("A", 0, std::nullopt), row("B", -1, std::nullopt),
                                         row("C", notANumber, std::nullopt)};
    EXPECT_EQ(tickers(displayRows(bare)), (std::vector<std::string>{"A", "B", "C"}));
    EXPECT_TRUE(std::isnan(displayRows(bare)[2].price));
    EXPECT_TRUE(displayRows({}).empty());

    // A negative price with a signal stays; price 0 without a signal goes once anything stays.
    EXPECT_EQ(tickers(displayRows({row("A", 0, std::nullopt), row("B", -2, "Hold"),
                                   row("C", notANumber, std::nullopt), row("D", 3, std::nullopt)})),
              (std::vector<std::string>{"B", "D"}));
    // An empty signal counts as present; order is kept; duplicates are kept.
    EXPECT_EQ(tickers(displayRows({row("Z", 0, ""), row("Y", 0, std::nullopt), row("Z", 1, "Buy"),
                                   row("X", notANumber, "Sell")})),
              (std::vector<std::string>{"Z", "Z", "X"}));
}

TEST(WatchlistGlanceView, RowsShownPerFamily) {
    std::vector<WatchlistRow> six;
    std::vector<std::string> names{"R1", "R2", "R3", "R4", "R5", "R6"};
    for (const auto& name : names) six.push_back(row(name, 10, "Buy"));
    const WatchlistEntry entry = entryOf(six);

    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemSmall), names),
              (std::vector<std::string>{"R1"}));
    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemMedium), names),
              (std::vector<std::string>{"R1", "R2", "R3", "R4"}));
    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemLarge), names),
              (std::vector<std::string>{"R1", "R2", "R3", "R4", "R5"}));

    // The large list: a divider between lines, none for a single row.
    const View large = draw(entry, WidgetFamily::systemLarge);
    EXPECT_EQ(nodesOfKind<DividerNode>(large).size(), 4u);
    const View single = draw(entryOf({six[0]}), WidgetFamily::systemLarge);
    EXPECT_TRUE(nodesOfKind<DividerNode>(single).empty());
}

TEST(WatchlistGlanceView, PortfolioOnlyWhenWorthSomething) {
    const std::vector<WatchlistRow> rows{row("AAPL", 187, "Buy")};
    for (std::optional<PortfolioSnapshot> p :
         {std::optional<PortfolioSnapshot>{}, std::optional{portfolioWorth(0)},
          std::optional{portfolioWorth(-50)}, std::optional{portfolioWorth(notANumber)}}) {
        const View view = draw(entryOf(rows, p), WidgetFamily::systemLarge);
        EXPECT_TRUE(textsNamed(view, "Portfolio").empty());
    }
    const View worth = draw(entryOf(rows, portfolioWorth(0.01)), WidgetFamily::systemLarge);
    EXPECT_EQ(textsNamed(worth, "Portfolio").size(), 1u);
    EXPECT_EQ(textsNamed(worth, "+4.25%").size(), 1u);
}

TEST(WatchlistGlanceView, SmallLinksToItsRowMediumAndLargeToTheDashboard) {
    EXPECT_EQ(linkOf(draw(entryOf({row("AAPL", 187, "Buy"), row("MSFT", 410, "Buy")}),
                          WidgetFamily::systemSmall)),
              "velmora://stock-detail?ticker=AAPL");
    // A ticker that makes no URL: the row is drawn, without a link.
    const View spaced = draw(entryOf({row("A B", 1, "Buy")}), WidgetFamily::systemSmall);
    EXPECT_EQ(linkOf(spaced), std::nullopt);
    EXPECT_EQ(textsNamed(spaced, "A B").size(), 1u);

    const View none = draw(entryOf({}), WidgetFamily::systemSmall);
    EXPECT_EQ(linkOf(none), std::nullopt);
    EXPECT_EQ(textsNamed(none, "No watchlist yet").size(), 1u);

    for (auto family : {WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
        EXPECT_EQ(linkOf(draw(entryOf({row("A B", 187, "Buy")}), family)),
                  "velmora://stock-universe-dashboard?tab=watchlist");
        const View empty = draw(entryOf({}), family);
        EXPECT_EQ(linkOf(empty), "velmora://stock-universe-dashboard?tab=watchlist");
        EXPECT_EQ(textsNamed(empty, "Open the dashboard to add tickers to a watchlist.").size(),
                  1u);
    }
}

// The sample rows with a portfolio, in each family.
TEST(WatchlistGlanceView, TreesMatchTheGoldenDumps) {
    PortfolioSnapshot portfolio;
    portfolio.totalValue = 48210.37;
    portfolio.totalPnl = 6210.37;
    portfolio.totalReturn = 14.79;
    portfolio.dailyChange = -120.5;
    portfolio.dailyChangePct = -0.25;
    portfolio.holdingCount = 7;
    portfolio.sourceLabel = "Brokerage";
    portfolio.updatedAt = drawnAt - 1h;
    const WatchlistEntry entry = entryOf(sampleWatchlistRows(), portfolio);
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemSmall), Palette::names),
                          "trees/watchlist-small.txt");
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemMedium), Palette::names),
                          "trees/watchlist-medium.txt");
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemLarge), Palette::names),
                          "trees/watchlist-large.txt");
}

TEST(WatchlistView, UnpricedRowsShowNoPriceAndUnknownFamiliesDrawAsMedium) {
    for (double price : {0.0, -3.0, notANumber}) {
        SCOPED_TRACE(price);
        const View small = draw(entryOf({row("AAPL", price, "Buy")}), WidgetFamily::systemSmall);
        EXPECT_TRUE(nodesWhere(small, [](const View& v) {
                        const auto text = textOf(v);
                        return text && text->starts_with("$");
                    }).empty());
    }
    const auto entry = entryOf(sampleWatchlistRows());
    EXPECT_EQ(dumpTree(draw(entry, static_cast<WidgetFamily>(7)), Palette::names),
              dumpTree(draw(entry, WidgetFamily::systemMedium), Palette::names));
}
