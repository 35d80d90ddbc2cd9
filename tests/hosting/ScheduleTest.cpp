#include "hosting/Scheduler.h"
#include "platform/Date.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using timeline::Placement;

namespace {

platform::Date at(const char* text) {
    return *platform::parseCommandLineDate(text);
}

// The scheduler's due requests answered by the widgets in this process, where they never fail.
std::vector<hosting::TimelineRequestRecord> runDue(hosting::Scheduler& scheduler,
                                                   const widgets::WidgetHost& widgets,
                                                   const platform::Clock& clock) {
    std::vector<hosting::RequestFailure> failures;
    return scheduler.runDue(
        [&](const Placement& placement, const platform::Clock& at) {
            return platform::Result<hosting::ExtensionReload>(hosting::ExtensionReload{
                timelineDates(widgets.request(placement, Request::timeline, at)), std::nullopt});
        },
        clock, failures);
}

widgets::WidgetHost hostOf(std::vector<StaticConfiguration> widgets) {
    widgets::HostSettings settings;
    settings.storeDirectory =
        (std::filesystem::temp_directory_path() / "velmora-schedule-test-empty").string();
    return widgets::WidgetHost(std::move(widgets), settings);
}

// Runs the scheduler on a virtual clock from `from` until before `until`, as the simulating
// host does: each placement's request times.
std::map<std::string, std::vector<platform::Date>> simulate(const widgets::WidgetHost& widgets,
                                                            hosting::Scheduler& scheduler,
                                                            platform::Date from,
                                                            platform::Date until) {
    std::map<std::string, std::vector<platform::Date>> times;
    platform::ManualClock clock(from);
    while (clock.now() < until) {
        for (const auto& r : runDue(scheduler, widgets, clock))
            times[r.placement.kind + " " + std::string(name(r.placement.family))].push_back(
                r.requestedAt);
        clock.set(scheduler.nextReload());
    }
    return times;
}

// A brief provider whose timelines ask to be reloaded an hour before they were made.
struct StaleProvider {
    using Entry = DailyBriefEntry;
    Entry placeholder(const TimelineProviderContext& context) const { return {context.now(), {}}; }
    void getSnapshot(const TimelineProviderContext& context,
                     const std::function<void(Entry)>& completion) const {
        completion(placeholder(context));
    }
    void getTimeline(const TimelineProviderContext& context,
                     const std::function<void(Timeline<Entry>)>& completion) const {
        completion({{placeholder(context)},
                    TimelineReloadPolicy::after(context.now() - std::chrono::hours(1))});
    }
};

}  // namespace

// Every placement is asked at once, then at the reload dates its timelines named: every quarter
// hour for the watchlist, at 06:30 UTC for the brief, across a day, a month and a year end.
TEST(Schedule, AsksEachPlacementAtOnceThenAtTheReloadDatesItWasGiven) {
    struct Case {
        const char* from;
        const char* until;
        std::size_t watchlistRequests;
        std::string briefRequests;  // the dates, each followed by a space
    };
    const std::vector<Case> cases{
        {"2025-11-16T00:00:00Z", "2025-11-17T00:00:00Z", 96,
         "2025-11-16T00:00:00Z 2025-11-16T06:30:00Z "},
        {"2025-11-16T06:29:59.5Z", "2025-11-16T06:30:00.5Z", 1,
         "2025-11-16T06:29:59.5Z 2025-11-16T06:30:00Z "},
        {"2025-12-31T20:00:00Z", "2026-01-02T08:00:00Z", 144,
         "2025-12-31T20:00:00Z 2026-01-01T06:30:00Z 2026-01-02T06:30:00Z "},
    };
    const auto widgets = hostOf(VelmoraWidgetsBundle().body());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from);
        hosting::Scheduler scheduler(widgets.allPlacements());
        const auto times = simulate(widgets, scheduler, at(c.from), at(c.until));
        ASSERT_EQ(times.size(), 5u);
        for (const auto* family : {"systemSmall", "systemMedium", "systemLarge"}) {
            const auto& watchlist = times.at(std::string("WatchlistGlance ") + family);
            ASSERT_EQ(watchlist.size(), c.watchlistRequests) << family;
            EXPECT_EQ(watchlist.front(), at(c.from));
            for (std::size_t i = 1; i < watchlist.size(); ++i)
                EXPECT_EQ(watchlist[i] - watchlist[i - 1], std::chrono::minutes(15));
        }
        for (const auto* family : {"DailyBrief systemMedium", "DailyBrief systemLarge"}) {
            std::string brief;
            for (const auto date : times.at(family)) brief += platform::formatDate(date) + " ";
            EXPECT_EQ(brief, c.briefRequests);
        }
    }
}

TEST(Schedule, AReloadDateInThePastWaitsForTheNextMomentNotATightLoop) {
    const auto widgets =
        hostOf({StaticConfiguration(
                    "Stale", StaleProvider(),
                    [](const DailyBriefEntry&, const ui::EnvironmentValues&) { return ui::View(); })
                    .supportedFamilies({WidgetFamily::systemMedium})});
    hosting::Scheduler scheduler(widgets.allPlacements());
    platform::ManualClock clock(at("2025-11-16T10:00:00Z"));
    EXPECT_EQ(scheduler.nextReload(), platform::Date::min());
    ASSERT_EQ(runDue(scheduler, widgets, clock).size(), 1u);
    EXPECT_EQ(scheduler.nextReload(), clock.now() + std::chrono::microseconds(1));
    EXPECT_TRUE(runDue(scheduler, widgets, clock).empty());
    EXPECT_TRUE(scheduler.dueAt(clock.now()).empty());
}

TEST(Schedule, AReloadOfOneKindMakesOnlyItsPlacementsDueAtOnce) {
    const auto widgets = hostOf(VelmoraWidgetsBundle().body());
    hosting::Scheduler scheduler(widgets.allPlacements());
    platform::ManualClock clock(at("2025-11-16T10:00:00Z"));
    EXPECT_EQ(runDue(scheduler, widgets, clock).size(), 5u);
    EXPECT_EQ(scheduler.nextReload(), at("2025-11-16T10:15:00Z"));
    clock.set(at("2025-11-16T10:14:59.999999Z"));
    EXPECT_TRUE(scheduler.dueAt(clock.now()).empty());

    scheduler.reloadNow("DailyBrief");
    EXPECT_EQ(scheduler.dueAt(clock.now()), (std::vector<std::size_t>{3, 4}));
    const auto asked = runDue(scheduler, widgets, clock);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].placement, (Placement{"DailyBrief", WidgetFamily::systemMedium}));
    EXPECT_EQ(asked[1].number, 2u);
    EXPECT_EQ(scheduler.nextReload(), at("2025-11-16T10:15:00Z"));
}
