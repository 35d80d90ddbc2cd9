#include "watchlist/WatchlistRows.h"

#include "style/Palette.h"
#include "tests/support/ViewQuery.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

using namespace viewquery;
using AppGroupContainer::PortfolioSnapshot;
using AppGroupContainer::WatchlistRow;

namespace {

WatchlistRow row(std::string ticker, std::optional<std::string> company, double price,
                 double changePct, std::optional<std::string> signal) {
    WatchlistRow r;
    r.ticker = std::move(ticker);
    r.companyName = std::move(company);
    r.price = price;
    r.changePct = changePct;
    r.signal = std::move(signal);
    return r;
}

WatchlistRow apple() {
    return row("AAPL", "Apple Inc.", 187.456, 0.84, "Buy");
}

std::vector<const View*> badges(const View& root) {
    // A badge is the one node clipped to a radius below 6 (cells clip at 6).
    return nodesWhere(root, [](const View& v) {
        auto clip = modifierOf<ClipShapeModifier>(v);
        return clip && clip->shape.cornerRadius < 6;
    });
}

const View* largeLineOf(const View& group) {
    return laidOutChildren(group).at(0);
}

}  // namespace

TEST(SignalBadge, SizesAndColours) {
    struct Case {
        SignalBadgeSize size;
        double font, horizontal, vertical, radius;
    };
    for (const Case& c :
         {Case{SignalBadgeSize::small, 8, 4, 2, 3}, Case{SignalBadgeSize::medium, 7, 3, 1, 2},
          Case{SignalBadgeSize::large, 8, 4, 2, 3}}) {
        const View badge = signalBadge("Strong Sell", c.size);
        EXPECT_EQ(textOf(badge), "Strong Sell");
        EXPECT_TRUE(isVerbatim(badge));
        EXPECT_EQ(modifierKinds(badge),
                  (std::vector<std::string>{"font", "padding", "padding", "background",
                                            "foregroundColor", "clipShape"}));
        EXPECT_EQ(modifierOf<FontModifier>(badge)->font,
                  Font::system(c.font, FontWeight::semibold));
        EXPECT_EQ(modifiersOf<PaddingModifier>(badge),
                  (std::vector<PaddingModifier>{{EdgeInsets{0, c.horizontal, 0, c.horizontal}},
                                                {EdgeInsets{c.vertical, 0, c.vertical, 0}}}));
        EXPECT_EQ(modifierOf<BackgroundModifier>(badge)->fill, Palette::bearish.opacity(0.18));
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(badge)->color, Palette::bearish);
        EXPECT_EQ(modifierOf<ClipShapeModifier>(badge)->shape,
                  (RoundedRectangle{c.radius, RoundedCornerStyle::continuous}));
        EXPECT_EQ(modifierOf<LineLimitModifier>(badge), std::nullopt);
    }
    const View empty = signalBadge("", SignalBadgeSize::small);
    EXPECT_EQ(textOf(empty), "");
    EXPECT_EQ(modifierOf<BackgroundModifier>(empty)->fill, Palette::neutral.opacity(0.18));
    EXPECT_EQ(
        modifierOf<ForegroundColorModifier>(signalBadge(" buy ", SignalBadgeSize::large))->color,
        Palette::bullish);
}

