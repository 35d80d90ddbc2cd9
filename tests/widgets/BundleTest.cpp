#include "platform/Clock.h"
#include "platform/Date.h"
#include "style/Palette.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace ui;
using namespace timeline;
using namespace dailybrief;
using namespace watchlist;
using namespace widgets;

namespace {

bool hasWidgetBackground(const View& view) {
    for (const auto& modifier : view.modifiers)
        if (const auto* background = std::get_if<ContainerBackgroundModifier>(&modifier))
            return background->color == Palette::background &&
                   background->placement == ContainerBackgroundPlacement::widget;
    return false;
}

TimelineProviderContext emptyStoreContext(const platform::Clock& clock) {
    TimelineProviderContext context(clock);
    context.storeDirectory =
        (std::filesystem::temp_directory_path() / "velmora-bundle-test-empty").string();
    return context;
}

}  // namespace

// The order and the families; the names and descriptions are texts as written.
TEST(Bundle, ListsWatchlistThenDailyBriefWithTheirFamilies) {
    const auto widgets = VelmoraWidgetsBundle().body();
    ASSERT_EQ(widgets.size(), 2u);
    EXPECT_EQ(widgets[0].kind, "WatchlistGlance");
    EXPECT_EQ(widgets[0].families,
              (std::vector{WidgetFamily::systemSmall, WidgetFamily::systemMedium,
                           WidgetFamily::systemLarge}));
    EXPECT_EQ(widgets[1].kind, "DailyBrief");
    EXPECT_EQ(widgets[1].families,
              (std::vector{WidgetFamily::systemMedium, WidgetFamily::systemLarge}));
    EXPECT_FALSE(widgets[1].supports(WidgetFamily::systemSmall));
}

TEST(Bundle, EveryEntryIsDrawnOnThePaletteBackgroundInEveryFamily) {
    const platform::FixedClock clock(*platform::parseRecordDate("2025-11-16T05:00:00Z"));
    for (const auto& widget : VelmoraWidgetsBundle().body()) {
        const auto context = emptyStoreContext(clock);
        std::vector<AnyEntry> entries{widget.placeholder(context)};
        widget.getSnapshot(context, [&](AnyEntry entry) { entries.push_back(std::move(entry)); });
        widget.getTimeline(context, [&](AnyTimeline timeline) {
            ASSERT_EQ(timeline.entries.size(), 1u);
            EXPECT_GT(timeline.policy.date, entryDate(timeline.entries.front()));
            entries.push_back(timeline.entries.front());
        });
        ASSERT_EQ(entries.size(), 3u) << widget.kind;
        for (const auto& entry : entries) {
            EXPECT_EQ(entryDate(entry), clock.now());
            for (auto family : widget.families) {
                EnvironmentValues env;
                env.widgetFamily = family;
                env.now = clock.now();
                EXPECT_TRUE(hasWidgetBackground(widget.content(entry, env)))
                    << widget.kind << " " << name(family);
            }
        }
    }
}
