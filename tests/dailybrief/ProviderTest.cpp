#include "dailybrief/DailyBriefTimelineProvider.h"
#include "store/AppGroupStore.h"
#include "tests/support/ProviderRequest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

using namespace timeline;
using namespace dailybrief;

namespace {

using namespace std::chrono;
using AppGroupContainer::dailyBriefKey;
using testtime::utc;

platform::Date refreshAt(platform::Date now) {
    return nextMorningRefresh(platform::FixedClock(now));
}

const std::string storedBrief =
    R"({"ticker":"AMD","companyName":"Advanced Micro Devices","summary":"Steady.",)"
    R"("signal":"Hold","score":55.5,"generatedAt":"2025-11-16T04:00:00Z"})";

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
    if (saved)
        ::setenv("TZ", previous.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
}

using Request = providerrequest::Request<DailyBriefTimelineProvider>;

TEST(DailyBriefProvider, PlaceholderCarriesTheSampleBriefWhateverIsStored) {
    Request request(utc(2025, 11, 16, 9));
    request.store.putData(dailyBriefKey, storedBrief);
    const auto entry = request.provider.placeholder(request.context);
    ASSERT_TRUE(entry.brief);
    EXPECT_EQ(entry.brief->ticker, "NVDA");  // the rest of the sample is in the golden dumps
    // The clock is read twice: the entry's date first, then the sample's generatedAt.
    EXPECT_EQ(entry.date, utc(2025, 11, 16, 9));
    EXPECT_EQ(entry.brief->generatedAt, utc(2025, 11, 16, 9, 0, 1));
}

TEST(DailyBriefProvider, EmptyOrUnreadableStoreGivesAnEntryWithoutBrief) {
    Request request(utc(2025, 11, 16, 5));
    for (const auto& stored : {std::string(), std::string(R"({"ticker":"NVDA"})")}) {
        if (!stored.empty()) request.store.putData(dailyBriefKey, stored);
        EXPECT_FALSE(request.snapshot().brief) << stored;
        const auto timeline = request.timeline();
        EXPECT_FALSE(timeline.entries[0].brief);
        EXPECT_EQ(timeline.policy, TimelineReloadPolicy::after(utc(2025, 11, 16, 6, 30)));
    }
}

TEST(DailyBriefProvider, SnapshotAndTimelineHoldTheStoredBriefUnchanged) {
    Request request(utc(2025, 12, 31, 6, 29, 59));
    request.store.putData(dailyBriefKey, storedBrief);
    const auto snapshot = request.snapshot();
    const auto timeline = request.timeline();
    const auto& entry = timeline.entries[0];
    ASSERT_TRUE(entry.brief);
    EXPECT_EQ(entry.brief->ticker, "AMD");
    EXPECT_EQ(entry.brief->score, 55.5);  // an old brief (generatedAt 04:00) is kept as it is
    EXPECT_EQ(snapshot.brief, entry.brief);
    EXPECT_EQ(snapshot.date, utc(2025, 12, 31, 6, 29, 59));
    EXPECT_EQ(entry.date, utc(2025, 12, 31, 6, 30, 0));
    // The refresh reads the clock again after the entry (06:30:01): next year's first morning.
    EXPECT_EQ(timeline.policy.date, utc(2026, 1, 1, 6, 30, 0));

    // A rewrite by the host app is seen by the next request.
    request.store.putData(dailyBriefKey, R"({"ticker":"INTC","summary":"s","signal":"Sell",)"
                                         R"("score":1,"generatedAt":"2025-12-31T06:00:00Z"})");
    ASSERT_TRUE(request.snapshot().brief);
    EXPECT_EQ(request.snapshot().brief->ticker, "INTC");
}

}  // namespace
