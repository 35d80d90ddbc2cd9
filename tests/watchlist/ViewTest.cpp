#include "watchlist/WatchlistGlanceView.h"

#include "style/Palette.h"
#include "style/TreeDump.h"
#include "tests/support/Golden.h"
#include "tests/support/ViewQuery.h"
#include "watchlist/WatchlistTimelineProvider.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

using namespace std::chrono;
using namespace viewquery;
using AppGroupContainer::PortfolioSnapshot;
using AppGroupContainer::WatchlistRow;

namespace {

const Date drawnAt = sys_days{2025y / November / 16} + 14h + 0min;

WatchlistRow row(std::string ticker, double price, std::optional<std::string> signal,
                 std::optional<std::string> company = std::nullopt) {
    WatchlistRow r;
    r.ticker = std::move(ticker);
    r.companyName = std::move(company);
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

EnvironmentValues environment(WidgetFamily family) {
    EnvironmentValues env;
    env.widgetFamily = family;
    env.locale = "en_US";
    env.timeZone = "UTC";
    env.now = drawnAt;
    return env;
}

WatchlistEntry entryOf(std::vector<WatchlistRow> rows,
                       std::optional<PortfolioSnapshot> portfolio = std::nullopt) {
    return {drawnAt - 2min, std::move(rows), std::move(portfolio)};
}

View draw(const WatchlistEntry& entry, WidgetFamily family) {
    return WatchlistGlanceView{entry}.body(environment(family));
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
    EXPECT_TRUE(!root.modifiers.empty() &&
                std::holds_alternative<WidgetURLModifier>(root.modifiers.back()));
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

std::vector<const View*> rootChildren(const View& view) {
    return laidOutChildren(view);
}

bool isPortfolio(const View& v) {
    return !textsNamed(v, "Portfolio").empty();
}
bool isHeader(const View& v) {
    return !textsNamed(v, "Watchlist").empty();
}
bool isEmptyState(const View& v) {
    return !textsNamed(v, "Open the dashboard to add tickers to a watchlist.").empty();
}

const std::string dashboard = "velmora://stock-universe-dashboard?tab=watchlist";

}  // namespace

TEST(DisplayRows, KeepsPricedOrSignalledRows) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // Nothing priced or signalled: every row, unchanged.
    const std::vector<WatchlistRow> bare{row("A", 0, std::nullopt), row("B", -1, std::nullopt),
                                         row("C", nan, std::nullopt)};
    EXPECT_EQ(tickers(displayRows(bare)), (std::vector<std::string>{"A", "B", "C"}));
    EXPECT_TRUE(std::isnan(displayRows(bare)[2].price));
    EXPECT_TRUE(displayRows({}).empty());

    // A negative price with a signal stays; price 0 without a signal goes once anything stays.
    EXPECT_EQ(tickers(displayRows({row("A", 0, std::nullopt), row("B", -2, "Hold"),
                                   row("C", nan, std::nullopt), row("D", 3, std::nullopt)})),
              (std::vector<std::string>{"B", "D"}));
    // An empty signal counts as present; order is kept; duplicates are kept.
    EXPECT_EQ(tickers(displayRows({row("Z", 0, ""), row("Y", 0, std::nullopt), row("Z", 1, "Buy"),
                                   row("X", nan, "Sell")})),
              (std::vector<std::string>{"Z", "Z", "X"}));
}

TEST(WatchlistGlanceView, RowsShownPerFamily) {
    std::vector<WatchlistRow> six;
    std::vector<std::string> names{"R1", "R2", "R3", "R4", "R5", "R6"};
    for (const auto& name : names) six.push_back(row(name, 10, "Buy", name + " Corp"));
    const WatchlistEntry entry = entryOf(six);

    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemSmall), names),
              (std::vector<std::string>{"R1"}));
    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemMedium), names),
              (std::vector<std::string>{"R1", "R2", "R3", "R4"}));
    EXPECT_EQ(tickersShown(draw(entry, WidgetFamily::systemLarge), names),
              (std::vector<std::string>{"R1", "R2", "R3", "R4", "R5"}));

    // The rows shown are the first of the display rows, not of the stored list.
    std::vector<WatchlistRow> mixed{row("U1", 0, std::nullopt), row("R1", 1, std::nullopt),
                                    row("U2", 0, std::nullopt), row("R2", 2, std::nullopt)};
    const std::vector<std::string> all{"U1", "R1", "U2", "R2"};
    EXPECT_EQ(tickersShown(draw(entryOf(mixed), WidgetFamily::systemSmall), all),
              (std::vector<std::string>{"R1"}));
    EXPECT_EQ(tickersShown(draw(entryOf(mixed), WidgetFamily::systemMedium), all),
              (std::vector<std::string>{"R1", "R2"}));

    // The medium grid: two flexible columns, cells identified by ticker.
    const View medium = draw(entry, WidgetFamily::systemMedium);
    const auto grids = nodesOfKind<LazyVGridNode>(medium);
    ASSERT_EQ(grids.size(), 1u);
    const auto& grid = std::get<LazyVGridNode>(grids.front()->node);
    EXPECT_EQ(grid.columns,
              (std::vector<GridItem>{GridItem::flexible(10), GridItem::flexible(10)}));
    EXPECT_EQ(grid.alignment, HorizontalAlignment::center);
    EXPECT_EQ(grid.spacing, 6.0);
    EXPECT_EQ(laidOutChildren(*grids.front()).size(), 4u);
    const auto forEach = nodesOfKind<ForEachNode>(medium);
    ASSERT_EQ(forEach.size(), 1u);
    EXPECT_EQ(std::get<ForEachNode>(forEach.front()->node).ids,
              (std::vector<std::string>{"R1", "R2", "R3", "R4"}));

    // The large list: five lines, four dividers, no space between them.
    const View large = draw(entry, WidgetFamily::systemLarge);
    EXPECT_EQ(nodesOfKind<DividerNode>(large).size(), 4u);
    const auto lists = nodesWhere(large, [](const View& v) {
        const auto* stack = std::get_if<VStackNode>(&v.node);
        return stack && stack->spacing == 0.0;
    });
    ASSERT_EQ(lists.size(), 1u);
    EXPECT_EQ(laidOutChildren(*lists.front()).size(), 9u);
    EXPECT_EQ(std::get<ForEachNode>(nodesOfKind<ForEachNode>(large).at(0)->node).ids,
              (std::vector<std::string>{"R1", "R2", "R3", "R4", "R5"}));
    const View single = draw(entryOf({six[0]}), WidgetFamily::systemLarge);
    EXPECT_TRUE(nodesOfKind<DividerNode>(single).empty());

    // Two rows with one ticker share their identity.
    const View twins = draw(entryOf({six[0], six[0]}), WidgetFamily::systemMedium);
    EXPECT_EQ(std::get<ForEachNode>(nodesOfKind<ForEachNode>(twins).at(0)->node).ids,
              (std::vector<std::string>{"R1", "R1"}));
}

