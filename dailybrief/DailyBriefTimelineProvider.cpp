#include "dailybrief/DailyBriefTimelineProvider.h"

#include "store/AppGroupStore.h"

#include <chrono>

namespace dailybrief {

using namespace timeline;

namespace {

DailyBriefEntry currentEntry(const TimelineProviderContext& context) {
    const platform::Date now = context.now();
    return {now, AppGroupContainer::readRecord<AppGroupContainer::DailyBrief>(
                     AppGroupContainer::dailyBriefKey, context.storeDirectory)};
}

}  // namespace

AppGroupContainer::DailyBrief sampleDailyBrief(const platform::Clock& clock) {
    return {
        .ticker = "NVDA",
        .companyName = "NVIDIA",
        .summary =
            "Momentum continues with options flow signaling continuation through earnings; "
            "macro tailwind from softening rates remains supportive.",
        .signal = "Buy",
        .score = 78,
        .generatedAt = clock.now(),
    };
}

platform::Date nextMorningRefresh(const platform::Clock& clock) {
    using namespace std::chrono;
    // Dates count UTC, and UTC has no daylight saving: a day is always 24 hours.
    const platform::Date now = clock.now();
    const platform::Date today = floor<days>(now) + hours(6) + minutes(30);
    return today > now ? today : today + days(1);
}

DailyBriefEntry DailyBriefTimelineProvider::placeholder(
    const TimelineProviderContext& context) const {
    const platform::Date now = context.now();
    return {now, sampleDailyBrief(*context.clock)};
}

void DailyBriefTimelineProvider::getSnapshot(
    const TimelineProviderContext& context,
    const std::function<void(DailyBriefEntry)>& completion) const {
    completion(currentEntry(context));
}

void DailyBriefTimelineProvider::getTimeline(
    const TimelineProviderContext& context,
    const std::function<void(Timeline<DailyBriefEntry>)>& completion) const {
    auto entry = currentEntry(context);
    // The clock is read again after the entry is built.
    const platform::Date reload = nextMorningRefresh(*context.clock);
    completion(Timeline<DailyBriefEntry>{{std::move(entry)}, TimelineReloadPolicy::after(reload)});
}

}  // namespace dailybrief
