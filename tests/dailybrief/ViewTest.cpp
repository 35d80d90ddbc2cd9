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
    return {"NVDA",
            "NVIDIA",
            "Data-centre demand keeps outrunning supply; margins hold near record levels.",
            "Strong Buy",
            78.4,
            at(2025y / November / 16, 6h, 30min)};
}

EnvironmentValues environment(WidgetFamily family) {
    return {.widgetFamily = family, .now = at(2025y / November / 16, 7h, 0min)};
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

// The score text of a brief's top row (the second child of its trailing column).
const View& scoreNode(const View& topRow) {
    const auto& columns = std::get<HStackNode>(topRow.node).children;
    return std::get<VStackNode>(columns.at(2).node).children.at(1);
}

const View& scoreNode(View&&) = delete;

}  // namespace

// The sample's footer, in UTC, is in the golden dumps; here other zones and hours. The entry is
// dated a day later: the footer shows when the brief was written.
TEST(DailyBriefView, FooterShowsGeneratedAtInTheUsersZone) {
    const struct {
        const char* zone;
        platform::Date generatedAt;
        const char* shown;
    } cases[] = {{"America/New_York", at(2025y / November / 16, 6h, 30min), "Nov 16, 1:30 AM"},
                 {"UTC", at(2025y / March / 3, 18h, 5min), "Mar 3, 6:05 PM"}};
    for (const auto& c : cases) {
        DailyBrief brief = nvda();
        brief.generatedAt = c.generatedAt;
        EnvironmentValues env = environment(WidgetFamily::systemMedium);
        env.timeZone = c.zone;
        const View footer = briefFooter(brief, env);
        EXPECT_EQ(keyOf(only(footer, "Daily Brief · %@"))->argument,
                  LocalizedStringKey::Argument(std::string(c.shown)));
    }
}

// The integer goes through the "%lld" key; a score without one (beyond the 64-bit range: -2^63
// fits, 2^63 does not) shows a verbatim dash. Either is coloured and set as the sample's score.
TEST(DailyBriefView, ScoreIsTruncatedTowardZero) {
    constexpr double twoTo63 = 9223372036854775808.0;
    const double inf = std::numeric_limits<double>::infinity();
    const std::pair<double, std::optional<std::int64_t>> cases[] = {
        {78.99, 78},
        {-0.5, 0},
        {-3.7, -3},
        {-twoTo63, std::numeric_limits<std::int64_t>::min()},
        {std::nextafter(twoTo63, 0.0), 9223372036854774784},
        {twoTo63, std::nullopt},
        {std::nextafter(-twoTo63, -1e300), std::nullopt},
        {1e300, std::nullopt},
        {inf, std::nullopt},
        {-inf, std::nullopt},
        {std::numeric_limits<double>::quiet_NaN(), std::nullopt}};
    DailyBrief brief = nvda();
    brief.signal = "Sell";
    const View reference = briefTopRow(brief);
    for (const auto& [score, integer] : cases) {
        SCOPED_TRACE(score);
        EXPECT_EQ(briefScoreInteger(score), integer);
        brief.score = score;
        const View top = briefTopRow(brief);
        const View& node = scoreNode(top);
        if (integer) {
            EXPECT_EQ(keyOf(node), LocalizedStringKey("%lld", *integer));
        } else {
            EXPECT_TRUE(isVerbatim(node) && textOf(node) == "—");
        }
        EXPECT_EQ(node.modifiers, scoreNode(reference).modifiers);
    }
}

// The sample's links are in the golden dumps.
TEST(DailyBriefView, LinksToTheTickerOrTheDashboard) {
    const struct {
        std::optional<std::string> ticker;
        WidgetFamily family;
        std::optional<std::string> link;
    } cases[] = {
        {"nvda", WidgetFamily::systemMedium, "velmora://stock-detail?ticker=nvda"},
        {"BRK.B", WidgetFamily::systemLarge, "velmora://stock-detail?ticker=BRK.B"},
        {"NV DA", WidgetFamily::systemMedium, std::nullopt},  // not a URL: drawn, unlinked
        {std::nullopt, WidgetFamily::systemLarge, "velmora://stock-universe-dashboard"},
    };
    for (const auto& c : cases) {
        std::optional<DailyBrief> brief;
        if (c.ticker) brief = nvda(), brief->ticker = *c.ticker;
        const View view = draw(brief, c.family);
        EXPECT_EQ(linkOf(view), c.link);
        EXPECT_TRUE(!c.ticker || textsNamed(view, *c.ticker).size() == 1u);
    }
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
    EXPECT_EQ(textsNamed(blankTop, "  ").size(), 1u);  // a name of blanks is still a name
}

// The sample's bullish label is in the golden dumps.
TEST(DailyBriefView, SignalLabelTakesTheSignalColour) {
    DailyBrief brief = nvda();
    for (const auto& [signal, color] : {std::pair{"Hold", Palette::neutral},
                                        {"SELL", Palette::bearish},
                                        {"", Palette::neutral}}) {
        brief.signal = signal;
        const View top = briefTopRow(brief);
        const auto& trailing = std::get<HStackNode>(top.node).children.at(2);
        const View& label = std::get<VStackNode>(trailing.node).children.at(0);
        EXPECT_EQ(textOf(label), signal);
        EXPECT_EQ(modifierOf<BackgroundModifier>(label)->fill, color.opacity(0.18)) << signal;
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(label)->color, color) << signal;
        EXPECT_EQ(modifierOf<ForegroundColorModifier>(scoreNode(top))->color, color);
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