TEST(WatchlistGlanceView, PortfolioOnlyWhenWorthSomething) {
    const std::vector<WatchlistRow> rows{row("AAPL", 187, "Buy")};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (std::optional<PortfolioSnapshot> p :
         {std::optional<PortfolioSnapshot>{}, std::optional{portfolioWorth(0)},
          std::optional{portfolioWorth(-50)}, std::optional{portfolioWorth(nan)}}) {
        const View view = draw(entryOf(rows, p), WidgetFamily::systemLarge);
        const auto children = rootChildren(view);
        ASSERT_EQ(children.size(), 3u);
        EXPECT_TRUE(isHeader(*children[0]));  // the header comes first, no gap above it
    }

    const View worth = draw(entryOf(rows, portfolioWorth(0.01)), WidgetFamily::systemLarge);
    const auto children = rootChildren(worth);
    ASSERT_EQ(children.size(), 4u);
    EXPECT_TRUE(isPortfolio(*children[0]));
    EXPECT_TRUE(isHeader(*children[1]));
    EXPECT_EQ(textsNamed(worth, "+4.25%").size(), 1u);

    // A portfolio but no rows: portfolio, header, empty state, spacer.
    const View noRows = draw(entryOf({}, portfolioWorth(2500)), WidgetFamily::systemLarge);
    const auto empty = rootChildren(noRows);
    ASSERT_EQ(empty.size(), 4u);
    EXPECT_TRUE(isPortfolio(*empty[0]));
    EXPECT_TRUE(isHeader(*empty[1]));
    EXPECT_TRUE(isEmptyState(*empty[2]));
    EXPECT_EQ(std::get<SpacerNode>(empty[3]->node).minLength, std::nullopt);

    // The other families never show the portfolio.
    for (auto family : {WidgetFamily::systemSmall, WidgetFamily::systemMedium}) {
        const View other = draw(entryOf(rows, portfolioWorth(2500)), family);
        EXPECT_TRUE(textsNamed(other, "Portfolio").empty());
    }
}

