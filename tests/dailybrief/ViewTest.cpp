#include "dailybrief/DailyBriefView.h"

#include "dailybrief/DailyBriefTimelineProvider.h"
#include "platform/Clock.h"
#include "style/Palette.h"
#include "tests/support/Golden.h"
#include "tests/support/ViewQuery.h"
#include "ui/TreeDump.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

using namespace ui;
using namespace timeline;
using namespace dailybrief;

using namespace std::chrono;
using namespace viewquery;
using AppGroupContainer::DailyBrief;

namespace {

platform::Date at(year_month_day day, hours h, minutes m) {
    return sys_days{day} + h + m;
}

DailyBrief nvda() {
    DailyBrief brief;
    brief.ticker = "NVDA";
    brief.companyName = "NVIDIA";
    brief.summary = "Data-centre demand keeps outrunning supply; margins hold near record levels.";
    brief.signal = "Strong Buy";
    brief.score = 78.4;
    brief.generatedAt = at(2025y / November / 16, 6h, 30min);
    return brief;
}

EnvironmentValues environment(WidgetFamily family) {
    EnvironmentValues env;
    env.widgetFamily = family;
    env.locale = "en_US";
    env.timeZone = "UTC";
    env.now = at(2025y / November / 16, 7h, 0min);
    return env;
}

View draw(std::optional<DailyBrief> brief, WidgetFamily family = WidgetFamily::systemMedium) {
    DailyBriefEntry entry{at(2025y / November / 17, 9h, 15min), std::move(brief)};
    return DailyBriefView{entry}.body(environment(family));
}

// The single node showing `text`; fails the test when there is not exactly one.
const View& only(const View& root, const std::string& text) {
    auto found = textsNamed(root, text);
    EXPECT_EQ(found.size(), 1u) << "texts named \"" << text << "\"";
    static const View none = Empty();
    return found.empty() ? none : *found.front();
}

const View& only(View&&, const std::string&) = delete;

std::optional<std::string> linkOf(const View& root) {
    auto links = modifiersOf<WidgetURLModifier>(root);
    EXPECT_EQ(links.size(), 1u);
    if (links.empty() || !links.front().url) return std::nullopt;
    return links.front().url->text();
}

// The score text of a brief's top row (the second child of its trailing column).
const View& scoreNode(const View& topRow) {
    const auto& columns = std::get<HStackNode>(topRow.node).children;
    return std::get<VStackNode>(columns.at(2).node).children.at(1);
}

const View& scoreNode(View&&) = delete;

}  // namespace

TEST(DailyBriefView, FooterShowsGeneratedAtInTheUsersZoneInUpperCase) {
    DailyBrief brief = nvda();
    const View view = draw(brief);
    const View& footer = only(view, "Daily Brief · %@");
    // The entry is dated a day later; the footer shows when the brief was written.
    EXPECT_EQ(keyOf(footer)->argument,
              LocalizedStringKey::Argument(std::string("Nov 16, 6:30 AM")));

    EnvironmentValues newYork = environment(WidgetFamily::systemMedium);
    newYork.timeZone = "America/New_York";
    const View shifted = briefFooter(brief, newYork);
    EXPECT_EQ(keyOf(only(shifted, "Daily Brief · %@"))->argument,
              LocalizedStringKey::Argument(std::string("Nov 16, 1:30 AM")));

    brief.generatedAt = at(2025y / March / 3, 18h, 5min);
    const View evening = draw(brief);
    EXPECT_EQ(keyOf(only(evening, "Daily Brief · %@"))->argument,
              LocalizedStringKey::Argument(std::string("Mar 3, 6:05 PM")));
}

TEST(DailyBriefView, ScoreIsTruncatedTowardZero) {
    EXPECT_EQ(briefScoreInteger(78.0), 78);
    EXPECT_EQ(briefScoreInteger(78.99), 78);
    EXPECT_EQ(briefScoreInteger(78.9), 78);
    EXPECT_EQ(briefScoreInteger(-0.5), 0);
    EXPECT_EQ(briefScoreInteger(-3.7), -3);
    EXPECT_EQ(briefScoreInteger(0.0), 0);
    // The ends of the 64-bit range: -2^63 fits, 2^63 (the next double up from the largest
    // double below it) does not.
    EXPECT_EQ(briefScoreInteger(-9223372036854775808.0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(briefScoreInteger(std::nextafter(9223372036854775808.0, 0.0)),
              std::int64_t{9223372036854774784});
    EXPECT_EQ(briefScoreInteger(9223372036854775808.0), std::nullopt);
    EXPECT_EQ(briefScoreInteger(std::nextafter(-9223372036854775808.0, -1e300)), std::nullopt);
    EXPECT_EQ(briefScoreInteger(1e300), std::nullopt);
    EXPECT_EQ(briefScoreInteger(-1e300), std::nullopt);
    EXPECT_EQ(briefScoreInteger(std::numeric_limits<double>::infinity()), std::nullopt);
    EXPECT_EQ(briefScoreInteger(-std::numeric_limits<double>::infinity()), std::nullopt);
    EXPECT_EQ(briefScoreInteger(std::numeric_limits<double>::quiet_NaN()), std::nullopt);

    // In the view: the integer through the "%lld" key, in the signal's colour.
    DailyBrief brief = nvda();
    for (auto [score, shown] : {std::pair{78.99, 78}, {-3.7, -3}, {-0.5, 0}}) {
        brief.score = score;
        const View top = briefTopRow(brief);
        const View& node = scoreNode(top);
        EXPECT_EQ(keyOf(node), LocalizedStringKey("%lld", std::int64_t{shown})) << score;
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(node)->color, Palette::bullish);
        EXPECT_EQ(modifierOf<FontModifier>(node)->font,
                  Font::system(14, FontWeight::bold, FontDesign::monospaced));
    }
    // A score without an integer shows a verbatim dash, coloured and sized like a score.
    for (double score : {std::numeric_limits<double>::quiet_NaN(),
                         std::numeric_limits<double>::infinity(), 1e300}) {
        brief.score = score;
        brief.signal = "Sell";
        const View top = briefTopRow(brief);
        const View& node = scoreNode(top);
        EXPECT_TRUE(isVerbatim(node));
        EXPECT_EQ(textOf(node), "—");
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(node)->color, Palette::bearish);
        EXPECT_EQ(modifierOf<FontModifier>(node)->font,
                  Font::system(14, FontWeight::bold, FontDesign::monospaced));
    }
}

