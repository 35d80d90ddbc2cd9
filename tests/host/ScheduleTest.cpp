#include "host/Scheduler.h"
#include "host/WidgetHost.h"
#include "platform/Date.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
using namespace host;

namespace {

platform::Date at(const char* text) {
    return *platform::parseCommandLineDate(text);
}

host::WidgetHost emptyStoreHost() {
    host::HostSettings settings;
    settings.storeDirectory =
        (std::filesystem::temp_directory_path() / "velmora-schedule-test-empty").string();
    return host::WidgetHost(VelmoraWidgetsBundle().body(), settings);
}

// Runs the schedule on a virtual clock from `from` until before `until`, as the simulating
// host does, and returns every request.
std::vector<host::TimelineRequestRecord> simulate(const host::WidgetHost& widgetHost,
                                                  host::Scheduler& schedule, platform::Date from,
                                                  platform::Date until) {
    std::vector<host::TimelineRequestRecord> records;
    platform::ManualClock clock(from);
    while (clock.now() < until) {
        for (auto& r : schedule.runDue(widgetHost, clock)) records.push_back(r);
        clock.set(schedule.nextReload());
    }
    return records;
}

}  // namespace

TEST(Schedule, ASimulatedDayAsksEveryQuarterHourForTheWatchlistAndOnceAtSixThirtyForTheBrief) {
    const auto widgetHost = emptyStoreHost();
    host::Scheduler schedule(widgetHost.allPlacements());
    const auto records =
        simulate(widgetHost, schedule, at("2025-11-16T00:00:00Z"), at("2025-11-17T00:00:00Z"));

    std::map<std::pair<std::string, WidgetFamily>, std::vector<platform::Date>> byPlacement;
    for (const auto& r : records)
        byPlacement[{r.placement.kind, r.placement.family}].push_back(r.requestedAt);

    ASSERT_EQ(byPlacement.size(), 5u);
    for (auto family :
         {WidgetFamily::systemSmall, WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
        const auto& times = byPlacement[{"WatchlistGlance", family}];
        ASSERT_EQ(times.size(), 96u) << name(family);
        for (std::size_t i = 1; i < times.size(); ++i)
            EXPECT_EQ(times[i] - times[i - 1], std::chrono::minutes(15));
    }
    for (auto family : {WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
        const auto& times = byPlacement[{"DailyBrief", family}];
        ASSERT_EQ(times.size(), 2u) << name(family);
        EXPECT_EQ(times[0], at("2025-11-16T00:00:00Z"));
        EXPECT_EQ(times[1], at("2025-11-16T06:30:00Z"));
    }
}

TEST(Schedule, NeverAsksBeforeTheReloadDateItWasGiven) {
    const auto widgetHost = emptyStoreHost();
    host::Scheduler schedule(widgetHost.allPlacements());
    const auto records =
        simulate(widgetHost, schedule, at("2025-12-31T20:00:00Z"), at("2026-01-02T08:00:00Z"));

    std::map<std::pair<std::string, WidgetFamily>, platform::Date> promised;
    for (const auto& r : records) {
        const auto key = std::make_pair(r.placement.kind, r.placement.family);
        if (promised.count(key)) {
            EXPECT_GE(r.requestedAt, promised[key]);
        }
        promised[key] = r.timeline.policy.date;
        EXPECT_GT(r.timeline.policy.date, r.requestedAt);
    }
    // Across the year end the brief reloads at 06:30 on each new day.
    std::vector<platform::Date> briefTimes;
    for (const auto& r : records)
        if (r.placement == host::Placement{"DailyBrief", WidgetFamily::systemLarge})
            briefTimes.push_back(r.requestedAt);
    EXPECT_EQ(briefTimes, (std::vector{at("2025-12-31T20:00:00Z"), at("2026-01-01T06:30:00Z"),
                                       at("2026-01-02T06:30:00Z")}));
}

TEST(Schedule, AWaitingPlacementIsNotAskedAgainWhenTheClockHasNotMoved) {
    const auto widgetHost = emptyStoreHost();
    host::Scheduler schedule({{"WatchlistGlance", WidgetFamily::systemSmall}});
    platform::ManualClock clock(at("2025-11-16T10:00:00Z"));
    std::size_t requests = schedule.runDue(widgetHost, clock).size();
    requests += schedule.runDue(widgetHost, clock).size();
    clock.set(at("2025-11-16T10:14:59.999Z"));
    requests += schedule.runDue(widgetHost, clock).size();
    EXPECT_EQ(requests, 1u);
    clock.set(at("2025-11-16T10:15:00Z"));
    requests += schedule.runDue(widgetHost, clock).size();
    EXPECT_EQ(requests, 2u);
}
