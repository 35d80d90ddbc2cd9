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
    return {.ticker = std::move(ticker), .price = price, .changePct = 0.5, .signal = signal};
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
    return WatchlistGlanceView{entry}.body({.widgetFamily = family, .now = drawnAt});
}

PortfolioSnapshot portfolioWorth(double totalValue) {
    return {.totalValue = totalValue, .totalReturn = 4.25};
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

    for (const auto& [family, shown] : {std::pair{WidgetFamily::systemSmall, 1},
                                        {WidgetFamily::systemMedium, 4},
                                        {WidgetFamily::systemLarge, 5}})
        EXPECT_EQ(tickersShown(draw(entry, family), names),
                  std::vector(names.begin(), names.begin() + shown));

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
}

// The sample rows' links are in the golden dumps; here a ticker that makes no URL (the row is
// drawn, without a link) and the empty state.
TEST(WatchlistGlanceView, SmallLinksToItsRowMediumAndLargeToTheDashboard) {
    const std::string dashboard = "velmora://stock-universe-dashboard?tab=watchlist";
    const std::string emptyText = "Open the dashboard to add tickers to a watchlist.";
    const struct {
        std::vector<WatchlistRow> rows;
        WidgetFamily family;
        std::optional<std::string> link;
        std::string shown;
    } cases[] = {
        {{row("A B", 1, "Buy")}, WidgetFamily::systemSmall, std::nullopt, "A B"},
        {{}, WidgetFamily::systemSmall, std::nullopt, "No watchlist yet"},
        {{row("A B", 1, "Buy")}, WidgetFamily::systemMedium, dashboard, "A B"},
        {{}, WidgetFamily::systemMedium, dashboard, emptyText},
        {{}, WidgetFamily::systemLarge, dashboard, emptyText},
    };
    for (const auto& c : cases) {
        const View view = draw(entryOf(c.rows), c.family);
        EXPECT_EQ(linkOf(view), c.link) << c.shown;
        EXPECT_EQ(textsNamed(view, c.shown).size(), 1u);
    }
}

// The sample rows with a portfolio, in each family.
TEST(WatchlistGlanceView, TreesMatchTheGoldenDumps) {
    const PortfolioSnapshot portfolio{48210.37, 6210.37, 14.79,       -120.5,
                                      -0.25,    7,       "Brokerage", drawnAt - 1h};
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
