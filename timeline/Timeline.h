#pragma once

#include "platform/Clock.h"
#include "platform/Date.h"
#include "timeline/WidgetFamily.h"

#include <string>
#include <vector>

namespace timeline {

// The widget host's request vocabulary: what a provider is asked with and what it answers.

// Handed to every provider request. The providers in this system consult only the clock.
struct TimelineProviderContext {
    WidgetFamily family = WidgetFamily::systemMedium;
    bool isPreview = false;
    double displayWidth = 0;
    double displayHeight = 0;
    const platform::Clock* clock = &platform::systemClock();
    // The folder of the shared store; empty means the one the environment names.
    std::string storeDirectory;

    [[nodiscard]] platform::Date now() const { return clock->now(); }
};

// When the host should ask for a new timeline: at or after `date`.
struct TimelineReloadPolicy {
    platform::Date date;

    [[nodiscard]] static TimelineReloadPolicy after(platform::Date date) { return {date}; }
    bool operator==(const TimelineReloadPolicy&) const = default;
};

template <typename Entry>
struct Timeline {
    std::vector<Entry> entries;
    TimelineReloadPolicy policy;

    bool operator==(const Timeline&) const = default;
};

}  // namespace timeline