TEST(SignalBadge, PresenceDependsOnTheForm) {
    auto forms = [&](const WatchlistRow& r) {
        return std::array<View, 3>{smallRowBlock(r), mediumRowCell(r), largeRowLine(r, 0, {r})};
    };

    // A signal: a badge in every form, with the form's size.
    auto withSignal = forms(apple());
    for (const View& form : withSignal) ASSERT_EQ(badges(form).size(), 1u);
    EXPECT_EQ(modifierOf<FontModifier>(*badges(withSignal[0]).front())->font.size, 8);
    EXPECT_EQ(modifierOf<FontModifier>(*badges(withSignal[1]).front())->font.size, 7);
    EXPECT_EQ(modifierOf<FontModifier>(*badges(withSignal[2]).front())->font.size, 8);

    // An empty signal: only the small form shows a badge, empty and neutral.
    WatchlistRow emptySignal = apple();
    emptySignal.signal = "";
    auto withEmpty = forms(emptySignal);
    ASSERT_EQ(badges(withEmpty[0]).size(), 1u);
    EXPECT_EQ(textOf(*badges(withEmpty[0]).front()), "");
    EXPECT_EQ(modifierOf<BackgroundModifier>(*badges(withEmpty[0]).front())->fill,
              Palette::neutral.opacity(0.18));
    EXPECT_TRUE(badges(withEmpty[1]).empty());
    EXPECT_TRUE(badges(withEmpty[2]).empty());

    // No signal: no badge anywhere.
    WatchlistRow noSignal = apple();
    noSignal.signal = std::nullopt;
    for (const View& form : forms(noSignal)) EXPECT_TRUE(badges(form).empty());
}

TEST(SmallRowBlock, ChildrenFollowTheRow) {
    const View block = smallRowBlock(apple());
    ASSERT_TRUE(std::holds_alternative<GroupNode>(block.node));
    const auto children = laidOutChildren(block);
    ASSERT_EQ(children.size(), 5u);
    EXPECT_TRUE(std::holds_alternative<HStackNode>(children[0]->node));
    EXPECT_EQ(textOf(*children[1]), "Apple Inc.");
    EXPECT_EQ(modifierOf<LineLimitModifier>(*children[1])->limit, 1);
    EXPECT_EQ(std::get<SpacerNode>(children[2]->node).minLength, 0.0);
    EXPECT_EQ(textOf(*children[3]), "$187.46");
    EXPECT_EQ(modifierOf<FontModifier>(*children[3])->font,
              Font::system(16, FontWeight::semibold, FontDesign::monospaced));
    EXPECT_EQ(textOf(*children[4]), "+0.84%");
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(*children[4])->color, Palette::bullish);
    const auto& tickerLine = std::get<HStackNode>(children[0]->node).children;
    EXPECT_EQ(textOf(tickerLine.at(0)), "AAPL");
    EXPECT_TRUE(std::holds_alternative<SpacerNode>(tickerLine.at(1).node));
    EXPECT_EQ(textOf(tickerLine.at(2)), "Buy");

    // An empty company name still takes its line; an absent one does not. A price of 0 or
    // less, or not a number, is not shown.
    for (double price : {0.0, -4.0, std::numeric_limits<double>::quiet_NaN()}) {
        const View bare = smallRowBlock(row("X", "", price, -0.5, std::nullopt));
        const auto shown = laidOutChildren(bare);
        ASSERT_EQ(shown.size(), 4u) << price;
        EXPECT_EQ(textOf(*shown[1]), "");
        EXPECT_EQ(textOf(*shown[3]), "-0.50%");
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(*shown[3])->color, Palette::bearish);
    }
    const View nameless = smallRowBlock(row("X", std::nullopt, 1, 0, std::nullopt));
    EXPECT_EQ(laidOutChildren(nameless).size(), 4u);
}

TEST(MediumRowCell, TickerPriceChangeOnASurface) {
    const View cell = mediumRowCell(apple());
    EXPECT_EQ(modifierKinds(cell),
              (std::vector<std::string>{"padding", "background", "clipShape"}));
    EXPECT_EQ(modifierOf<PaddingModifier>(cell)->insets, (EdgeInsets{6, 6, 6, 6}));
    EXPECT_EQ(modifierOf<BackgroundModifier>(cell)->fill, Palette::surface);
    EXPECT_EQ(modifierOf<ClipShapeModifier>(cell)->shape,
              (RoundedRectangle{6, RoundedCornerStyle::continuous}));
    EXPECT_EQ(std::get<HStackNode>(cell.node).spacing, 6.0);
    EXPECT_EQ(textsNamed(cell, "$187.46").size(), 1u);
    EXPECT_EQ(textsNamed(cell, "+0.84%").size(), 1u);
    // The cell never names the company.
    EXPECT_TRUE(textsNamed(cell, "Apple Inc.").empty());

    const View unpriced = mediumRowCell(row("X", "Co", 0, 0.002, "Hold"));
    EXPECT_EQ(nodesOfKind<TextNode>(unpriced).size(), 3u);  // ticker, change, badge
    const View& change = *textsNamed(unpriced, "+0.00%").at(0);
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(change)->color, Palette::bullish);
}

