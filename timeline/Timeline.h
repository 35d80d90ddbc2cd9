#pragma once

#include "platform/Clock.h"
#include "platform/Date.h"
#include "timeline/WidgetFamily.h"

#include <string>
#include <vector>

namespace timeline {

// The widget host's request vocabulary: what a provider is asked with and what it answers.

// Handed to every provider request. The providers in this system consult only the clock, which
// the host always names: the system clock, --at's fixed one or a simulation's.
struct TimelineProviderContext {
    explicit TimelineProviderContext(const platform::Clock& clock) : clock(&clock) {}

    const platform::Clock* clock;
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