TEST(WatchlistGlanceView, SmallLayoutLinksToItsRow) {
    const View aapl = draw(entryOf({row("AAPL", 187, "Buy"), row("MSFT", 410, "Buy")}),
                           WidgetFamily::systemSmall);
    EXPECT_EQ(linkOf(aapl), "velmora://stock-detail?ticker=AAPL");
    EXPECT_EQ(modifiersOf<PaddingModifier>(aapl),
              (std::vector<PaddingModifier>{{EdgeInsets{4, 0, 4, 0}}}));
    EXPECT_EQ(std::get<VStackNode>(aapl.node).spacing, 4.0);
    // The block's children sit directly in the stack.
    EXPECT_EQ(rootChildren(aapl).size(), 4u);  // ticker line, spacer, price, change
    EXPECT_TRUE(textsNamed(aapl, "Watchlist").empty());

    EXPECT_EQ(linkOf(draw(entryOf({row("brk.b", 1, std::nullopt)}), WidgetFamily::systemSmall)),
              "velmora://stock-detail?ticker=brk.b");
    // A ticker that makes no URL: the row is drawn, without a link.
    const View spaced = draw(entryOf({row("A B", 1, "Buy")}), WidgetFamily::systemSmall);
    EXPECT_EQ(linkOf(spaced), std::nullopt);
    EXPECT_EQ(textsNamed(spaced, "A B").size(), 1u);

    const View none = draw(entryOf({}), WidgetFamily::systemSmall);
    EXPECT_EQ(linkOf(none), std::nullopt);
    const auto children = rootChildren(none);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(textOf(*children[0]), "No watchlist yet");
    EXPECT_FALSE(isVerbatim(*children[0]));
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(*children[0])->color, Palette::textSecondary);
}

TEST(WatchlistGlanceView, MediumAndLargeAlwaysLinkToTheDashboard) {
    for (auto family : {WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
        EXPECT_EQ(linkOf(draw(entryOf({row("AAPL", 187, "Buy")}), family)), dashboard);
        EXPECT_EQ(linkOf(draw(entryOf({row("A B", 187, "Buy")}), family)), dashboard);
        const View empty = draw(entryOf({}), family);
        EXPECT_EQ(linkOf(empty), dashboard);
        const auto children = rootChildren(empty);
        ASSERT_GE(children.size(), 2u);
        EXPECT_TRUE(isHeader(*children[0]));
        EXPECT_TRUE(isEmptyState(*children[1]));
        const auto star = nodesOfKind<ImageNode>(*children[1]);
        ASSERT_EQ(star.size(), 1u);
        EXPECT_EQ(std::get<ImageNode>(star[0]->node).systemName, "star");
        EXPECT_EQ(modifierOf<FontModifier>(*star[0]), std::nullopt);
        EXPECT_EQ(
            modifierOf<FrameModifier>(*children[1]),
            (FrameModifier{
                .maxWidth = infinity, .maxHeight = infinity, .alignment = Alignment::center}));
    }
}

TEST(WatchlistGlanceView, HeaderShowsTheEntrysAge) {
    const WatchlistEntry entry = entryOf({row("AAPL", 187, "Buy")});
    const View medium = draw(entry, WidgetFamily::systemMedium);
    const View large = draw(entry, WidgetFamily::systemLarge);

    const auto mediumSymbols = nodesOfKind<ImageNode>(medium);
    ASSERT_EQ(mediumSymbols.size(), 1u);
    EXPECT_EQ(std::get<ImageNode>(mediumSymbols[0]->node).systemName, "chart.line.uptrend.xyaxis");
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(*mediumSymbols[0])->color, Palette::accent);
    EXPECT_TRUE(nodesOfKind<ImageNode>(large).empty());

    for (const View* view : {&medium, &large}) {
        const View& age = *textsNamed(*view, "2m ago").at(0);
        EXPECT_TRUE(isVerbatim(age));
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(age)->color, Palette::textSecondary);
        EXPECT_FALSE(isVerbatim(*textsNamed(*view, "Watchlist").at(0)));
    }

    EnvironmentValues env = environment(WidgetFamily::systemMedium);
    EXPECT_EQ(relativeTimeText(drawnAt - 5 * 24h, env), "5d ago");
    // A date after the moment of drawing reads as the future; nothing clamps it.
    EXPECT_EQ(relativeTimeText(drawnAt + 3h, env), "in 3h");
}

// WidgetFamily names three families; a value beyond them stands for a family the host may
// add later, which must draw like the medium one.
TEST(WatchlistGlanceView, OtherFamiliesDrawAsMedium) {
    const WatchlistEntry entry =
        entryOf({row("AAPL", 187, "Buy"), row("NVDA", 488, "Buy")}, portfolioWorth(1000));
    const auto unknown = static_cast<WidgetFamily>(7);
    EXPECT_EQ(WatchlistGlanceView{entry}.body(environment(unknown)),
              draw(entry, WidgetFamily::systemMedium));
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
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemSmall)),
                          "trees/watchlist-small.txt");
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemMedium)),
                          "trees/watchlist-medium.txt");
    golden::expectMatches(dumpTree(draw(entry, WidgetFamily::systemLarge)),
                          "trees/watchlist-large.txt");
}