TEST(LargeRowLine, LineAndDividers) {
    const View group = largeRowLine(apple(), 0, {apple()});
    const auto parts = laidOutChildren(group);
    ASSERT_EQ(parts.size(), 1u);  // the only row is the last: no divider
    const View& line = *parts[0];
    EXPECT_EQ(modifiersOf<PaddingModifier>(line),
              (std::vector<PaddingModifier>{{EdgeInsets{4, 0, 4, 0}}}));
    const auto& items = std::get<HStackNode>(line.node).children;
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(textOf(items[0]), "AAPL");
    // The ticker takes the widget's default foreground.
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(items[0]), std::nullopt);
    EXPECT_EQ(modifierOf<FrameModifier>(items[0]),
              (FrameModifier{.minWidth = 56, .alignment = Alignment::leading}));
    EXPECT_EQ(textOf(items[1]), "Apple Inc.");
    EXPECT_EQ(textOf(items[3]), "Buy");
    EXPECT_EQ(textOf(items[4]), "+0.84%");
    EXPECT_EQ(modifierOf<FrameModifier>(items[4]),
              (FrameModifier{.minWidth = 56, .alignment = Alignment::trailing}));
    EXPECT_TRUE(textsNamed(group, "$187.46").empty());  // no price in the list

    // Five rows: a divider after each of the first four.
    std::vector<WatchlistRow> five(5, apple());
    int dividers = 0;
    for (std::size_t i = 0; i < five.size(); ++i) {
        const View lineAndDivider = largeRowLine(five[i], i, five);
        const auto got = laidOutChildren(lineAndDivider);
        const bool last = i + 1 == five.size();
        ASSERT_EQ(got.size(), last ? 1u : 2u) << i;
        if (!last) {
            ++dividers;
            EXPECT_TRUE(std::holds_alternative<DividerNode>(got[1]->node));
            EXPECT_EQ(got[1]->modifiers,
                      std::vector<Modifier>{BackgroundModifier{Color::white().opacity(0.04)}});
        }
    }
    EXPECT_EQ(dividers, 4);

    // An empty company is left out in the list.
    const View anonymous = largeRowLine(row("X", "", 1, 0, std::nullopt), 0, {});
    EXPECT_EQ(std::get<HStackNode>(largeLineOf(anonymous)->node).children.size(), 3u);
}

TEST(PortfolioSummary, ValueAndTotalReturn) {
    PortfolioSnapshot portfolio;
    portfolio.totalValue = 9999.99;
    portfolio.totalReturn = -3.2;
    portfolio.dailyChangePct = 1.1;
    EnvironmentValues env;
    env.locale = "en_US";
    const View summary = portfolioSummary(portfolio, env);

    const View& label = *textsNamed(summary, "Portfolio").at(0);
    EXPECT_FALSE(isVerbatim(label));
    const View& value = *textsNamed(summary, "$9,999.99").at(0);
    EXPECT_TRUE(isVerbatim(value));
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(value), std::nullopt);
    EXPECT_EQ(modifierOf<FontModifier>(value)->font, Font::system(16, FontWeight::bold));
    const View& totalReturn = *textsNamed(summary, "-3.20%").at(0);
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(totalReturn)->color, Palette::bearish);
    // Only those three texts: no daily change, no label for the percentage.
    EXPECT_EQ(nodesOfKind<TextNode>(summary).size(), 3u);

    portfolio.totalValue = 125000.4;
    const View large = portfolioSummary(portfolio, env);
    EXPECT_EQ(textsNamed(large, "$125,000").size(), 1u);
}
