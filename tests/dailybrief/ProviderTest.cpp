#include "dailybrief/DailyBriefTimelineProvider.h"
#include "store/AppGroupStore.h"
#include "tests/support/TempStore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

using namespace timeline;
using namespace dailybrief;

namespace {

using namespace std::chrono;
using AppGroupContainer::dailyBriefKey;

platform::Date utc(int y, unsigned m, unsigned d, int hh, int mm, int ss) {
    return platform::Date(sys_days(year(y) / month(m) / day(d))) + hours(hh) + minutes(mm) +
           seconds(ss);
}

platform::Date refreshAt(platform::Date now) {
    return nextMorningRefresh(platform::FixedClock(now));
}

const std::string storedBrief =
    R"({"ticker":"AMD","companyName":"Advanced Micro Devices","summary":"Steady.",)"
    R"("signal":"Hold","score":55.5,"generatedAt":"2025-11-16T04:00:00Z"})";

// A clock that moves on by one second every time it is read, to tell the reads apart.
class TickingClock final : public platform::Clock {
public:
    explicit TickingClock(platform::Date start) : m_next(start) {}
    platform::Date now() const override {
        const platform::Date now = m_next;
        m_next += seconds(1);
        return now;
    }

private:
    mutable platform::Date m_next;
};

TEST(NextMorningRefresh, IsTheNextHalfPastSixUtcStrictlyAfterNow) {
    const platform::Date today = utc(2025, 11, 16, 6, 30, 0),
                         tomorrow = utc(2025, 11, 17, 6, 30, 0);
    const std::vector<std::pair<platform::Date, platform::Date>> cases{
        {utc(2025, 11, 16, 5, 0, 0), today},
        {utc(2025, 11, 16, 6, 29, 59), today},
        {today - microseconds(1), today},
        {today, tomorrow},  // exactly 06:30:00.000 is not strictly before: tomorrow's
        {utc(2025, 11, 16, 23, 59, 59), tomorrow},
        // Across a month, a year end and a leap day; before the epoch days still start at 00:00.
        {utc(2025, 11, 30, 7, 0, 0), utc(2025, 12, 1, 6, 30, 0)},
        {utc(2025, 12, 31, 6, 31, 0), utc(2026, 1, 1, 6, 30, 0)},
        {utc(2024, 2, 28, 18, 0, 0), utc(2024, 2, 29, 6, 30, 0)},
        {utc(2024, 2, 29, 18, 0, 0), utc(2024, 3, 1, 6, 30, 0)},
        {utc(2025, 2, 28, 18, 0, 0), utc(2025, 3, 1, 6, 30, 0)},
        {utc(1969, 12, 31, 12, 0, 0), utc(1970, 1, 1, 6, 30, 0)}};
    for (const auto& [now, expected] : cases)
        EXPECT_EQ(refreshAt(now), expected) << (now - today).count();
}

TEST(NextMorningRefresh, DoesNotDependOnTheMachinesTimeZone) {
    const char* saved = std::getenv("TZ");
    const std::string previous = saved ? saved : "";
    for (const char* zone : {"America/New_York", "Asia/Kolkata", "Pacific/Kiritimati", "UTC"}) {
        ::setenv("TZ", zone, 1);
        ::tzset();
        EXPECT_EQ(refreshAt(utc(2025, 11, 16, 5, 0, 0)), utc(2025, 11, 16, 6, 30, 0)) << zone;
        EXPECT_EQ(refreshAt(utc(2025, 3, 9, 7, 0, 0)), utc(2025, 3, 10, 6, 30, 0)) << zone;
    }
    // In New York (5 hours behind UTC in November) the refresh falls at 01:30 local time.
    ::setenv("TZ", "America/New_York", 1);
    ::tzset();
    const std::time_t refresh = system_clock::to_time_t(
        time_point_cast<system_clock::duration>(refreshAt(utc(2025, 11, 16, 5, 0, 0))));
    std::tm local{};
    ::localtime_r(&refresh, &local);
    EXPECT_EQ(local.tm_hour, 1);
    EXPECT_EQ(local.tm_min, 30);
    if (saved)
        ::setenv("TZ", previous.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
}

TEST(DailyBriefProvider, PlaceholderCarriesTheSampleBriefWhateverIsStored) {
    tempstore::TempStore store;
    store.putData(dailyBriefKey, storedBrief);
    const TickingClock clock(utc(2025, 11, 16, 9, 0, 0));
    TimelineProviderContext context(clock);
    context.storeDirectory = store.directory();

    const auto entry = DailyBriefTimelineProvider().placeholder(context);
    ASSERT_TRUE(entry.brief);
    EXPECT_EQ(entry.brief->ticker, "NVDA");
    EXPECT_EQ(entry.brief->summary.size(), 133u);
    // The clock is read twice: the entry's date first, then the sample's generatedAt.
    EXPECT_EQ(entry.date, utc(2025, 11, 16, 9, 0, 0));
    EXPECT_EQ(entry.brief->generatedAt, utc(2025, 11, 16, 9, 0, 1));
    EXPECT_EQ(sampleDailyBrief(platform::FixedClock(utc(2020, 1, 1, 0, 0, 0))).generatedAt,
              utc(2020, 1, 1, 0, 0, 0));
}

TEST(DailyBriefProvider, EmptyOrUnreadableStoreGivesAnEntryWithoutBrief) {
    tempstore::TempStore store;
    const platform::FixedClock clock(utc(2025, 11, 16, 5, 0, 0));
    TimelineProviderContext context(clock);
    context.storeDirectory = store.directory();
    const DailyBriefTimelineProvider provider;

    for (const auto& stored : {std::string(), std::string(R"({"ticker":"NVDA"})")}) {
        if (!stored.empty()) store.putData(dailyBriefKey, stored);
        int snapshots = 0;
        provider.getSnapshot(context, [&](DailyBriefEntry entry) {
            ++snapshots;
            EXPECT_EQ(entry.date, clock.now());
            EXPECT_FALSE(entry.brief) << stored;
        });
        EXPECT_EQ(snapshots, 1);
        int timelines = 0;
        provider.getTimeline(context, [&](Timeline<DailyBriefEntry> timeline) {
            ++timelines;
            ASSERT_EQ(timeline.entries.size(), 1u);
            EXPECT_FALSE(timeline.entries[0].brief);
            EXPECT_EQ(timeline.policy, TimelineReloadPolicy::after(utc(2025, 11, 16, 6, 30, 0)));
        });
        EXPECT_EQ(timelines, 1);
    }
}

TEST(DailyBriefProvider, SnapshotAndTimelineHoldTheStoredBriefUnchanged) {
    tempstore::TempStore store;
    store.putData(dailyBriefKey, storedBrief);
    const TickingClock clock(utc(2025, 12, 31, 6, 29, 59));
    TimelineProviderContext context(clock);
    context.storeDirectory = store.directory();
    const DailyBriefTimelineProvider provider;

    std::optional<DailyBriefEntry> snapshot;
    provider.getSnapshot(context, [&](DailyBriefEntry entry) { snapshot = std::move(entry); });
    std::optional<Timeline<DailyBriefEntry>> timeline;
    provider.getTimeline(context, [&](Timeline<DailyBriefEntry> t) { timeline = std::move(t); });
    ASSERT_TRUE(snapshot && timeline);
    ASSERT_EQ(timeline->entries.size(), 1u);

    const auto& entry = timeline->entries[0];
    ASSERT_TRUE(entry.brief);
    EXPECT_EQ(entry.brief->ticker, "AMD");
    EXPECT_EQ(entry.brief->score, 55.5);  // an old brief (generatedAt 04:00) is kept as it is
    EXPECT_EQ(snapshot->brief, entry.brief);
    EXPECT_EQ(snapshot->date, utc(2025, 12, 31, 6, 29, 59));
    EXPECT_EQ(entry.date, utc(2025, 12, 31, 6, 30, 0));
    // The refresh reads the clock again after the entry (06:30:01): next year's first morning.
    EXPECT_EQ(timeline->policy.date, utc(2026, 1, 1, 6, 30, 0));

    // A rewrite by the host app is seen by the next request.
    store.putData(dailyBriefKey, R"({"ticker":"INTC","summary":"s","signal":"Sell","score":1,)"
                                 R"("generatedAt":"2025-12-31T06:00:00Z"})");
    provider.getSnapshot(context, [&](DailyBriefEntry e) { snapshot = std::move(e); });
    ASSERT_TRUE(snapshot->brief);
    EXPECT_EQ(snapshot->brief->ticker, "INTC");
}

}  // namespace
