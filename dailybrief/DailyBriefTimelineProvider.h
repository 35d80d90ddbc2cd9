#pragma once

#include "dailybrief/DailyBriefEntry.h"
#include "platform/Clock.h"
#include "records/DailyBrief.h"
#include "timeline/Timeline.h"

#include <functional>

namespace dailybrief {

// The brief the placeholder carries. Its generatedAt is the clock's now, so it is made afresh
// for every placeholder.
[[nodiscard]] AppGroupContainer::DailyBrief sampleDailyBrief(const platform::Clock& clock);

// When a daily brief timeline asks to be rebuilt: the next 06:30:00 UTC strictly after the
// clock's now (today's when now is earlier, else tomorrow's). The machine's time zone plays no
// part.
[[nodiscard]] platform::Date nextMorningRefresh(const platform::Clock& clock);

// The daily brief widget's timeline provider. Holds nothing; every snapshot and timeline reads
// "vmDailyBrief" afresh, and each completion is called exactly once before the call returns.
class DailyBriefTimelineProvider {
public:
    using Entry = DailyBriefEntry;

    // The sample brief dated now; reads nothing.
    [[nodiscard]] DailyBriefEntry placeholder(
        const timeline::TimelineProviderContext& context) const;

    // The current entry: now, with the stored brief or none.
    void getSnapshot(const timeline::TimelineProviderContext& context,
                     const std::function<void(DailyBriefEntry)>& completion) const;

    // The current entry alone, to be rebuilt at the next morning refresh.
    void getTimeline(
        const timeline::TimelineProviderContext& context,
        const std::function<void(timeline::Timeline<DailyBriefEntry>)>& completion) const;
};

}  // namespace dailybrief
