#include "hosting/HostingSession.h"
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

// A session's due reloads answered by the widgets in this process, where they never fail, or
// failing for the kind `failing` names, as a hung extension would.
hosting::SessionUpdate runDue(hosting::HostingSession& session, const widgets::WidgetHost& widgets,
                              platform::Date now, std::string_view failing = {}) {
    std::vector<hosting::ReloadOutcome> outcomes;
    for (const auto& due : session.due(now)) {
        auto& outcome = outcomes.emplace_back(hosting::ReloadOutcome{due});
        if (due.placement.kind == failing) {
            outcome.reload = platform::Error{"hung"};
            continue;
        }
        const platform::FixedClock clock(due.at);
        outcome.reload = hosting::ExtensionReload{
            timelineDates(widgets.request(due.placement, Request::timeline, clock)), std::nullopt};
    }
    return session.apply(std::move(outcomes), now);
}

widgets::WidgetHost hostOf(std::vector<StaticConfiguration> widgets) {
    widgets::HostSettings settings;
    settings.storeDirectory =
        (std::filesystem::temp_directory_path() / "velmora-schedule-test-empty").string();
    return widgets::WidgetHost(std::move(widgets), settings);
}

// Runs the session on a virtual clock from `from` until before `until`, as the simulating
// host does: each placement's request times.
std::map<std::string, std::vector<platform::Date>> simulate(const widgets::WidgetHost& widgets,
                                                            hosting::HostingSession& session,
                                                            platform::Date from,
                                                            platform::Date until) {
    std::map<std::string, std::vector<platform::Date>> times;
    platform::Date now = from;
    while (now < until) {
        for (const auto& r : runDue(session, widgets, now).requests)
            times[r.placement.kind + " " + std::string(name(r.placement.family))].push_back(
                r.requestedAt);
        now = *session.nextReload();
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
TEST(HostingSession, AsksEachPlacementAtOnceThenAtTheReloadDatesItWasGiven) {
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
        hosting::HostingSession session(widgets.allPlacements());
        const auto times = simulate(widgets, session, at(c.from), at(c.until));
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

// A budget spreads each placement's reloads a day divided by the budget apart: a timeline that
// asks for more waits, and the request says how late it came; one that asks for less is never
// held back. Each case is a day from midnight.
TEST(HostingSession, ABudgetSpreadsReloadsAndEachRequestSaysHowLateItCame) {
    using std::chrono::minutes;
    struct Case {
        int perDay;
        std::size_t watchlistRequests;
        std::chrono::microseconds watchlistSpacing;
        std::size_t watchlistLate;  // all but the first, each late by the spacing less 15 min
    };
    const std::vector<Case> cases{
        {40, 40, minutes(36), 39},
        {70, 70, minutes(20) + std::chrono::microseconds(34'285'715), 69},  // rounded up
        {96, 96, minutes(15), 0},  // the spacing the watchlist asks for
        {1, 1, minutes(0), 0},
    };
    const auto widgets = hostOf(VelmoraWidgetsBundle().body());
    const auto from = at("2025-11-16T00:00:00Z");
    const auto until = at("2025-11-17T00:00:00Z");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.perDay);
        hosting::HostingSession session(widgets.allPlacements(), hosting::ReloadBudget{c.perDay});
        std::map<std::string, std::vector<hosting::TimelineRequestRecord>> requests;
        for (platform::Date now = from; now < until; now = *session.nextReload())
            for (auto& r : runDue(session, widgets, now).requests)
                requests[r.placement.kind].push_back(std::move(r));
        const auto& watchlist = requests["WatchlistGlance"];  // three families in turn
        ASSERT_EQ(watchlist.size(), 3 * c.watchlistRequests);
        EXPECT_EQ(watchlist.front().lateBy().count(), 0);
        std::size_t late = 0;
        for (std::size_t i = 3; i < watchlist.size(); ++i) {
            EXPECT_EQ(watchlist[i].requestedAt - watchlist[i - 3].requestedAt, c.watchlistSpacing);
            if (watchlist[i].lateBy().count() == 0) continue;
            ++late;
            EXPECT_EQ(watchlist[i].lateBy(), c.watchlistSpacing - minutes(15));
            EXPECT_EQ(watchlist[i].requestedAt - *watchlist[i].askedFor, watchlist[i].lateBy());
        }
        EXPECT_EQ(late, 3 * c.watchlistLate);
        // The brief asks once a day, at 06:30: within any budget but the smallest.
        for (const auto& brief : requests["DailyBrief"]) EXPECT_EQ(brief.lateBy().count(), 0);
        EXPECT_EQ(requests["DailyBrief"].size(), c.perDay > 1 ? 4u : 2u);
    }
}

TEST(HostingSession, AReloadDateInThePastWaitsForTheNextMomentNotATightLoop) {
    const auto widgets =
        hostOf({StaticConfiguration(
                    "Stale", StaleProvider(),
                    [](const DailyBriefEntry&, const ui::EnvironmentValues&) { return ui::View(); })
                    .supportedFamilies({WidgetFamily::systemMedium})});
    hosting::HostingSession session(widgets.allPlacements());
    const auto now = at("2025-11-16T10:00:00Z");
    EXPECT_EQ(session.nextReload(), platform::Date::min());
    ASSERT_EQ(runDue(session, widgets, now).requests.size(), 1u);
    EXPECT_EQ(session.nextReload(), now + std::chrono::microseconds(1));
    EXPECT_TRUE(runDue(session, widgets, now).requests.empty());
    EXPECT_TRUE(session.due(now).empty());
}

// Placing, removing and reloading one kind leave the other placements' timelines and reload
// dates as they were; a failed reload waits its back-off, and an answer asked for before a
// reload of its kind is left out, the placement staying due.
TEST(HostingSession, PlacesRemovesAndReloadsKindsLeavingTheOthersAsTheyWere) {
    const auto widgets = hostOf(VelmoraWidgetsBundle().body());
    hosting::HostingSession session({{"WatchlistGlance", WidgetFamily::systemSmall},
                                     {"DailyBrief", WidgetFamily::systemMedium}});
    const auto now = at("2025-11-16T10:00:00Z");
    const auto indexes = [](const auto& list) {
        std::vector<std::size_t> indexes;
        for (const auto& item : list) indexes.push_back(item.index);
        return indexes;
    };
    EXPECT_EQ(indexes(runDue(session, widgets, now).requests), (std::vector<std::size_t>{0, 1}));
    EXPECT_TRUE(runDue(session, widgets, now).requests.empty());
    EXPECT_EQ(session.nextReload(), at("2025-11-16T10:15:00Z"));

    EXPECT_FALSE(session.place({"DailyBrief", WidgetFamily::systemMedium}));
    EXPECT_TRUE(session.place({"DailyBrief", WidgetFamily::systemLarge}));
    EXPECT_EQ(indexes(session.due(now)), (std::vector<std::size_t>{2}));
    EXPECT_EQ(indexes(runDue(session, widgets, now).requests), (std::vector<std::size_t>{2}));

    session.reloadNow("DailyBrief");
    const auto failed = runDue(session, widgets, now, "DailyBrief");
    EXPECT_EQ(indexes(failed.failures), (std::vector<std::size_t>{1, 2}));
    EXPECT_EQ(session.nextReload(), now + hosting::RetryBackoff::first);
    EXPECT_EQ(session.latest(1)->number, 1u);  // keeps its last timeline

    // Asked, then reloaded before the answer came: the answer is stale.
    const auto asked = session.due(now + std::chrono::seconds(1));
    session.reloadNow("DailyBrief");
    std::vector<hosting::ReloadOutcome> late;
    for (const auto& due : asked)
        late.push_back(
            {due, hosting::ExtensionReload{{{due.at}, {due.at + std::chrono::hours(1)}}}});
    EXPECT_TRUE(session.apply(std::move(late), now + std::chrono::seconds(1)).requests.empty());
    EXPECT_EQ(session.nextReload(), platform::Date::min());

    session.remove(0);
    EXPECT_EQ(session.latest(0)->placement, (Placement{"DailyBrief", WidgetFamily::systemMedium}));
    session.reloadNow("");
    EXPECT_EQ(indexes(runDue(session, widgets, now + std::chrono::seconds(2)).requests),
              (std::vector<std::size_t>{0, 1}));
}

// A placement that keeps failing waits one second, then twice as long each time up to five
// minutes, never past its next reload date; its placeholder is drawn once, while it shows
// nothing; a drawing shown starts the back-off over.
TEST(HostingSession, FailuresBackOffDoublingAndAPlacementThatShowsNothingGetsItsPlaceholder) {
    const Placement brief{"DailyBrief", WidgetFamily::systemMedium};
    hosting::HostingSession session({brief});
    platform::Date now = at("2025-11-16T10:00:00Z");
    const auto fail = [&](bool withPlaceholder) {
        const auto due = session.due(now);
        EXPECT_EQ(due.size(), 1u);
        EXPECT_EQ(due.at(0).placeholderOnFailure, withPlaceholder);
        hosting::ReloadOutcome outcome{due.at(0), platform::Error{"hung"}};
        if (due.at(0).placeholderOnFailure)
            outcome.placeholder =
                hosting::ExtensionReload{{{now}, {now}}, hosting::ExtensionDrawing{}};
        auto update = session.apply({std::move(outcome)}, now);
        const auto wait = update.failures.at(0).retryAt - now;
        now = update.failures.at(0).retryAt;
        return std::pair{wait, update.placeholders.size()};
    };
    using std::chrono::seconds;
    EXPECT_EQ(fail(true), std::pair(std::chrono::microseconds(seconds(1)), std::size_t(1)));
    for (const int wait : {2, 4, 8, 16, 32, 64, 128, 256, 300, 300})
        EXPECT_EQ(fail(false).first, seconds(wait));

    // Answered and drawn, but the host could not show the drawing: the back-off goes on, by the
    // reload date at the latest.
    auto answered = hosting::ReloadOutcome{
        session.due(now).at(0),
        hosting::ExtensionReload{{{now}, {now + seconds(100)}}, hosting::ExtensionDrawing{}}};
    EXPECT_EQ(session.apply({answered}, now).requests.size(), 1u);
    EXPECT_EQ(session.drawingFailed(0, platform::Error{"refused"}, now).retryAt,
              now + seconds(100));
    EXPECT_EQ(session.drawingFailed(0, platform::Error{"refused"}, now).retryAt,
              now + seconds(100));
    session.shown(0);
    EXPECT_EQ(session.drawingFailed(0, platform::Error{"refused"}, now).retryAt, now + seconds(1));
    EXPECT_FALSE(session.due(now + seconds(1)).at(0).placeholderOnFailure);
}