TEST(DailyBriefView, LinksToTheTickerOrTheDashboard) {
    DailyBrief brief = nvda();
    EXPECT_EQ(linkOf(draw(brief)), "velmora://stock-detail?ticker=NVDA");
    brief.ticker = "nvda";
    EXPECT_EQ(linkOf(draw(brief)), "velmora://stock-detail?ticker=nvda");
    brief.ticker = "BRK.B";
    EXPECT_EQ(linkOf(draw(brief, WidgetFamily::systemLarge)),
              "velmora://stock-detail?ticker=BRK.B");

    // Not a valid URL: the brief still draws, with a link of none.
    brief.ticker = "NV DA";
    const View unlinked = draw(brief);
    EXPECT_EQ(linkOf(unlinked), std::nullopt);
    EXPECT_EQ(textsNamed(unlinked, "NV DA").size(), 1u);

    for (auto family : {WidgetFamily::systemMedium, WidgetFamily::systemLarge})
        EXPECT_EQ(linkOf(draw(std::nullopt, family)), "velmora://stock-universe-dashboard");
    // The link wraps the whole layout: it is the root's outermost modifier.
    EXPECT_TRUE(std::holds_alternative<WidgetURLModifier>(draw(nvda()).modifiers.back()));
    EXPECT_TRUE(std::holds_alternative<WidgetURLModifier>(draw(std::nullopt).modifiers.back()));
}

TEST(DailyBriefView, CompanyLineNeedsANonEmptyName) {
    DailyBrief withoutName = nvda();
    withoutName.companyName = std::nullopt;
    DailyBrief emptyName = nvda();
    emptyName.companyName = "";
    EXPECT_EQ(briefTopRow(withoutName), briefTopRow(emptyName));
    const View alone = briefTopRow(withoutName);
    const auto& names = std::get<HStackNode>(alone.node).children.at(0);
    EXPECT_EQ(std::get<VStackNode>(names.node).children.size(), 1u);

    DailyBrief blankName = nvda();
    blankName.companyName = "  ";
    const View blankTop = briefTopRow(blankName);
    const View& blank = only(blankTop, "  ");
    EXPECT_EQ(modifierOf<LineLimitModifier>(blank)->limit, 1);
    EXPECT_EQ(modifierOf<ForegroundColorModifier>(blank)->color, Palette::textSecondary);
    EXPECT_NE(briefTopRow(blankName), briefTopRow(withoutName));
}

TEST(DailyBriefView, SignalLabelTakesTheSignalColour) {
    DailyBrief brief = nvda();
    struct Case {
        std::string signal;
        Color color;
    };
    for (const Case& c : {Case{"Strong Buy", Palette::bullish}, Case{"Hold", Palette::neutral},
                          Case{"SELL", Palette::bearish}, Case{"", Palette::neutral}}) {
        brief.signal = c.signal;
        const View top = briefTopRow(brief);
        const auto& trailing = std::get<HStackNode>(top.node).children.at(2);
        const View& label = std::get<VStackNode>(trailing.node).children.at(0);
        EXPECT_EQ(textOf(label), c.signal);
        EXPECT_TRUE(isVerbatim(label));
        EXPECT_EQ(modifierOf<BackgroundModifier>(label)->fill, c.color.opacity(0.18)) << c.signal;
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(label)->color, c.color) << c.signal;
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(scoreNode(top))->color, c.color);
    }
}

// The placeholder's brief, as the widget gallery shows it in each family, and the empty state
// (the same in both families). The dumps pin every text, font, colour, modifier order and the
// three things the large family adds: a bigger summary font, more lines and "Read full analysis".
TEST(DailyBriefView, TreesMatchTheGoldenDumps) {
    const platform::FixedClock clock(at(2025y / November / 16, 6h, 30min));
    const DailyBrief sample = sampleDailyBrief(clock);
    golden::expectMatches(dumpTree(draw(sample, WidgetFamily::systemMedium), Palette::names),
                          "trees/dailybrief-medium.txt");
    golden::expectMatches(dumpTree(draw(sample, WidgetFamily::systemLarge), Palette::names),
                          "trees/dailybrief-large.txt");
    golden::expectMatches(dumpTree(draw(std::nullopt, WidgetFamily::systemMedium), Palette::names),
                          "trees/dailybrief-empty.txt");
    EXPECT_EQ(draw(std::nullopt, WidgetFamily::systemMedium),
              draw(std::nullopt, WidgetFamily::systemLarge));
}
